#pragma once

#include <memory>
#include <string>

#include "XmlElement.h"

struct _xmlDoc;  // NOLINT(bugprone-reserved-identifier): libxml2 names it so

/// An XML document that others wrote: nothing is fetched, no entities are defined, nothing is
/// printed.
class XmlDocument {
  public:
    XmlDocument();
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// @return empty, or one line that says what is wrong with the text
    [[nodiscard]] std::string Parse(const std::string& text);
    /// The root element of a text that was parsed.
    [[nodiscard]] XmlElement Root() const;

  private:
    struct Freer {
        void operator()(_xmlDoc* document) const;
    };
    std::unique_ptr<_xmlDoc, Freer> mDocument;
};
