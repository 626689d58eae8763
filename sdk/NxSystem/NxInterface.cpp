#include <NxSystem/NxInterface.h>

#include <utility>

#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxUSBHostController.h>

#include "NxInterfaceImpl.h"

NxInterface::NxInterface(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxInterface::~NxInterface() = default;

NxString NxInterface::GetName() const {
    return mImpl->name;
}

unsigned int NxInterface::GetDeviceCount() const {
    return static_cast<unsigned int>(mImpl->devices.size());
}

const NxDeviceInfo* NxInterface::GetDeviceInfo(unsigned int index) const {
    return index < mImpl->devices.size() ? mImpl->devices[index].get() : nullptr;
}

const NxInterface::Impl& NxInterface::GetImpl() const {
    return *mImpl;
}

NxNetworkAdapter::NxNetworkAdapter(std::unique_ptr<Impl> impl) : NxInterface(std::move(impl)) {}

NxNetworkAdapter::~NxNetworkAdapter() = default;

NxString NxNetworkAdapter::GetMACAddress() const {
    return GetImpl().mac;
}

NxString NxNetworkAdapter::GetIPAddress() const {
    return GetImpl().address;
}

NxString NxNetworkAdapter::GetSubnetMask() const {
    return GetImpl().mask;
}

NxNetworkAdapter::State NxNetworkAdapter::GetState() const {
    return GetImpl().state;
}

bool NxNetworkAdapter::MissesOtherSubnets() const {
    return GetImpl().missesOtherSubnets;
}

NxUSBHostController::NxUSBHostController(std::unique_ptr<Impl> impl)
    : NxInterface(std::move(impl)) {}

NxUSBHostController::~NxUSBHostController() = default;
