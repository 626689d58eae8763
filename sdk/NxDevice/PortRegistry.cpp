#include "PortRegistry.h"

#include <utility>

#include <NxBase/NxResultCodes.h>

#include "OpenDevicePort.h"

PortRegistry& PortRegistry::OfThisProcess() {
    static PortRegistry registry;
    return registry;
}

bool PortRegistry::IsSameDevice(const ConnectionId& one, const ConnectionId& other) {
    if (one.kind != other.kind || one.address != other.address || one.guid != other.guid) {
        return false;
    }
    // Without an interface any way to the address will do.
    return one.interfaceName.empty() || other.interfaceName.empty() ||
           one.interfaceName == other.interfaceName;
}

NxResult PortRegistry::Acquire(const ConnectionId& id, Share& share) {
    const std::lock_guard lock(mMutex);
    std::erase_if(mEntries, [](const Entry& entry) {
        const std::shared_ptr<DevicePort> port = entry.port.lock();
        return port == nullptr || !port->IsAlive();
    });
    for (const Entry& entry : mEntries) {
        std::shared_ptr<DevicePort> known = entry.port.lock();
        if (known == nullptr || !IsSameDevice(entry.id, id)) {
            continue;
        }
        NxResult result = known->Probe();
        if (result.IsOK()) {
            share = {.port = std::move(known), .xml = entry.xml};
            return {};
        }
        // While its channel lives, this process holds the interface, and nobody can claim it twice.
        // One that is there and does not answer would not do so for a new connection either.
        if (known->IsAlive() || result.GetCode() == kNxTimeout) {
            return result;
        }
    }
    std::shared_ptr<DevicePort> port;
    NxResult result = OpenDevicePort(id, port);
    if (!result.IsOK()) {
        return result;
    }
    std::string xml;
    result = port->ReadDescription(xml);
    if (!result.IsOK()) {
        return result;
    }
    share = {.port = port, .xml = std::make_shared<const std::string>(std::move(xml))};
    mEntries.push_back({.id = id, .port = port, .xml = share.xml});
    return {};
}

void PortRegistry::Release(Share& share) {
    const std::lock_guard lock(mMutex);
    share = Share();
}
