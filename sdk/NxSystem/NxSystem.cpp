#include <NxSystem/NxSystem.h>

#include <algorithm>
#include <future>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxDeviceInfoMirskoProtocol.h>
#include <NxSystem/NxDeviceInfoU3V.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxUSBHostController.h>

#include <internal/NxSystem/ConnectionId.h>
#include <internal/NxSystem/HardwareAddresses.h>
#include "usb/UsbDiscovery.h"

#include "NxDeviceInfoImpl.h"
#include "NxInterfaceImpl.h"
#include "network/GvcpDiscovery.h"

namespace {

std::unique_ptr<NxDeviceInfo> MakeNetworkDevice(const DiscoveredDevice& found,
                                                const std::string& interfaceName) {
    const GvcpDiscoveryAck& ack = found.ack;
    ConnectionId id;
    id.address = found.address;
    id.interfaceName = interfaceName;
    auto device = std::make_unique<NxDeviceInfo::Impl>();
    device->type = ack.IsLoader() ? 1 : 0;
    device->connectionId = id.Format();
    device->vendor = ack.manufacturer;
    device->model = ack.model;
    device->version = ack.version;
    device->serial = ack.serial;
    device->userName = ack.userName;
    device->address = FormatAddress(found.address);
    device->mac = FormatMac(ack.mac);
    if (ack.IsLoader()) {
        return std::make_unique<NxDeviceInfoMirskoProtocol>(std::move(device));
    }
    return std::make_unique<NxDeviceInfoGEV>(std::move(device));
}

std::unique_ptr<NxInterface> MakeAdapter(const DiscoveredInterface& found) {
    auto adapter = std::make_unique<NxInterface::Impl>();
    adapter->name = found.interface.name;
    adapter->mac = FormatMac(found.interface.mac);
    adapter->address = FormatAddress(found.interface.address);
    for (const DiscoveredDevice& device : found.devices) {
        adapter->devices.push_back(MakeNetworkDevice(device, found.interface.name));
    }
    return std::make_unique<NxNetworkAdapter>(std::move(adapter));
}

// So that a device is known again whichever interface leads to it.
void RememberHardwareAddresses(const std::vector<std::unique_ptr<NxInterface>>& adapters) {
    std::vector<HardwareAddresses::Entry> found;
    for (const auto& adapter : adapters) {
        for (unsigned int i = 0; i < adapter->GetDeviceCount(); ++i) {
            const NxDeviceInfo& device = *adapter->GetDeviceInfo(i);
            found.push_back(
                {device.GetConnectionID().GetAscii(), device.GetMACAddress().GetAscii()});
        }
    }
    HardwareAddresses::Remember(std::move(found));
}

constexpr unsigned int kUsb3VisionType = 2;

// Within the second for which the network is listened to, so that it takes no further time; after
// it where no thread is to be had.
std::future<std::vector<UsbController>> StartListingUsb() {
    try {
        return std::async(std::launch::async, ListUsbControllers);
    } catch (const std::system_error&) {
        return std::async(std::launch::deferred, ListUsbControllers);
    }
}

std::unique_ptr<NxDeviceInfo> MakeUsbDevice(const U3vIdentity& identity) {
    ConnectionId id;
    id.kind = ConnectionId::Kind::kUsb;
    id.guid = identity.GetName();
    auto device = std::make_unique<NxDeviceInfo::Impl>();
    device->type = kUsb3VisionType;
    device->connectionId = id.Format();
    device->vendor = identity.vendor;
    device->model = identity.model;
    device->version = identity.version;
    device->serial = identity.serial;
    device->userName = identity.userName;
    return std::make_unique<NxDeviceInfoU3V>(std::move(device));
}

std::unique_ptr<NxInterface> MakeHostController(const UsbController& found) {
    auto controller = std::make_unique<NxInterface::Impl>();
    controller->name = found.name;
    for (const U3vIdentity& identity : found.devices) {
        controller->devices.push_back(MakeUsbDevice(identity));
    }
    return std::make_unique<NxUSBHostController>(std::move(controller));
}

}  // namespace

class NxSystem::Impl {
  public:
    using Interfaces = std::vector<std::unique_ptr<NxInterface>>;

    // Earlier results are kept: callers hold pointers into them.
    std::vector<Interfaces> finds;
};

NxSystem::NxSystem() : mImpl(std::make_unique<Impl>()) {}

NxSystem::~NxSystem() = default;

NxResult NxSystem::Find() {
    std::future<std::vector<UsbController>> usb = StartListingUsb();
    const std::vector<DiscoveredInterface> found = DiscoverGvcpDevices();
    Impl::Interfaces interfaces;
    for (const DiscoveredInterface& interface : found) {
        interfaces.push_back(MakeAdapter(interface));
    }
    RememberHardwareAddresses(interfaces);
    const std::vector<UsbController> controllers = usb.get();
    for (const UsbController& controller : controllers) {
        interfaces.push_back(MakeHostController(controller));
    }
    mImpl->finds.push_back(std::move(interfaces));

    const bool anyAsked = std::any_of(found.begin(), found.end(),
                                      [](const auto& interface) { return interface.asked; });
    return anyAsked || !controllers.empty()
               ? NxResult()
               : NxResult(kNxSocket,
                          "No network interface could be searched for devices; "
                          "check that one is up and has an IPv4 address");
}

unsigned int NxSystem::GetInterfaceCount() const {
    return mImpl->finds.empty() ? 0 : static_cast<unsigned int>(mImpl->finds.back().size());
}

const NxInterface* NxSystem::GetInterface(unsigned int index) const {
    return index < GetInterfaceCount() ? mImpl->finds.back()[index].get() : nullptr;
}
