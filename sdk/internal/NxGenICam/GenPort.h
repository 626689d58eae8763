#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>

/// Access to a device's registers, over whichever bus. Safe to call from any thread.
///
/// Bytes are always in the order in which the device's memory holds them.
class NX_API GenPort {
  public:
    /// Four bytes of device memory at a multiple of four: a register, or half of one of eight
    /// bytes.
    struct Register {
        std::uint64_t address = 0;
        std::array<std::byte, 4> bytes{};
        /// Of an eight-byte register, whose first half comes before this one.
        bool isSecondHalf = false;
    };

    virtual ~GenPort();

    /// Reads any number of bytes; split into as few commands as the bus allows.
    virtual NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) = 0;
    /// Writes any number of bytes; split into as few commands as the bus allows. The bytes between
    /// the end of `data` and the next multiple of four may be overwritten with zeros.
    virtual NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) = 0;
    /// Reads registers in order: with one command where the bus can, else one by one; neighbours
    /// in memory may be read together. Both halves of a register go into one command.
    virtual NxResult ReadRegisters(std::span<Register> registers) = 0;
    /// Writes registers in order: with one command where the bus can, else one by one. Both halves
    /// of a register go into one command.
    virtual NxResult WriteRegisters(std::span<const Register> registers) = 0;

    /// The device and the path to it, for descriptions of failures: "192.168.1.20 on eth1".
    [[nodiscard]] virtual std::string DeviceName() const = 0;
    /// True when several registers that are not neighbours go into one command.
    [[nodiscard]] virtual bool CombinesRegisters() const = 0;
    /// True on GigE Vision, where registers have commands of their own: little-endian devices
    /// swap a register's bytes there, but not in a memory access (GenICam Standard 2.0, appendix
    /// 3).
    [[nodiscard]] virtual bool HasRegisterCommands() const = 0;

    /// GenICam file access to the device is not possible, for that reason, in one line. A port may
    /// keep it for the failure of what is tried instead; this one does not.
    virtual void NoteNoFileAccess(const std::string& reason);
};
