#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A TFTP client (RFC 1350) for the server inside a device, in octet mode, with the options of
/// RFC 2347, 2348 (blksize), 2349 (timeout, tsize) and 7440 (windowsize).
///
/// One transfer at a time, on one thread; GetProgress and GetWarning may be called from any thread
/// meanwhile. Every transfer ends, whatever the server does.
class NX_API NxTftpClient {
  public:
    NxTftpClient();
    ~NxTftpClient();
    NxTftpClient(const NxTftpClient&) = delete;
    NxTftpClient& operator=(const NxTftpClient&) = delete;

    /// Names the server and the remote file of the next transfer; sends nothing.
    /// @param connectionID a network device's, e.g. "192.168.1.20%eth1"
    NxResult Init(const NxString& connectionID, const NxString& remoteFileName);
    /// Sends a whole local file, which is never held in memory as a whole.
    NxResult SendFile(const NxString& localPath);
    NxResult SendData(const unsigned char* data, unsigned int length);
    /// Receives the remote file.
    /// @param size number of bytes at `buffer`; a longer file is cut there
    /// @param received number of bytes put into `buffer`; may be null
    NxResult GetData(unsigned char* buffer, unsigned int size, unsigned int* received);
    /// Bytes that the server has acknowledged (or sent) and bytes in all, of the last transfer.
    NxResult GetProgress(long& done, long& total);
    /// Empty while data moves; else what the client waits for and since when, with its retry.
    NxResult GetWarning(NxString& warning);

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
