#include <NxDevice/NxDevice.h>

#include <set>
#include <utility>

#include <NxSystem/NxDeviceInfo.h>

#include "NodeMap.h"
#include "Script.h"

class NxDevice::Impl {
  public:
    explicit Impl(std::string connectionId)
        : id(std::move(connectionId)), parameters(std::make_unique<NxGenParameterArray::Impl>()) {}
    std::string id;
    NxGenParameterArray parameters;
};

NxDevice::NxDevice(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {
    ++Script::Active().connections;
    Script::Active().newestConnection = this;
}

NxDevice::~NxDevice() {
    --Script::Active().connections;
}

NxDevice* NxDevice::CreateAndConnect(const NxDeviceInfo* info, NxResult* result) {
    const std::string id = info->GetConnectionID().GetAscii();
    *result = Script::Active().Take("NxDevice::CreateAndConnect record " + id).result;
    return result->IsOK() ? new NxDevice(std::make_unique<Impl>(id)) : nullptr;
}

NxDevice* NxDevice::CreateAndConnect(const NxString& connectionID, NxResult* result) {
    const std::string id = connectionID.GetAscii();
    *result = Script::Active().Take("NxDevice::CreateAndConnect " + id).result;
    return result->IsOK() ? new NxDevice(std::make_unique<Impl>(id)) : nullptr;
}

void NxDevice::Free(NxDevice* device) {
    (void)Script::Active().Take("NxDevice::Free " + device->mImpl->id);
    delete device;
}

NxGenParameterArray* NxDevice::GetParameters() {
    return &mImpl->parameters;
}
