#include "GvcpAddressSpace.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <NxBase/Hexadecimal.h>
#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>
#include <internal/NxBase/ReturnIfFailed.h>

using GvcpPacket::Command;

namespace {

// What is written to a register, unlike a block of data, may start an operation.
GvcpChannel::Effect EffectOf(std::size_t bytes) {
    constexpr std::size_t kLargestRegister = 8;
    return bytes <= kLargestRegister ? GvcpChannel::Effect::kMayTakeLong
                                     : GvcpChannel::Effect::kQuick;
}

// The bytes from an address on that one command can access: none goes round.
std::size_t CutBlock(std::uint64_t address, std::size_t bytes) {
    const std::uint64_t beforeZero = 0x100000000U - static_cast<std::uint32_t>(address);
    return std::min({bytes, GvcpPacket::kLargestBlock, static_cast<std::size_t>(beforeZero)});
}

}  // namespace

GvcpAddressSpace::GvcpAddressSpace(GvcpChannel& channel, std::string deviceName)
    : mChannel(channel), mDeviceName(std::move(deviceName)) {}

NxResult GvcpAddressSpace::Broken(Command command, std::uint32_t address) const {
    return NxResult(kNxProtocol, mDeviceName + " replied to GVCP " +
                                     GvcpPacket::CommandName(command) + " at " +
                                     Hexadecimal(address, 8) + " with the wrong number of bytes");
}

NxResult GvcpAddressSpace::ReadNumber(std::uint32_t address, std::uint32_t& value) {
    std::span<const std::byte> payload;
    NX_RETURN_IF_FAILED(mChannel.Transact(
        Command::kReadRegister, GvcpPacket::ReadRegisters(std::array{address}), address, payload));
    if (payload.size() != 4) {
        return Broken(Command::kReadRegister, address);
    }
    value = ByteOrder::LoadBig32(payload.data());
    return {};
}

NxResult GvcpAddressSpace::WriteNumber(std::uint32_t address, std::uint32_t value) {
    std::span<const std::byte> payload;
    const std::array registers{GvcpPacket::RegisterValue{.address = address, .value = value}};
    return mChannel.Transact(Command::kWriteRegister, GvcpPacket::WriteRegisters(registers),
                             address, payload);
}

NxResult GvcpAddressSpace::ReadBlock(std::uint32_t address, std::span<std::byte> buffer) {
    const std::size_t count = (buffer.size() + 3) / 4 * 4;
    std::span<const std::byte> payload;
    NX_RETURN_IF_FAILED(mChannel.Transact(
        Command::kReadMemory, GvcpPacket::ReadMemory(address, count), address, payload));
    if (payload.size() != 4 + count || ByteOrder::LoadBig32(payload.data()) != address) {
        return Broken(Command::kReadMemory, address);
    }
    std::copy_n(payload.begin() + 4, buffer.size(), buffer.begin());
    return {};
}

NxResult GvcpAddressSpace::ReadBytes(std::uint64_t address, std::span<std::byte> buffer) {
    // Only multiples of four can be addressed.
    const std::size_t lead = address % 4;
    if (lead != 0) {
        std::array<std::byte, 4> word{};
        NX_RETURN_IF_FAILED(ReadBlock(static_cast<std::uint32_t>(address - lead), word));
        const std::size_t part = std::min<std::size_t>(4 - lead, buffer.size());
        std::copy_n(word.begin() + static_cast<std::ptrdiff_t>(lead), part, buffer.begin());
        address += part;
        buffer = buffer.subspan(part);
    }
    while (!buffer.empty()) {
        const std::size_t part = CutBlock(address, buffer.size());
        NX_RETURN_IF_FAILED(ReadBlock(static_cast<std::uint32_t>(address), buffer.first(part)));
        address += part;
        buffer = buffer.subspan(part);
    }
    return {};
}

NxResult GvcpAddressSpace::WriteBytes(std::uint64_t address, std::span<const std::byte> data) {
    if (address % 4 != 0) {
        return NxResult(kNxInvalidArgument,
                        mDeviceName + " cannot be written at " +
                            Hexadecimal(static_cast<std::uint32_t>(address), 8) +
                            ": the address is not a multiple of four");
    }
    while (!data.empty()) {
        const std::size_t part = CutBlock(address, data.size());
        NX_RETURN_IF_FAILED(WriteBlock(static_cast<std::uint32_t>(address), data.first(part)));
        address += part;
        data = data.subspan(part);
    }
    return {};
}

NxResult GvcpAddressSpace::WriteBlock(std::uint32_t address, std::span<const std::byte> data) {
    if (mWritesMemory) {
        std::span<const std::byte> payload;
        NxResult result =
            mChannel.Transact(Command::kWriteMemory, GvcpPacket::WriteMemory(address, data),
                              address, payload, EffectOf(data.size()));
        if (result.IsOK() || mChannel.Status() != GvcpPacket::kStatusNotImplemented ||
            !mChannel.IsAlive()) {
            return result;
        }
        // WRITEMEM is optional in GigE Vision 1.x.
        mWritesMemory = false;
    }
    return WriteBlockAsRegisters(address, data);
}

NxResult GvcpAddressSpace::WriteBlockAsRegisters(std::uint32_t address,
                                                 std::span<const std::byte> data) {
    std::vector<GvcpPacket::RegisterValue> registers;
    for (std::size_t at = 0; at < data.size(); at += 4) {
        std::array<std::byte, 4> word{};
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(at),
                    std::min<std::size_t>(4, data.size() - at), word.begin());
        registers.push_back({.address = address + static_cast<std::uint32_t>(at),
                             .value = ByteOrder::LoadBig32(word.data())});
    }
    return SendRegisters(registers, EffectOf(data.size()));
}

NxResult GvcpAddressSpace::SendRegisters(const std::vector<GvcpPacket::RegisterValue>& registers,
                                         GvcpChannel::Effect effect) {
    const std::size_t atOnce = mCombinesRegisters ? GvcpPacket::kMostWriteRegisters : 1;
    std::span<const GvcpPacket::RegisterValue> rest(registers);
    while (!rest.empty()) {
        const auto part = rest.first(std::min(rest.size(), atOnce));
        std::span<const std::byte> payload;
        NX_RETURN_IF_FAILED(mChannel.Transact(Command::kWriteRegister,
                                              GvcpPacket::WriteRegisters(part),
                                              part.front().address, payload, effect));
        rest = rest.subspan(part.size());
    }
    return {};
}

NxResult GvcpAddressSpace::WriteRegisters(std::span<const Register> registers) {
    std::vector<GvcpPacket::RegisterValue> values;
    values.reserve(registers.size());
    for (const Register& one : registers) {
        values.push_back({.address = static_cast<std::uint32_t>(one.address),
                          .value = ByteOrder::LoadBig32(one.bytes.data())});
    }
    return SendRegisters(values, values.size() == 1 ? GvcpChannel::Effect::kMayTakeLong
                                                    : GvcpChannel::Effect::kQuick);
}

NxResult GvcpAddressSpace::ReadRegisters(std::span<Register> registers) {
    const std::size_t atOnce = mCombinesRegisters ? GvcpPacket::kMostReadRegisters : 1;
    while (!registers.empty()) {
        const auto part = registers.first(std::min(registers.size(), atOnce));
        std::vector<std::uint32_t> addresses;
        for (const Register& one : part) {
            addresses.push_back(static_cast<std::uint32_t>(one.address));
        }
        std::span<const std::byte> payload;
        NX_RETURN_IF_FAILED(mChannel.Transact(Command::kReadRegister,
                                              GvcpPacket::ReadRegisters(addresses),
                                              addresses.front(), payload));
        if (payload.size() != 4 * part.size()) {
            return Broken(Command::kReadRegister, addresses.front());
        }
        for (std::size_t i = 0; i < part.size(); ++i) {
            std::copy_n(payload.begin() + static_cast<std::ptrdiff_t>(4 * i), 4,
                        part[i].bytes.begin());
        }
        registers = registers.subspan(part.size());
    }
    return {};
}
