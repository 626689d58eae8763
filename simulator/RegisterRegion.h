#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "DeviceMemory.h"

namespace simulator {

/// A region of registers. What no register was defined for reads as zeros and is write-protected.
class RegisterRegion : public MemoryRegion {
  public:
    enum class Access { kReadOnly, kReadWrite };

    struct Hooks {
        std::function<void()> beforeRead;          ///< may bring the value up to date
        std::function<MemoryStatus()> afterWrite;  ///< carries out what the value asks for
    };

    /// @param order of numbers in this region; texts and raw bytes have none
    RegisterRegion(std::uint64_t address, std::uint64_t size, std::endian order);

    /// Registers must not overlap. Addresses are those of the device, not offsets.
    void Define(std::uint64_t address, std::uint32_t size, Access access, Hooks hooks = {});

    [[nodiscard]] std::uint32_t GetNumber(std::uint64_t address) const;
    void SetNumber(std::uint64_t address, std::uint32_t value);
    /// The text up to the first zero, at most `size` bytes.
    [[nodiscard]] std::string GetText(std::uint64_t address, std::uint32_t size) const;
    /// Padded with zeros; cut so that at least one zero stays.
    void SetText(std::uint64_t address, std::uint32_t size, const std::string& text);
    [[nodiscard]] Bytes At(std::uint64_t address, std::uint32_t size);

    [[nodiscard]] MemoryStatus Read(std::uint64_t offset, Bytes bytes) override;
    [[nodiscard]] MemoryStatus Write(std::uint64_t offset, ConstBytes bytes) override;

  private:
    struct Register {
        std::uint32_t size;
        Access access;
        Hooks hooks;
    };
    using Registers = std::map<std::uint64_t, Register>;  // by offset

    [[nodiscard]] Registers::const_iterator FirstAfter(std::uint64_t offset) const;
    [[nodiscard]] bool IsWritable(std::uint64_t offset, std::uint64_t size) const;

    const std::endian mOrder;
    std::vector<std::uint8_t> mBytes;
    Registers mRegisters;
};

}  // namespace simulator
