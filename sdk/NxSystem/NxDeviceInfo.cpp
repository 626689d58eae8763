#include <NxSystem/NxDeviceInfo.h>

#include <utility>

#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxDeviceInfoMirskoProtocol.h>
#include <NxSystem/NxDeviceInfoU3V.h>

#include "NxDeviceInfoImpl.h"

NxDeviceInfo::NxDeviceInfo(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxDeviceInfo::~NxDeviceInfo() = default;

NxString NxDeviceInfo::GetModelName() const {
    return mImpl->model;
}

NxString NxDeviceInfo::GetConnectionID() const {
    return mImpl->connectionId;
}

unsigned int NxDeviceInfo::GetType() const {
    return mImpl->type;
}

NxString NxDeviceInfo::GetVendorName() const {
    return mImpl->vendor;
}

NxString NxDeviceInfo::GetSerialNumber() const {
    return mImpl->serial;
}

NxString NxDeviceInfo::GetUserDefinedName() const {
    return mImpl->userName;
}

NxString NxDeviceInfo::GetDeviceVersion() const {
    return mImpl->version;
}

NxString NxDeviceInfo::GetIPAddress() const {
    return mImpl->address;
}

NxString NxDeviceInfo::GetMACAddress() const {
    return mImpl->mac;
}

NxString NxDeviceInfo::GetSubnetMask() const {
    return mImpl->mask;
}

NxString NxDeviceInfo::GetGateway() const {
    return mImpl->gateway;
}

NxDeviceInfo::Access NxDeviceInfo::GetAccess() const {
    return mImpl->access;
}

NxString NxDeviceInfo::GetAccessReason() const {
    return mImpl->accessReason;
}

NxDeviceInfoGEV::NxDeviceInfoGEV(std::unique_ptr<Impl> impl) : NxDeviceInfo(std::move(impl)) {}

NxDeviceInfoGEV::~NxDeviceInfoGEV() = default;

NxDeviceInfoMirskoProtocol::NxDeviceInfoMirskoProtocol(std::unique_ptr<Impl> impl)
    : NxDeviceInfo(std::move(impl)) {}

NxDeviceInfoMirskoProtocol::~NxDeviceInfoMirskoProtocol() = default;

NxDeviceInfoU3V::NxDeviceInfoU3V(std::unique_ptr<Impl> impl) : NxDeviceInfo(std::move(impl)) {}

NxDeviceInfoU3V::~NxDeviceInfoU3V() = default;
