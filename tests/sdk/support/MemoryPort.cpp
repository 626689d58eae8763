#include "MemoryPort.h"

#include <algorithm>

#include <internal/NxBase/ByteOrder.h>

namespace {

constexpr std::size_t kBlock = 536;

}  // namespace

NxResult MemoryPort::ReadMemory(std::uint64_t address, std::span<std::byte> buffer) {
    for (std::size_t at = 0; at < buffer.size(); at += kBlock) {
        log.push_back("READMEM " + std::to_string(std::min(kBlock, buffer.size() - at)));
    }
    if (onRead) {
        onRead(address);
    }
    const std::string bytes = Load(address, buffer.size());
    std::transform(bytes.begin(), bytes.end(), buffer.begin(),
                   [](char byte) { return static_cast<std::byte>(byte); });
    const auto failed = failedReads.find(address);
    return failed != failedReads.end() ? failed->second : failure;
}

NxResult MemoryPort::WriteMemory(std::uint64_t address, std::span<const std::byte> data) {
    for (std::size_t at = 0; at < data.size(); at += kBlock) {
        log.push_back("WRITEMEM " + std::to_string(std::min(kBlock, data.size() - at)));
    }
    if (!failure.IsOK()) {
        return failure;
    }
    Store(address, {reinterpret_cast<const char*>(data.data()), data.size()});
    if (onWrite) {
        onWrite(address);
    }
    return {};
}

NxResult MemoryPort::ReadRegisters(std::span<Register> registers) {
    if (combinesRegisters) {
        log.push_back("READREG " + std::to_string(registers.size()));
    }
    for (Register& one : registers) {
        if (!combinesRegisters) {
            log.emplace_back("READREG 1");
        }
        if (onRead) {
            onRead(one.address);
        }
        const std::string bytes = Load(one.address, 4);
        std::transform(bytes.begin(), bytes.end(), one.bytes.begin(),
                       [](char byte) { return static_cast<std::byte>(byte); });
    }
    return failure;
}

NxResult MemoryPort::WriteRegisters(std::span<const Register> registers) {
    if (combinesRegisters) {
        log.push_back("WRITEREG " + std::to_string(registers.size()));
    }
    for (const Register& one : registers) {
        if (!combinesRegisters) {
            log.emplace_back("WRITEREG 1");
        }
        if (!failure.IsOK()) {
            return failure;
        }
        Store(one.address, {reinterpret_cast<const char*>(one.bytes.data()), 4});
        if (onWrite) {
            onWrite(one.address);
        }
    }
    return {};
}

void MemoryPort::Store(std::uint64_t address, const std::string& bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        mBytes[address + i] = static_cast<std::byte>(bytes[i]);
    }
}

std::string MemoryPort::Load(std::uint64_t address, std::size_t size) const {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        const auto found = mBytes.find(address + i);
        bytes[i] = found != mBytes.end() ? static_cast<char>(found->second) : '\0';
    }
    return bytes;
}

void MemoryPort::StoreBig(std::uint64_t address, std::uint32_t value) {
    std::string bytes(4, '\0');
    ByteOrder::StoreBig32(reinterpret_cast<std::byte*>(bytes.data()), value);
    Store(address, bytes);
}

void MemoryPort::StoreLittle(std::uint64_t address, std::uint32_t value) {
    std::string bytes(4, '\0');
    ByteOrder::StoreBig32(reinterpret_cast<std::byte*>(bytes.data()), value);
    std::reverse(bytes.begin(), bytes.end());
    Store(address, bytes);
}

std::uint32_t MemoryPort::LoadBig(std::uint64_t address) const {
    const std::string bytes = Load(address, 4);
    return ByteOrder::LoadBig32(reinterpret_cast<const std::byte*>(bytes.data()));
}
