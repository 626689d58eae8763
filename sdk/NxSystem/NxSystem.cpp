#include <NxSystem/NxSystem.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxSystem/NxNetworkAdapter.h>

#include "GvcpDiscovery.h"
#include "NxInterfaceImpl.h"

namespace {

std::unique_ptr<NxInterface> MakeAdapter(DiscoveredInterface& found) {
    auto adapter = std::make_unique<NxInterface::Impl>();
    adapter->name = found.interface.name;
    adapter->mac = FormatMac(found.interface.mac);
    adapter->address = FormatAddress(found.interface.address);
    adapter->devices = std::move(found.devices);
    return std::make_unique<NxNetworkAdapter>(std::move(adapter));
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
    std::vector<DiscoveredInterface> found = DiscoverGvcpDevices();
    Impl::Interfaces interfaces;
    for (DiscoveredInterface& interface : found) {
        interfaces.push_back(MakeAdapter(interface));
    }
    mImpl->finds.push_back(std::move(interfaces));

    const bool anyAsked = std::any_of(found.begin(), found.end(),
                                      [](const auto& interface) { return interface.asked; });
    return anyAsked ? NxResult()
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
