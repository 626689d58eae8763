#include "SdkFileClient.h"

#include <utility>

#include "Fail.h"

namespace {

void Check(const NxResult& result) {
    if (!result.IsOK()) {
        Fail(result.GetDescription().GetAscii());
    }
}

}  // namespace

SdkFileClient::SdkFileClient(std::string connectionId) : mConnectionId(std::move(connectionId)) {}

SdkFileClient::~SdkFileClient() {
    NxDevice::Free(mDevice);
}

void SdkFileClient::Open() {
    NxResult result;
    mDevice = NxDevice::CreateAndConnect(NxString(mConnectionId), &result);
    Check(result);
    Check(mFile.Open(mDevice->GetParameters(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
}

void SdkFileClient::Write(const std::string& path) {
    Check(mFile.WriteFrom(NxString(path)));
}

void SdkFileClient::Close() {
    Check(mFile.Close());
}
