#pragma once

#include <string>
#include <vector>

struct _xmlNode;  // NOLINT(bugprone-reserved-identifier): libxml2 names it so

namespace NxGenICamLib {

/// One element of a manifest's document, which must outlive it.
class ManifestElement {
  public:
    explicit ManifestElement(const _xmlNode* node) : mNode(node) {}

    [[nodiscard]] std::string Name() const;
    /// Of the end of the element's start tag, from 1.
    [[nodiscard]] long Line() const;
    /// As written; empty if there is none.
    [[nodiscard]] std::string Attribute(const char* name) const;
    /// As written, without the content of child elements.
    [[nodiscard]] std::string Text() const;
    [[nodiscard]] std::vector<ManifestElement> Elements() const;

  private:
    const _xmlNode* mNode;
};

}  // namespace NxGenICamLib
