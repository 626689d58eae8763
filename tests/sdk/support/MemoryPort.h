#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <internal/NxGenICam/GenPort.h>

/// A device that is nothing but memory; what it never stored reads as zeros. Counts accesses as
/// GigE Vision would send them.
class MemoryPort : public GenPort {
  public:
    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override;
    NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) override;
    NxResult ReadRegisters(std::span<Register> registers) override;
    NxResult WriteRegisters(std::span<const Register> registers) override;
    [[nodiscard]] std::string DeviceName() const override { return "192.0.2.7 on eth9"; }
    [[nodiscard]] bool CombinesRegisters() const override { return combinesRegisters; }
    [[nodiscard]] bool HasRegisterCommands() const override { return hasRegisterCommands; }

    void Store(std::uint64_t address, const std::string& bytes);
    [[nodiscard]] std::string Load(std::uint64_t address, std::size_t size) const;
    void StoreBig(std::uint64_t address, std::uint32_t value);
    void StoreLittle(std::uint64_t address, std::uint32_t value);
    [[nodiscard]] std::uint32_t LoadBig(std::uint64_t address) const;

    bool combinesRegisters = true;
    bool hasRegisterCommands = true;
    NxResult failure;                               ///< of every access, when not OK
    std::map<std::uint64_t, NxResult> failedReads;  ///< of reads that begin at that address
    std::function<void(std::uint64_t)> onWrite;     ///< after a write that began at that address
    std::function<void(std::uint64_t)> onRead;      ///< before a read that begins at that address
    std::vector<std::string> log;                   ///< "READREG 2", "WRITEMEM 536", …

  private:
    std::map<std::uint64_t, std::byte> mBytes;
};
