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
/// of WriteFrom, Write and Read says at which byte of how many it happened. An operation that the
/// device answers about is waited for a minute (kNxTimeout).
///
/// Codes that every operation passes on: what the path to the device returns (kNxTimeout,
/// kNxDeviceGone, kNxControlLost, kNxDeviceError, kNxProtocol), kNxNoSuchNode or kNxNodeAccess when
/// the device lacks a feature of file access or does not let it be used, kNxBadDescription, and
/// kNxFileOperation when FileOperationStatus is not "Success".
class NX_API NxGenFile {
  public:
    NxGenFile();
    virtual ~NxGenFile();
    NxGenFile(const NxGenFile&) = delete;
    NxGenFile& operator=(const NxGenFile&) = delete;

    /// Whether a transfer would find what it uses: FileOperationSelector and FileOpenMode,
    /// FileOperationExecute and a FileAccessBuffer that is a register, the last two writable.
    /// FileSelector may be missing: the device then has one file.
    /// @return kNxNoFileAccess with what is missing, or what kept the device from being asked
    static NxResult CheckSupport(NxGenParameterArray* parameters);
    /// True when CheckSupport is OK. The device's port remembers why it is not, for the description
    /// of what is tried instead.
    [[nodiscard]] static bool IsSupported(NxGenParameterArray* parameters);

    /// Opens the file of that name. A refused open is followed by one Close and one more Open,
    /// since a program that died may have left the file open.
    /// @param parameters null is refused (kNxInvalidArgument)
    /// @param fileName an entry of FileSelector, "RemoteUpdateDfw" (kNxNoSuchNode when it is none);
    ///        ignored by a device without FileSelector, which has one file
    NxResult Open(NxGenParameterArray* parameters, const NxString& fileName, NxGenOpenMode mode);
    /// Copies a whole local file into the open file, never holding it in memory as a whole, from
    /// where the last write ended; blocks until it is done or failed.
    /// @return kNxLocalFile when the local file cannot be read or is not to its end the file that
    ///         was opened, kNxInvalidArgument when no file is open, kNxTransferIncomplete when the
    ///         device takes no more bytes
    NxResult WriteFrom(const NxString& localPath);
    /// Writes from where the last write ended.
    /// @param length number of bytes at `data`, not negative
    /// @param written number of bytes that the device took, also on failure
    /// @return the codes of WriteFrom, without kNxLocalFile
    NxResult Write(const unsigned char* data, long length, long& written);
    /// Reads up to `length` bytes from where the last Read ended.
    /// @param length number of bytes at `buffer`, not negative
    /// @param read number of bytes read, also on failure; less than `length` on success only at the
    ///        end of the file
    /// @return kNxInvalidArgument when no file is open
    NxResult Read(unsigned char* buffer, long length, long& read);
    /// @return kNxInvalidArgument when no file is open; kNxTimeout at once, the file left open,
    ///         when the last operation was given up
    NxResult Close();
    /// Bytes written so far and bytes to write by the last WriteFrom; 0 and 0 before. Always OK;
    /// may be called from any thread.
    NxResult GetProgress(long& done, long& total);

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
