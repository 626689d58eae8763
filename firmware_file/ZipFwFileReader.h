#pragma once

#include <string>
#include <vector>

#include <NyUtilsLib/NyString.h>

#include "NxFwFileReader.h"

/// A firmware package: a ".zip" archive whose members are unpacked into files in /tmp.
///
/// Every file handed out is deleted with this reader. The archive is reopened by each
/// ExtractFile, so a missing or damaged one shows only there.
class ZipFwFileReader : public NxFwFileReader {
  public:
    /// @param aFilePath the archive; not opened here
    ZipFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath);
    ~ZipFwFileReader() override;

    /// Unpacks the first member, in the order of the central directory (PKWARE APPNOTE 6.3,
    /// section 4.3.12), whose stored name contains `aName`.
    /// @return the path of a new file, also for a name asked for before; empty on any failure
    [[nodiscard]] std::string ExtractFile(const std::string& aName) override;

    /// Makes a new empty file "/tmp/<tag>-XXXXXX" that only its owner may read and write.
    [[nodiscard]] NyString CreateTempFile(const NyString& aTag) const;
    void DeleteTempFile(const NyString& aPath) const;

  private:
    std::vector<std::string> mTempFiles;
};
