#pragma once

#include <cstdint>
#include <filesystem>

namespace simulator {

/// Where a device is on the network; host byte order.
struct IpAddress {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;  ///< 0: none
    bool operator==(const IpAddress&) const = default;

    /// Whether a device could have it: a host's address, in the subnet of a mask without gaps.
    [[nodiscard]] bool IsUsable() const;
};

/// How a device gets its address at power-on, which it remembers: network.json.
class IpSettings {
  public:
    /// Bits of the current IP configuration register (GigE Vision 2.0, section 27.5).
    enum Configuration : std::uint32_t { kPersistentIp = 1U, kDhcp = 2U, kLinkLocal = 4U };

    /// Takes what the folder holds; the factory's settings when there is nothing usable.
    /// @param folder empty: nothing is kept
    explicit IpSettings(const std::filesystem::path& folder);

    [[nodiscard]] std::uint32_t GetConfiguration() const { return mConfiguration; }
    [[nodiscard]] const IpAddress& Persistent() const { return mPersistent; }
    /// Link-local addresses are always on.
    /// @return false when it could not be stored
    [[nodiscard]] bool Set(std::uint32_t configuration, const IpAddress& persistent);
    /// Whether the device takes its persistent address at power-on.
    [[nodiscard]] bool UsesPersistent() const;

  private:
    std::filesystem::path mFile;
    std::uint32_t mConfiguration = kDhcp | kLinkLocal;
    IpAddress mPersistent;
};

}  // namespace simulator
