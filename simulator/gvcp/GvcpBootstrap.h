#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "simulator/device/DeviceProfile.h"
#include "simulator/device/IpSettings.h"
#include "simulator/registers/DeviceMemory.h"
#include "simulator/registers/RegisterRegion.h"

namespace simulator {

/// The bootstrap registers of a GigE Vision device (GigE Vision 2.0, chapter 27), big-endian, and
/// the GenICam description that they point at.
class GvcpBootstrap {
  public:
    static constexpr std::uint32_t kControlPrivilege = 0xa00;
    static constexpr std::size_t kDiscoverySize = 0xf8;

    /// Adds its regions to the memory, which must outlive this object.
    /// @param where where the device turned out to be
    /// @param ip outlives this object
    GvcpBootstrap(DeviceMemory& memory, const DeviceOptions& options, FirmwareStore& firmware,
                  const IpAddress& where, IpSettings& ip);

    /// The payload of a DISCOVERY ack.
    [[nodiscard]] std::vector<std::uint8_t> DiscoveryPayload();

    /// What the registers say, as set by the application.
    [[nodiscard]] std::chrono::milliseconds HeartbeatTimeout() const;
    [[nodiscard]] std::chrono::milliseconds PendingTimeout() const;
    [[nodiscard]] bool IsHeartbeatDisabled() const;
    [[nodiscard]] bool IsPendingAckEnabled() const;

    void ShowControl(std::uint32_t privilege, std::uint32_t address, std::uint16_t port);

  private:
    void SetIdentity(const DeviceOptions& options);
    void SetAddress(const IpAddress& where);
    [[nodiscard]] MemoryStatus StoreIpSettings();
    void SetCapabilities(const DeviceOptions& options);
    void SetDescription(DeviceMemory& memory, const DeviceOptions& options);

    RegisterRegion& mRegisters;
    FirmwareStore& mFirmware;
    IpSettings& mIp;
};

}  // namespace simulator
