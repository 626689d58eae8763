#pragma once

#include <cstdint>
#include <string>

namespace simulator {

/// An address that a device took, as one of this host's: added to the interface, unless the host
/// has it already, and removed with this object.
class HostAddress {
  public:
    HostAddress() = default;
    ~HostAddress();
    HostAddress(const HostAddress&) = delete;
    HostAddress& operator=(const HostAddress&) = delete;

    /// @param address,mask host byte order
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] bool Take(const std::string& interfaceName, std::uint32_t address,
                            std::uint32_t mask, std::string& why);

  private:
    unsigned int mInterface = 0;  // 0: nothing was added
    std::uint32_t mAddress = 0;
    std::uint8_t mPrefix = 0;
};

}  // namespace simulator
