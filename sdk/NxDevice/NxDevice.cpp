#include <NxDevice/NxDevice.h>

#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <NxGenICam/ParameterArrayFactory.h>
#include <NxSystem/NxDeviceInfo.h>

#include "PortRegistry.h"

namespace {

constexpr unsigned int kMakersProtocol = 1;

}  // namespace

class NxDevice::Impl {
  public:
    Impl() = default;
    ~Impl() {
        parameters.reset();
        PortRegistry::OfThisProcess().Release(share);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    PortRegistry::Share share;
    std::unique_ptr<NxGenParameterArray> parameters;
};

NxDevice::NxDevice(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxDevice::~NxDevice() = default;

NxDevice* NxDevice::CreateAndConnect(const NxDeviceInfo* info, NxResult* result) {
    if (info == nullptr) {
        *result = NxResult(kNxInvalidArgument, "No device to connect to");
        return nullptr;
    }
    if (info->GetType() == kMakersProtocol) {
        *result = NxResult(kNxNotSupported,
                           std::string("Cannot control ") + info->GetConnectionID().GetAscii() +
                               ": it is in its boot loader, which takes firmware by TFTP only");
        return nullptr;
    }
    return CreateAndConnect(info->GetConnectionID(), result);
}

NxDevice* NxDevice::CreateAndConnect(const NxString& connectionID, NxResult* result) {
    ConnectionId id;
    *result = ConnectionId::Parse(connectionID, id);
    if (!result->IsOK()) {
        return nullptr;
    }
    auto impl = std::make_unique<Impl>();
    *result = PortRegistry::OfThisProcess().Acquire(id, impl->share);
    if (!result->IsOK()) {
        return nullptr;
    }
    *result = MakeParameterArray(impl->share.port, *impl->share.xml, impl->parameters);
    return result->IsOK() ? new NxDevice(std::move(impl)) : nullptr;
}

void NxDevice::Free(NxDevice* device) {
    delete device;
}

NxGenParameterArray* NxDevice::GetParameters() {
    return mImpl->parameters.get();
}
