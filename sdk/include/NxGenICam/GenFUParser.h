#pragma once

#include <memory>
#include <string>

#include <NxBase/NxApi.h>
#include <NxGenICam/IGenFUModelBuilder.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// Reads the text of a package's "Manifest.xml" and drives a model builder with what it says.
/// The grammar is that of docs/packages.md and of the schema FirmwareUpdate.xsd.
class NX_API GenFUParser {
  public:
    /// @param builder receives the model; not owned, must outlive the parser. With a null pointer
    ///        Build only checks.
    explicit GenFUParser(IGenFUModelBuilder* builder);
    ~GenFUParser();
    GenFUParser(const GenFUParser&) = delete;
    GenFUParser& operator=(const GenFUParser&) = delete;

    /// Checks the whole text first; the builder is called only when nothing is wrong with it.
    /// @param text XML in UTF-8, at most 256 KiB
    /// @return code 0, or kNxBadManifest and one line "Manifest.xml:line: what is wrong". The line
    ///         counts from 1; where the text is not XML, a column in bytes may follow it.
    NyUtilsLib::Result Build(const std::string& text);

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};

}  // namespace NxGenICamLib
