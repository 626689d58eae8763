#pragma once

#include <string>
#include <vector>

struct _xmlNode;  // NOLINT(bugprone-reserved-identifier): libxml2 names it so

/// One element of an XML document, which must outlive it.
class XmlElement {
  public:
    explicit XmlElement(const _xmlNode* node) : mNode(node) {}

    [[nodiscard]] std::string LocalName() const;
    /// The namespace's name; empty for none.
    [[nodiscard]] std::string Namespace() const;
    [[nodiscard]] std::vector<XmlElement> Elements() const;
    [[nodiscard]] bool HasElements() const { return !Elements().empty(); }
    /// The text and CDATA directly in the element, as written.
    [[nodiscard]] std::string Text() const;
    /// The value of an attribute without namespace; empty when there is none.
    [[nodiscard]] std::string Attribute(const std::string& name) const;
    [[nodiscard]] std::vector<std::string> AttributeNames() const;

  private:
    const _xmlNode* mNode;
};
