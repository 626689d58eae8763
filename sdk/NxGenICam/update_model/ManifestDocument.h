#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <NyUtilsLib/Result.h>

#include "ManifestElement.h"

struct _xmlDoc;  // NOLINT(bugprone-reserved-identifier): libxml2 names it so

namespace NxGenICamLib {

/// A manifest's text as a document that is valid against FirmwareUpdate.xsd. The text comes from
/// others: nothing is fetched, no entities are defined, nothing is printed.
class ManifestDocument {
  public:
    static constexpr std::size_t kMaximumSize{256U << 10U};  ///< bytes

    ManifestDocument();
    ~ManifestDocument();
    ManifestDocument(const ManifestDocument&) = delete;
    ManifestDocument& operator=(const ManifestDocument&) = delete;

    /// @return kNxBadManifest, with the place, for the first mistake: of the XML, then of the
    /// grammar
    [[nodiscard]] NyUtilsLib::Result Read(const std::string& text);
    /// Of a text that was read.
    [[nodiscard]] ManifestElement Root() const;

  private:
    [[nodiscard]] NyUtilsLib::Result Parse(const std::string& text);
    [[nodiscard]] NyUtilsLib::Result Validate() const;

    struct Freer {
        void operator()(_xmlDoc* document) const;
    };
    std::unique_ptr<_xmlDoc, Freer> mDocument;
};

/// kNxBadManifest with "Manifest.xml:line: what" as one printable line.
/// @param column from 1; 0 for none
NyUtilsLib::Result RefuseManifest(long line, std::string_view what, int column = 0);

}  // namespace NxGenICamLib
