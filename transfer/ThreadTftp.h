#pragma once

#include <atomic>
#include <cstdint>

#include "Thread.h"

class NxTftpClient;

/// Sends the payload by TFTP (RFC 1350) to the device's remote file "RemoteUpdateDfw" and reads the
/// device's words from its remote file "status". Can reset.
class ThreadTftp : public Thread {
  public:
    /// @param connectionID as NxDeviceInfo::GetConnectionID gives it; nothing is contacted here
    ThreadTftp(const NxString& connectionID, const NxString& fileName);
    /// Frees the client before it joins: the worker must be complete.
    ~ThreadTftp() override;

    /// The client's warning while the transfer is stalled, else the usual progress.
    [[nodiscard]] NxString GetLabel() override;
    void Run() override;
    NxResult GetStatus(NxString& status) override;
    void GetRawProgress(long& done, long& total) override;
    NxResult SendBuffer(unsigned char* data, unsigned int length) override;
    [[nodiscard]] bool SupportsReset() const override;

  private:
    NxString mConnectionID;
    std::int64_t mWarningProgress = 0;
    NxString mLastWarning;
    std::atomic<NxTftpClient*> mClient = nullptr;
};
