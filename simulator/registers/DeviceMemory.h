#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "ByteOrder.h"

namespace simulator {

/// How an access to a device's memory ended; the values are the status codes of GVCP and of GenCP,
/// which agree on these.
enum class MemoryStatus : std::uint16_t {
    kOk = 0x0000,
    kInvalidParameter = 0x8002,
    kInvalidAddress = 0x8003,
    kWriteProtect = 0x8004,
    kBadAlignment = 0x8005,
    kAccessDenied = 0x8006,
    kBusy = 0x8007
};

[[nodiscard]] constexpr std::uint16_t CodeOf(MemoryStatus status) {
    return static_cast<std::uint16_t>(status);
}

/// A piece of a device's address space. Used by one thread at a time.
class MemoryRegion {
  public:
    /// @param size bytes; not 0
    MemoryRegion(std::uint64_t address, std::uint64_t size) : mAddress(address), mSize(size) {}
    virtual ~MemoryRegion() = default;
    MemoryRegion(const MemoryRegion&) = delete;
    MemoryRegion& operator=(const MemoryRegion&) = delete;

    [[nodiscard]] std::uint64_t Address() const { return mAddress; }
    [[nodiscard]] std::uint64_t Size() const { return mSize; }

    /// @param offset from Address(); `offset` and the bytes lie within the region
    [[nodiscard]] virtual MemoryStatus Read(std::uint64_t offset, Bytes bytes) = 0;
    /// Changes nothing when it fails. By default the region is read-only.
    [[nodiscard]] virtual MemoryStatus Write(std::uint64_t offset, ConstBytes bytes);

  private:
    const std::uint64_t mAddress;
    const std::uint64_t mSize;
};

/// Bytes that never change, such as the XML description.
class ReadOnlyRegion : public MemoryRegion {
  public:
    ReadOnlyRegion(std::uint64_t address, std::vector<std::uint8_t> bytes);
    [[nodiscard]] MemoryStatus Read(std::uint64_t offset, Bytes bytes) override;

  private:
    const std::vector<std::uint8_t> mBytes;
};

/// The address space of a device as one bus sees it: what ReadMemory and WriteMemory of GigE Vision
/// and USB3 Vision act on. Used by one thread at a time.
class DeviceMemory {
  public:
    /// Regions must not overlap. @return the region, for further set-up
    template <typename Region, typename... Arguments>
    Region& Add(Arguments&&... arguments) {
        auto region = std::make_unique<Region>(std::forward<Arguments>(arguments)...);
        Region& reference = *region;
        Insert(std::move(region));
        return reference;
    }

    /// Accesses may span regions that lie side by side.
    [[nodiscard]] MemoryStatus ReadMemory(std::uint64_t address, Bytes bytes);
    [[nodiscard]] MemoryStatus WriteMemory(std::uint64_t address, ConstBytes bytes);

  private:
    void Insert(std::unique_ptr<MemoryRegion> region);
    [[nodiscard]] MemoryRegion* Find(std::uint64_t address) const;
    [[nodiscard]] bool IsMapped(std::uint64_t address, std::uint64_t size) const;
    // Visits the part that falls into each region, in order; stops at the first that is not kOk.
    template <typename ByteSpan, typename Visit>
    MemoryStatus ForEachRegion(std::uint64_t address, ByteSpan bytes, Visit visit);

    std::vector<std::unique_ptr<MemoryRegion>> mRegions;  // by address
};

}  // namespace simulator
