#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "DeviceMemory.h"

namespace simulator {

/// What a register does beyond holding bytes; each may be absent.
struct RegisterHooks {
    std::function<void()> beforeRead = {};          ///< may bring the value up to date
    std::function<MemoryStatus()> afterWrite = {};  ///< carries out what the value asks for
    std::function<bool()> isAvailable = {};  ///< false: neither read nor written at the moment
    std::function<bool()> isLocked = {};     ///< true: not written at the moment
};

/// A region of registers with rights of their own.
class RegisterRegion : public MemoryRegion {
  public:
    enum class Access { kReadOnly, kReadWrite, kWriteOnly };
    /// What is between the registers.
    enum class Gaps {
        kUnmapped,  ///< no address of the device: neither read nor written
        kReserved   ///< as in bootstrap registers: reads as zeros and is write-protected
    };

    using Hooks = RegisterHooks;

    /// @param order of numbers in this region; texts and raw bytes have none
    RegisterRegion(std::uint64_t address, std::uint64_t size, std::endian order,
                   Gaps gaps = Gaps::kReserved);

    /// Registers must not overlap. Addresses are those of the device, not offsets.
    void Define(std::uint64_t address, std::uint32_t size, Access access, Hooks hooks = {});
    /// A number of 4 bytes that is whatever was written last.
    void DefineStored(std::uint64_t address, std::uint32_t initial = 0);
    /// A number of 4 bytes that can be read only. @param value asked whenever it is read
    void DefineShown(std::uint64_t address, std::function<std::uint32_t()> value);
    /// A text. @param show asked whenever it is read
    /// @param take given what was written; false: refused. Without it the text can be read only.
    void DefineText(std::uint64_t address, std::uint32_t size, std::function<std::string()> show,
                    std::function<bool(const std::string& text)> take = {});
    /// A number of 8 bytes that is accessed as a whole only.
    void DefineLong(std::uint64_t address, Access access, Hooks hooks = {});

    [[nodiscard]] std::uint32_t GetNumber(std::uint64_t address) const;
    void SetNumber(std::uint64_t address, std::uint32_t value);
    [[nodiscard]] std::uint64_t GetLong(std::uint64_t address) const;
    void SetLong(std::uint64_t address, std::uint64_t value);
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
        bool whole = false;  // not to be accessed in pieces
    };
    using Registers = std::map<std::uint64_t, Register>;  // by offset

    [[nodiscard]] Registers::const_iterator FirstAfter(std::uint64_t offset) const;
    [[nodiscard]] static MemoryStatus MayRead(const Register& accessed);
    [[nodiscard]] static MemoryStatus MayWrite(const Register& accessed);
    // Whether every register of the range may be accessed so, and every gap.
    template <typename Rights>
    [[nodiscard]] MemoryStatus Check(std::uint64_t offset, std::uint64_t size, Rights rights,
                                     MemoryStatus inReservedGaps) const;

    const std::endian mOrder;
    const Gaps mGaps;
    std::vector<std::uint8_t> mBytes;
    Registers mRegisters;
};

}  // namespace simulator
