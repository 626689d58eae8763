// The scripted discovery: lists what Script::interfaces says.
#include <utility>

#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxDeviceInfoMirskoProtocol.h>
#include <NxSystem/NxDeviceInfoU3V.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>
#include <NxSystem/NxUSBHostController.h>

#include "Script.h"

class NxDeviceInfo::Impl {
  public:
    explicit Impl(DeviceRecord what) : record(std::move(what)) {}
    DeviceRecord record;
};

NxDeviceInfo::NxDeviceInfo(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}
NxDeviceInfo::~NxDeviceInfo() = default;
NxString NxDeviceInfo::GetModelName() const {
    Script::Active().Note("NxDeviceInfo::GetModelName");
    return mImpl->record.model;
}
NxString NxDeviceInfo::GetConnectionID() const {
    return mImpl->record.connectionId;
}
unsigned int NxDeviceInfo::GetType() const {
    return static_cast<unsigned int>(mImpl->record.kind);
}

NxDeviceInfoGEV::NxDeviceInfoGEV(std::unique_ptr<Impl> impl) : NxDeviceInfo(std::move(impl)) {}
NxDeviceInfoGEV::~NxDeviceInfoGEV() = default;
NxDeviceInfoMirskoProtocol::NxDeviceInfoMirskoProtocol(std::unique_ptr<Impl> impl)
    : NxDeviceInfo(std::move(impl)) {}
NxDeviceInfoMirskoProtocol::~NxDeviceInfoMirskoProtocol() = default;
NxDeviceInfoU3V::NxDeviceInfoU3V(std::unique_ptr<Impl> impl) : NxDeviceInfo(std::move(impl)) {}
NxDeviceInfoU3V::~NxDeviceInfoU3V() = default;

std::unique_ptr<NxDeviceInfo> MakeDeviceInfo(const DeviceRecord& record) {
    auto impl = std::make_unique<NxDeviceInfo::Impl>(record);
    switch (record.kind) {
        case DeviceRecord::Kind::kGigEVision:
            return std::make_unique<NxDeviceInfoGEV>(std::move(impl));
        case DeviceRecord::Kind::kLoader:
            return std::make_unique<NxDeviceInfoMirskoProtocol>(std::move(impl));
        case DeviceRecord::Kind::kUsb3Vision:
            return std::make_unique<NxDeviceInfoU3V>(std::move(impl));
        default:
            return nullptr;
    }
}

class NxInterface::Impl {
  public:
    explicit Impl(const InterfaceRecord& what) : record(what) {
        for (const DeviceRecord& device : what.devices) {
            devices.push_back(MakeDeviceInfo(device));
        }
    }
    InterfaceRecord record;
    std::vector<std::unique_ptr<NxDeviceInfo>> devices;
};

NxInterface::NxInterface(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}
NxInterface::~NxInterface() = default;
const NxInterface::Impl& NxInterface::GetImpl() const {
    return *mImpl;
}
unsigned int NxInterface::GetDeviceCount() const {
    Script::Active().Note("NxInterface::GetDeviceCount " + mImpl->record.mac);
    return static_cast<unsigned int>(mImpl->devices.size());
}
const NxDeviceInfo* NxInterface::GetDeviceInfo(unsigned int index) const {
    return mImpl->devices.at(index).get();
}

NxNetworkAdapter::NxNetworkAdapter(std::unique_ptr<Impl> impl) : NxInterface(std::move(impl)) {}
NxNetworkAdapter::~NxNetworkAdapter() = default;
NxString NxNetworkAdapter::GetMACAddress() const {
    return GetImpl().record.mac;
}

NxUSBHostController::NxUSBHostController(std::unique_ptr<Impl> impl)
    : NxInterface(std::move(impl)) {}
NxUSBHostController::~NxUSBHostController() = default;

class NxSystem::Impl {
  public:
    std::vector<std::unique_ptr<NxInterface>> interfaces;
};

NxSystem::NxSystem() : mImpl(std::make_unique<Impl>()) {
    Script::Active().Note("NxSystem::NxSystem");
}
NxSystem::~NxSystem() {
    Script::Active().Note("NxSystem::~NxSystem");
}

NxResult NxSystem::Find() {
    Script::Active().Note("NxSystem::Find");
    for (const InterfaceRecord& record : Script::Active().interfaces) {
        auto impl = std::make_unique<NxInterface::Impl>(record);
        switch (record.kind) {
            case InterfaceRecord::Kind::kNetwork:
                mImpl->interfaces.push_back(std::make_unique<NxNetworkAdapter>(std::move(impl)));
                break;
            case InterfaceRecord::Kind::kUsb:
                mImpl->interfaces.push_back(std::make_unique<NxUSBHostController>(std::move(impl)));
                break;
            case InterfaceRecord::Kind::kNull:
                mImpl->interfaces.push_back(nullptr);
                break;
        }
    }
    return Script::Active().findResult;
}

unsigned int NxSystem::GetInterfaceCount() const {
    Script::Active().Note("NxSystem::GetInterfaceCount");
    return static_cast<unsigned int>(mImpl->interfaces.size());
}

const NxInterface* NxSystem::GetInterface(unsigned int index) const {
    return mImpl->interfaces.at(index).get();
}
