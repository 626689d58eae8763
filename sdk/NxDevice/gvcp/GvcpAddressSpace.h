#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <internal/NxGenICam/GenPort.h>

#include "GvcpChannel.h"

/// The 32-bit address space of one GigE Vision device, read and written over its control channel in
/// as few commands as the device takes (GigE Vision 2.0, sections 16.1 to 16.4). Knows nothing of
/// control: a refused write is reported with the device's own status. Not for several threads at
/// once.
///
/// Addresses count modulo 2^32, as descriptions of devices use them: what lies beyond is cut off,
/// and an access may go round.
///
/// Every operation fails with the channel's own description once a command goes unanswered, with
/// kNxInvalidArgument for a write to an address that is not a multiple of four, with kNxProtocol
/// for an answer of the wrong length, and else with what the device's GVCP status means.
class GvcpAddressSpace {
  public:
    using Register = GenPort::Register;

    /// @param channel outlives this object
    GvcpAddressSpace(GvcpChannel& channel, std::string deviceName);

    /// Whether several registers go into one READREG or WRITEREG; not before the device says so.
    void CombineRegisters(bool combine) { mCombinesRegisters = combine; }
    [[nodiscard]] bool CombinesRegisters() const { return mCombinesRegisters; }

    /// One register as a number. @param value untouched on failure
    NxResult ReadNumber(std::uint32_t address, std::uint32_t& value);
    NxResult WriteNumber(std::uint32_t address, std::uint32_t value);

    /// Reads any number of bytes from any address.
    NxResult ReadBytes(std::uint64_t address, std::span<std::byte> buffer);
    /// Writes any number of bytes from a multiple of four; a last part of a register is filled up
    /// with zeros. Falls back to WRITEREG on devices without WRITEMEM.
    NxResult WriteBytes(std::uint64_t address, std::span<const std::byte> data);

    /// In the order given; those after a failed one are not touched. A single register is given
    /// time: writing it may be what opens or erases a file.
    NxResult ReadRegisters(std::span<Register> registers);
    NxResult WriteRegisters(std::span<const Register> registers);

  private:
    NxResult ReadBlock(std::uint32_t address, std::span<std::byte> buffer);
    NxResult WriteBlock(std::uint32_t address, std::span<const std::byte> data);
    NxResult WriteBlockAsRegisters(std::uint32_t address, std::span<const std::byte> data);
    NxResult SendRegisters(const std::vector<GvcpPacket::RegisterValue>& registers,
                           GvcpChannel::Effect effect);
    [[nodiscard]] NxResult Broken(GvcpPacket::Command command, std::uint32_t address) const;

    GvcpChannel& mChannel;
    std::string mDeviceName;
    bool mCombinesRegisters = false;
    bool mWritesMemory = true;
};
