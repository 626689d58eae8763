#pragma once

#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenFile.h>

#include "FileClient.h"

/// The SDK, as the updater uses it.
class SdkFileClient : public FileClient {
  public:
    explicit SdkFileClient(std::string connectionId);
    ~SdkFileClient() override;

    void Open() override;
    void Write(const std::string& path) override;
    void Close() override;

  private:
    std::string mConnectionId;
    NxDevice* mDevice = nullptr;
    NxGenFile mFile;
};
