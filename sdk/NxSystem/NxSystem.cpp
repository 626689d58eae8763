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
#include "network/ControlState.h"
#include "network/GvcpDiscovery.h"
#include "network/LinkStates.h"

namespace {

constexpr unsigned int kLoaderType = 1;
constexpr unsigned int kUsb3VisionType = 2;

std::unique_ptr<NxDeviceInfo::Impl> DescribeNetworkDevice(const DiscoveredDevice& found,
                                                          const std::string& interfaceName) {
    const GvcpDiscoveryAck& ack = found.ack;
    ConnectionId id;
    id.address = found.address;
    id.interfaceName = interfaceName;
    auto device = std::make_unique<NxDeviceInfo::Impl>();
    device->type = ack.IsLoader() ? kLoaderType : 0;
    device->connectionId = id.Format();
    device->vendor = ack.manufacturer;
    device->model = ack.model;
    device->version = ack.version;
    device->serial = ack.serial;
    device->userName = ack.userName;
    device->address = FormatAddress(found.address);
    device->mac = FormatMac(ack.mac);
    device->mask = FormatAddress(ack.mask);
    device->gateway = FormatAddress(ack.gateway);
    return device;
}

std::unique_ptr<NxDeviceInfo> Finish(std::unique_ptr<NxDeviceInfo::Impl> device) {
    if (device->type == kLoaderType) {
        return std::make_unique<NxDeviceInfoMirskoProtocol>(std::move(device));
    }
    return std::make_unique<NxDeviceInfoGEV>(std::move(device));
}

std::unique_ptr<NxInterface::Impl> DescribeAdapter(const DiscoveredInterface& found) {
    auto adapter = std::make_unique<NxInterface::Impl>();
    adapter->name = found.interface.name;
    adapter->mac = FormatMac(found.interface.mac);
    adapter->address = FormatAddress(found.interface.address);
    adapter->mask = FormatAddress(found.interface.netmask);
    adapter->missesOtherSubnets = found.missesOtherSubnets;
    return adapter;
}

std::unique_ptr<NxInterface> MakeAdapter(const DiscoveredInterface& found) {
    auto adapter = DescribeAdapter(found);
    for (const DiscoveredDevice& device : found.devices) {
        adapter->devices.push_back(Finish(DescribeNetworkDevice(device, found.interface.name)));
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

using ListUsb = std::vector<UsbController>();

// Within the second for which the network is listened to, so that it takes no further time; after
// it where no thread is to be had.
std::future<std::vector<UsbController>> StartListingUsb(ListUsb* list) {
    try {
        return std::async(std::launch::async, list);
    } catch (const std::system_error&) {
        return std::async(std::launch::deferred, list);
    }
}

using Access = NxDeviceInfo::Access;

// The two refusals share a code; a program that holds the device is refused when claiming it.
Access UsbAccess(const NxResult& result) {
    switch (result.GetCode()) {
        case kNxOk:
            return Access::kFree;
        case kNxAccessDenied:
            return std::string(result.GetDescription().GetAscii()).find("EBUSY") !=
                           std::string::npos
                       ? Access::kInUse
                       : Access::kDenied;
        default:
            return Access::kNoReply;
    }
}

std::unique_ptr<NxDeviceInfo> MakeUsbDevice(const U3vIdentity& identity, const NxResult* access) {
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
    if (access != nullptr) {
        device->access = UsbAccess(*access);
        device->accessReason = access->GetDescription().GetAscii();
    }
    return std::make_unique<NxDeviceInfoU3V>(std::move(device));
}

std::unique_ptr<NxInterface> MakeHostController(const UsbController& found) {
    auto controller = std::make_unique<NxInterface::Impl>();
    controller->name = found.name;
    for (std::size_t i = 0; i < found.devices.size(); ++i) {
        const NxResult* access = i < found.access.size() ? &found.access[i] : nullptr;
        controller->devices.push_back(MakeUsbDevice(found.devices[i], access));
    }
    return std::make_unique<NxUSBHostController>(std::move(controller));
}

NxNetworkAdapter::State StateOf(const LinkState& link, bool hasAddress) {
    using State = NxNetworkAdapter::State;
    if (!link.isUp) {
        return State::kDown;
    }
    if (!link.hasLink) {
        return State::kNoLink;
    }
    return hasAddress ? State::kUsable : State::kNoAddress;
}

bool IsInSubnet(const std::vector<NetworkInterface>& addresses, const std::string& name,
                std::uint32_t device) {
    return std::ranges::any_of(addresses, [&](const NetworkInterface& own) {
        return own.name == name && ((own.address ^ device) & own.netmask) == 0;
    });
}

void NoteControl(NxDeviceInfo::Impl& device, const ControlState& state) {
    switch (state.kind) {
        case ControlState::Kind::kFree:
            device.access = Access::kFree;
            return;
        case ControlState::Kind::kInUse:
            device.access = Access::kInUse;
            device.accessReason =
                "another program controls it" +
                (state.controller == 0 ? "" : ", at " + FormatAddress(state.controller));
            return;
        case ControlState::Kind::kSilent:
            device.access = Access::kNoReply;
            device.accessReason = "it answers discovery, but not commands to its address";
            return;
        case ControlState::Kind::kRefused:
            return;
    }
}

// The devices of all interfaces, with what is in the way of working with them.
using Devices = std::vector<std::unique_ptr<NxDeviceInfo::Impl>>;
std::vector<Devices> DescribeAccess(const std::vector<DiscoveredInterface>& found) {
    const std::vector<NetworkInterface> addresses = ListNetworkInterfaces();
    std::vector<Devices> all;
    std::vector<ControlQuestion> questions;
    std::vector<NxDeviceInfo::Impl*> asked;
    for (const DiscoveredInterface& interface : found) {
        const std::string& name = interface.interface.name;
        Devices& devices = all.emplace_back();
        for (const DiscoveredDevice& device : interface.devices) {
            auto& made = *devices.emplace_back(DescribeNetworkDevice(device, name));
            if (!IsInSubnet(addresses, name, device.address)) {
                made.access = Access::kOtherSubnet;
                made.accessReason = "its address is outside the subnet of " + name;
            } else if (made.type != kLoaderType) {
                questions.push_back({name, device.address});
                asked.push_back(&made);
            }
        }
    }
    const std::vector<ControlState> states = AskForControlStates(questions);
    for (std::size_t i = 0; i < states.size(); ++i) {
        NoteControl(*asked[i], states[i]);
    }
    return all;
}

// Usable interfaces in the order of Find, then the others.
std::vector<std::unique_ptr<NxInterface>> MakeAllAdapters(
    const std::vector<DiscoveredInterface>& found) {
    std::vector<LinkState> links = ListLinkStates();
    std::vector<Devices> devices = DescribeAccess(found);
    std::vector<std::unique_ptr<NxInterface>> adapters;
    for (std::size_t i = 0; i < found.size(); ++i) {
        auto adapter = DescribeAdapter(found[i]);
        const auto link = std::ranges::find(links, adapter->name, &LinkState::name);
        if (link != links.end()) {
            adapter->state = StateOf(*link, true);
            links.erase(link);
        }
        for (auto& device : devices[i]) {
            adapter->devices.push_back(Finish(std::move(device)));
        }
        adapters.push_back(std::make_unique<NxNetworkAdapter>(std::move(adapter)));
    }
    for (const LinkState& link : links) {
        auto adapter = std::make_unique<NxInterface::Impl>();
        adapter->name = link.name;
        adapter->mac = FormatMac(link.mac);
        adapter->state = StateOf(link, false);
        adapters.push_back(std::make_unique<NxNetworkAdapter>(std::move(adapter)));
    }
    return adapters;
}

void AddHostControllers(std::vector<std::unique_ptr<NxInterface>>& interfaces,
                        const std::vector<UsbController>& controllers) {
    for (const UsbController& controller : controllers) {
        interfaces.push_back(MakeHostController(controller));
    }
}

NxResult OutcomeOf(const std::vector<DiscoveredInterface>& found,
                   const std::vector<UsbController>& controllers) {
    const bool anyAsked = std::any_of(found.begin(), found.end(),
                                      [](const auto& interface) { return interface.asked; });
    return anyAsked || !controllers.empty()
               ? NxResult()
               : NxResult(kNxSocket,
                          "No network interface could be searched for devices; "
                          "check that one is up and has an IPv4 address");
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
    std::future<std::vector<UsbController>> usb = StartListingUsb(ListUsbControllers);
    const std::vector<DiscoveredInterface> found = DiscoverGvcpDevices();
    Impl::Interfaces interfaces;
    for (const DiscoveredInterface& interface : found) {
        interfaces.push_back(MakeAdapter(interface));
    }
    RememberHardwareAddresses(interfaces);
    const std::vector<UsbController> controllers = usb.get();
    AddHostControllers(interfaces, controllers);
    mImpl->finds.push_back(std::move(interfaces));
    return OutcomeOf(found, controllers);
}

NxResult NxSystem::FindAll() {
    std::future<std::vector<UsbController>> usb = StartListingUsb(ListAndTryUsbControllers);
    const std::vector<DiscoveredInterface> found =
        DiscoverGvcpDevices(DiscoveryRange::kOtherSubnets);
    Impl::Interfaces interfaces = MakeAllAdapters(found);
    RememberHardwareAddresses(interfaces);
    const std::vector<UsbController> controllers = usb.get();
    AddHostControllers(interfaces, controllers);
    mImpl->finds.push_back(std::move(interfaces));
    return OutcomeOf(found, controllers);
}

unsigned int NxSystem::GetInterfaceCount() const {
    return mImpl->finds.empty() ? 0 : static_cast<unsigned int>(mImpl->finds.back().size());
}

const NxInterface* NxSystem::GetInterface(unsigned int index) const {
    return index < GetInterfaceCount() ? mImpl->finds.back()[index].get() : nullptr;
}
