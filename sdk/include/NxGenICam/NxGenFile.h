#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>
#include <NxGenICam/NxGenOpenMode.h>

class NxGenParameterArray;

/// One file inside the device (SFNC "File Access Control"), open or not.
///
/// One thread at a time, except for GetProgress. The node map must outlive the file. Every failure
/// of WriteFrom, Write and Read says at which byte of how many it happened.
class NX_API NxGenFile {
  public:
    NxGenFile();
    virtual ~NxGenFile();
    NxGenFile(const NxGenFile&) = delete;
    NxGenFile& operator=(const NxGenFile&) = delete;

    /// True when the node map has FileOperationSelector, FileOperationExecute, FileOpenMode and
    /// FileAccessBuffer. FileSelector may be missing: the device then has one file.
    [[nodiscard]] static bool IsSupported(NxGenParameterArray* parameters);

    /// Opens the file of that name. A refused open is followed by one Close and one more Open,
    /// since a program that died may have left the file open.
    NxResult Open(NxGenParameterArray* parameters, const NxString& fileName, NxGenOpenMode mode);
    /// Copies a whole local file into the open file; blocks until it is done or failed.
    NxResult WriteFrom(const NxString& localPath);
    /// @param length number of bytes at `data`
    /// @param written number of bytes that the device took, also on failure
    NxResult Write(const unsigned char* data, long length, long& written);
    /// Reads up to `length` bytes from where the last Read ended.
    /// @param read number of bytes read, less than `length` only at the end of the file
    NxResult Read(unsigned char* buffer, long length, long& read);
    NxResult Close();
    /// Bytes written so far and bytes to write by WriteFrom; may be called from any thread.
    NxResult GetProgress(long& done, long& total);

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
