#include "GvcpBootstrap.h"

#include <algorithm>
#include <array>
#include <utility>

#include "simulator/description/StoredDescription.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Access = RegisterRegion::Access;

constexpr std::uint32_t kRegionSize = 0x1000;

constexpr std::uint32_t kVersion = 0x000;
constexpr std::uint32_t kDeviceMode = 0x004;
constexpr std::uint32_t kMacHigh = 0x008;
constexpr std::uint32_t kMacLow = 0x00c;
constexpr std::uint32_t kIpCapability = 0x010;
constexpr std::uint32_t kIpConfiguration = 0x014;
constexpr std::uint32_t kCurrentAddress = 0x024;
constexpr std::uint32_t kCurrentMask = 0x034;
constexpr std::uint32_t kCurrentGateway = 0x044;
constexpr std::uint32_t kManufacturerName = 0x048;
constexpr std::uint32_t kModelName = 0x068;
constexpr std::uint32_t kDeviceVersion = 0x088;
constexpr std::uint32_t kManufacturerInfo = 0x0a8;
constexpr std::uint32_t kSerialNumber = 0x0d8;
constexpr std::uint32_t kUserName = 0x0e8;
constexpr std::uint32_t kFirstUrl = 0x200;
constexpr std::uint32_t kSecondUrl = 0x400;
constexpr std::uint32_t kInterfaceCount = 0x600;
constexpr std::uint32_t kPersistentAddress = 0x64c;
constexpr std::uint32_t kPersistentMask = 0x65c;
constexpr std::uint32_t kPersistentGateway = 0x66c;
constexpr std::uint32_t kLinkSpeed = 0x670;
constexpr std::uint32_t kCapability = 0x934;
constexpr std::uint32_t kHeartbeat = 0x938;
constexpr std::uint32_t kTickFrequencyHigh = 0x93c;
constexpr std::uint32_t kConfiguration = 0x954;
constexpr std::uint32_t kPendingTimeout = 0x958;
constexpr std::uint32_t kControllerPort = 0xa04;
constexpr std::uint32_t kControllerAddress = 0xa14;

constexpr std::uint32_t kShortTextSize = 16;
constexpr std::uint32_t kTextSize = 32;
constexpr std::uint32_t kInfoSize = 48;
constexpr std::uint32_t kUrlSize = 512;

constexpr std::uint32_t kHeartbeatDisableBit = 1U << 0U;
constexpr std::uint32_t kPendingAckBit = 1U << 1U;
constexpr std::uint32_t kMinHeartbeat = 500;  // ms
constexpr std::uint32_t kPendingMilliseconds = 200;

}  // namespace

GvcpBootstrap::GvcpBootstrap(DeviceMemory& memory, const DeviceOptions& options,
                             FirmwareStore& firmware, const IpAddress& where, IpSettings& ip)
    : mRegisters(memory.Add<RegisterRegion>(0, kRegionSize, std::endian::big)),
      mFirmware(firmware),
      mIp(ip) {
    SetIdentity(options);
    SetAddress(where);
    if (options.profile != Profile::kLoader) {
        SetCapabilities(options);
        SetDescription(memory, options);
    }
}

void GvcpBootstrap::SetIdentity(const DeviceOptions& options) {
    constexpr std::uint32_t kUtf8 = 1;
    const std::uint32_t bigEndian =
        RegisterOrder(options.layout, Bus::kGigEVision) == std::endian::big ? 1U << 31U : 0;
    const std::uint64_t mac = ParseMac(options.mac).value_or(0);
    mRegisters.SetNumber(kVersion, 0x00020000U);
    mRegisters.SetNumber(kDeviceMode, bigEndian | kUtf8);
    mRegisters.SetNumber(kMacHigh, static_cast<std::uint32_t>(mac >> 32U));
    mRegisters.SetNumber(kMacLow, static_cast<std::uint32_t>(mac));
    mRegisters.SetText(kManufacturerName, kTextSize, options.vendor);
    mRegisters.SetText(kModelName, kTextSize, options.model);
    mRegisters.SetText(
        kManufacturerInfo, kInfoSize,
        (options.profile == Profile::kLoader ? "MIRSKO-LOADER " : "Simulated device, profile ") +
            std::string(NameOf(options.profile)));
    mRegisters.SetText(kSerialNumber, kShortTextSize, options.serial);
    mRegisters.DefineText(kDeviceVersion, kTextSize,
                          [this] { return mFirmware.State().running.Text(); });
    // This register holds 15 characters; a longer device ID is shown cut, whole in DeviceUserID.
    mRegisters.DefineText(
        kUserName, kShortTextSize, [this] { return mFirmware.State().deviceId; },
        [this](const std::string& id) { return mFirmware.SetDeviceId(id); });
}

void GvcpBootstrap::SetAddress(const IpAddress& where) {
    mRegisters.SetNumber(kIpCapability,
                         IpSettings::kPersistentIp | IpSettings::kDhcp | IpSettings::kLinkLocal);
    mRegisters.SetNumber(kCurrentAddress, where.address);
    mRegisters.SetNumber(kCurrentMask, where.mask);
    mRegisters.SetNumber(kCurrentGateway, where.gateway);
    const std::array<std::pair<std::uint32_t, std::uint32_t>, 4> settings{
        {{kIpConfiguration, mIp.GetConfiguration()},
         {kPersistentAddress, mIp.Persistent().address},
         {kPersistentMask, mIp.Persistent().mask},
         {kPersistentGateway, mIp.Persistent().gateway}}};
    for (const auto& [address, value] : settings) {
        mRegisters.Define(address, 4, Access::kReadWrite,
                          {nullptr, [this] { return StoreIpSettings(); }});
        mRegisters.SetNumber(address, value);
    }
}

MemoryStatus GvcpBootstrap::StoreIpSettings() {
    const bool isStored =
        mIp.Set(mRegisters.GetNumber(kIpConfiguration),
                {mRegisters.GetNumber(kPersistentAddress), mRegisters.GetNumber(kPersistentMask),
                 mRegisters.GetNumber(kPersistentGateway)});
    mRegisters.SetNumber(kIpConfiguration, mIp.GetConfiguration());
    return isStored ? MemoryStatus::kOk : MemoryStatus::kAccessDenied;
}

void GvcpBootstrap::SetCapabilities(const DeviceOptions& options) {
    constexpr std::uint32_t kUserNameCapability = 1U << 31U;
    constexpr std::uint32_t kSerialNumberCapability = 1U << 30U;
    constexpr std::uint32_t kHeartbeatDisableCapability = 1U << 29U;
    constexpr std::uint32_t kPendingAckCapability = 1U << 5U;
    constexpr std::uint32_t kWriteMemoryCapability = 1U << 1U;
    constexpr std::uint32_t kConcatenationCapability = 1U << 0U;
    constexpr std::uint32_t kGigabit = 1000;  // Mbit/s

    mRegisters.SetNumber(kInterfaceCount, 1);
    mRegisters.SetNumber(kLinkSpeed, kGigabit);
    mRegisters.SetNumber(kCapability, kUserNameCapability | kSerialNumberCapability |
                                          kHeartbeatDisableCapability | kPendingAckCapability |
                                          kWriteMemoryCapability |
                                          (options.concatenation ? kConcatenationCapability : 0));
    mRegisters.SetNumber(kTickFrequencyHigh, 0);
    mRegisters.SetNumber(kPendingTimeout, kPendingMilliseconds);
    mRegisters.SetNumber(kHeartbeat, std::max(options.heartbeatTimeout, kMinHeartbeat));
    mRegisters.Define(kHeartbeat, 4, Access::kReadWrite,
                      {nullptr, [this] {
                           mRegisters.SetNumber(
                               kHeartbeat,
                               std::max(mRegisters.GetNumber(kHeartbeat), kMinHeartbeat));
                           return MemoryStatus::kOk;
                       }});
    // PENDING_ACK is off until an application that understands it switches it on.
    mRegisters.Define(kConfiguration, 4, Access::kReadWrite);
    // Written through the control channel only, which knows who asks.
    mRegisters.Define(kControlPrivilege, 4, Access::kReadOnly);
}

void GvcpBootstrap::SetDescription(DeviceMemory& memory, const DeviceOptions& options) {
    StoredDescription stored = StoredDescription::Of(options, Bus::kGigEVision);
    mRegisters.SetText(kFirstUrl, kUrlSize, stored.firstUrl);
    mRegisters.SetText(kSecondUrl, kUrlSize, stored.secondUrl);
    stored.bytes.resize((stored.bytes.size() + 3) / 4 * 4);
    memory.Add<ReadOnlyRegion>(features::kXml, std::move(stored.bytes));
}

std::vector<std::uint8_t> GvcpBootstrap::DiscoveryPayload() {
    std::vector<std::uint8_t> payload(kDiscoverySize);
    (void)mRegisters.Read(0, payload);
    return payload;
}

std::chrono::milliseconds GvcpBootstrap::HeartbeatTimeout() const {
    return std::chrono::milliseconds(mRegisters.GetNumber(kHeartbeat));
}

std::chrono::milliseconds GvcpBootstrap::PendingTimeout() const {
    return std::chrono::milliseconds(mRegisters.GetNumber(kPendingTimeout));
}

bool GvcpBootstrap::IsHeartbeatDisabled() const {
    return (mRegisters.GetNumber(kConfiguration) & kHeartbeatDisableBit) != 0;
}

bool GvcpBootstrap::IsPendingAckEnabled() const {
    return (mRegisters.GetNumber(kConfiguration) & kPendingAckBit) != 0;
}

void GvcpBootstrap::ShowControl(std::uint32_t privilege, std::uint32_t address,
                                std::uint16_t port) {
    mRegisters.SetNumber(kControlPrivilege, privilege);
    mRegisters.SetNumber(kControllerAddress, address);
    mRegisters.SetNumber(kControllerPort, port);
}

}  // namespace simulator
