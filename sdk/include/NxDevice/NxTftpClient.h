#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A TFTP client (RFC 1350) for the server inside a device, in octet mode, with the options of
/// RFC 2347, 2348 (blksize), 2349 (timeout, tsize) and 7440 (windowsize).
///
/// One transfer at a time, on one thread; GetProgress and GetWarning may be called from any thread
/// meanwhile. Every transfer ends, whatever the server does. The description of a transfer's
/// failure also says why GenICam file access to the device was not possible, when this process has
/// tried it.
class NX_API NxTftpClient {
  public:
    NxTftpClient();
    ~NxTftpClient();
    NxTftpClient(const NxTftpClient&) = delete;
    NxTftpClient& operator=(const NxTftpClient&) = delete;

    /// Names the server and the remote file of the next transfer; sends nothing. Keeps other
    /// programs of this computer that use this SDK away from the device (docs/device-lock.md),
    /// until the client is destroyed or names another one.
    /// @param connectionID a network device's, e.g. "192.168.1.20%eth1"
    /// @param remoteFileName 1 to 255 bytes
    /// @return kNxInvalidArgument, kNxNotSupported for a USB3 Vision device's ID, or
    ///         kNxAccessDenied when another program of this computer works with the device; the
    ///         server of before stays then
    NxResult Init(const NxString& connectionID, const NxString& remoteFileName);
    /// Sends a whole local file, which is never held in memory as a whole; blocks until it is done
    /// or failed. Done means that the server acknowledged the last block, or all blocks but that
    /// one and then answered its repetition that the transfer is closed.
    /// @return kNxLocalFile when the file cannot be read or is not to the transfer's end the file
    ///         that was opened, kNxInvalidArgument before Init, kNxSocket when the interface cannot
    ///         be used, kNxTimeout when the server does not answer any more, kNxTftpError for an
    ///         ERROR packet (RFC 1350, section 5) with the server's text, kNxProtocol for an answer
    ///         that cannot be (RFC 2347)
    NxResult SendFile(const NxString& localPath);
    /// Sends that many bytes; else as SendFile. A reset record (NxDfwPayload::GetResetRecord) is
    /// also done when the server takes the request and is silent from then on.
    /// @param data null is allowed for 0 bytes only (kNxInvalidArgument)
    NxResult SendData(const unsigned char* data, unsigned int length);
    /// Receives the remote file.
    /// @param size number of bytes at `buffer`; a longer file is cut there
    /// @param received number of bytes put into `buffer`, also on failure; may be null
    /// @return the codes of SendFile, without kNxLocalFile
    NxResult GetData(unsigned char* buffer, unsigned int size, unsigned int* received);
    /// Bytes that the server has acknowledged (or sent) and bytes in all, of the last transfer.
    /// Always OK; 0 in all while a read's size is unknown.
    NxResult GetProgress(long& done, long& total);
    /// Empty while data moves; else what the client waits for and since when, with its retry:
    /// "Waiting 3 s for 192.168.1.20 on eth1 to acknowledge byte 524288 (retry 7)". Always OK.
    NxResult GetWarning(NxString& warning);

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
