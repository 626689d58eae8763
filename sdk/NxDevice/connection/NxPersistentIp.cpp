#include <NxDevice/NxPersistentIp.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>
#include <internal/NxSystem/ConnectionId.h>
#include <internal/NxSystem/NetworkInterface.h>

#include "OpenDevicePort.h"
#include "lock/DeviceLock.h"

namespace {

// Bootstrap registers (GigE Vision 2.0, section 28).
constexpr std::uint32_t kIpCapability = 0x0010;
constexpr std::uint32_t kIpConfiguration = 0x0014;
constexpr std::uint32_t kAddress = 0x064C;
constexpr std::uint32_t kMask = 0x065C;
constexpr std::uint32_t kGateway = 0x066C;

constexpr std::uint32_t kPersistent = 0x1;  // of the first two

using Setting = std::pair<std::uint32_t, std::uint32_t>;  // register, value

NxResult Read(DevicePort& port, std::uint32_t address, std::uint32_t& value) {
    std::array<GenPort::Register, 1> registers{{{.address = address}}};
    const NxResult result = port.ReadRegisters(registers);
    value = ByteOrder::LoadBig32(registers[0].bytes.data());
    return result;
}

NxResult Write(DevicePort& port, const Setting& setting) {
    std::array<GenPort::Register, 1> registers{{{.address = setting.first}}};
    ByteOrder::StoreBig32(registers[0].bytes.data(), setting.second);
    if (NxResult result = port.WriteRegisters(registers); !result.IsOK()) {
        return result;
    }
    std::uint32_t stored = 0;
    if (NxResult result = Read(port, setting.first, stored); !result.IsOK()) {
        return result;
    }
    return stored == setting.second
               ? NxResult()
               : NxResult(kNxDeviceError,
                          port.DeviceName() + " did not store its persistent address");
}

// In this order: nothing is enabled before it is complete.
NxResult WriteAll(const NxString& connectionID, std::vector<Setting> settings, bool enable) {
    ConnectionId id;
    if (NxResult result = ConnectionId::Parse(connectionID, id); !result.IsOK()) {
        return result;
    }
    if (id.kind == ConnectionId::Kind::kUsb) {
        return NxResult(kNxNotSupported, "A USB3 Vision device has no IP address");
    }
    std::shared_ptr<DeviceLock> lock;
    if (NxResult result = DeviceLock::Acquire(id, lock); !result.IsOK()) {
        return result;
    }
    std::shared_ptr<DevicePort> port;
    if (NxResult result = OpenDevicePort(id, port); !result.IsOK()) {
        return result;
    }
    std::uint32_t capability = 0;
    std::uint32_t configuration = 0;
    for (const auto& [address, value] :
         {std::pair{kIpCapability, &capability}, {kIpConfiguration, &configuration}}) {
        if (NxResult result = Read(*port, address, *value); !result.IsOK()) {
            return result;
        }
    }
    if ((capability & kPersistent) == 0) {
        return NxResult(kNxNotSupported, port->DeviceName() + " has no persistent address");
    }
    settings.emplace_back(kIpConfiguration,
                          enable ? configuration | kPersistent : configuration & ~kPersistent);
    for (const Setting& setting : settings) {
        if (NxResult result = Write(*port, setting); !result.IsOK()) {
            return result;
        }
    }
    return NxResult();
}

}  // namespace

NxResult NxPersistentIp::Store(const NxString& connectionID, const NxString& address,
                               const NxString& mask, const NxString& gateway) {
    std::vector<Setting> settings;
    for (const auto& [place, text] :
         {std::pair{kAddress, &address}, {kMask, &mask}, {kGateway, &gateway}}) {
        std::uint32_t value = 0;
        if (!ParseAddress(text->GetAscii(), value)) {
            return NxResult(kNxInvalidArgument, "\"" + std::string(text->GetAscii()) +
                                                    "\" is not an IPv4 address such as "
                                                    "192.168.1.20");
        }
        settings.emplace_back(place, value);
    }
    return WriteAll(connectionID, std::move(settings), true);
}

NxResult NxPersistentIp::Disable(const NxString& connectionID) {
    return WriteAll(connectionID, {}, false);
}
