#pragma once

#include <atomic>

#include <NxGenICam/NxGenOpenMode.h>

#include "Thread.h"

class NxDevice;
class NxGenFile;

/// Writes the payload into the device file "RemoteUpdateDfw" by GenICam file access (SFNC, "File
/// Access Control"), and reads the device's words from its file "StatusTxt". Cannot reset.
class ThreadGenICam : public Thread {
  public:
    /// @param connectionID as NxDeviceInfo::GetConnectionID gives it; nothing is connected here
    ThreadGenICam(const NxString& connectionID, const NxString& fileName);
    /// Frees the file and the connection before it joins: the worker must be complete.
    ~ThreadGenICam() override;

    /// "Connecting device..." whenever no payload bytes move, after the transfer too.
    [[nodiscard]] NxString GetLabel() override;
    void Run() override;
    /// Reads the status again, up to 60 times at intervals of 1 s, when its first text says that
    /// the device writes its flash in the background.
    NxResult GetStatus(NxString& status) override;
    void GetRawProgress(long& done, long& total) override;
    /// Fails without a connection.
    NxResult SendBuffer(unsigned char* data, unsigned int length) override;
    [[nodiscard]] bool SupportsReset() const override;

  private:
    NxResult OpenFile(const NxString& name, NxGenOpenMode mode);

    NxString mConnectionID;
    NxDevice* mDevice = nullptr;
    std::atomic<NxGenFile*> mFile = nullptr;
};
