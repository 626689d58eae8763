#include "DeviceMemory.h"

#include <algorithm>

namespace simulator {

MemoryStatus MemoryRegion::Write(std::uint64_t, ConstBytes) {
    return MemoryStatus::kWriteProtect;
}

ReadOnlyRegion::ReadOnlyRegion(std::uint64_t address, std::vector<std::uint8_t> bytes)
    : MemoryRegion(address, bytes.size()), mBytes(std::move(bytes)) {}

MemoryStatus ReadOnlyRegion::Read(std::uint64_t offset, Bytes bytes) {
    std::copy_n(mBytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.size(), bytes.begin());
    return MemoryStatus::kOk;
}

void DeviceMemory::Insert(std::unique_ptr<MemoryRegion> region) {
    const auto place = std::upper_bound(
        mRegions.begin(), mRegions.end(), region->Address(),
        [](std::uint64_t address, const auto& other) { return address < other->Address(); });
    mRegions.insert(place, std::move(region));
}

MemoryRegion* DeviceMemory::Find(std::uint64_t address) const {
    const auto next = std::upper_bound(
        mRegions.begin(), mRegions.end(), address,
        [](std::uint64_t wanted, const auto& region) { return wanted < region->Address(); });
    if (next == mRegions.begin()) {
        return nullptr;
    }
    MemoryRegion* const region = std::prev(next)->get();
    return address - region->Address() < region->Size() ? region : nullptr;
}

bool DeviceMemory::IsMapped(std::uint64_t address, std::uint64_t size) const {
    while (size > 0) {
        const MemoryRegion* const region = Find(address);
        if (region == nullptr) {
            return false;
        }
        const std::uint64_t count = std::min(size, region->Address() + region->Size() - address);
        address += count;
        size -= count;
    }
    return true;
}

template <typename ByteSpan, typename Visit>
MemoryStatus DeviceMemory::ForEachRegion(std::uint64_t address, ByteSpan bytes, Visit visit) {
    if (!IsMapped(address, bytes.size())) {
        return MemoryStatus::kInvalidAddress;
    }
    while (!bytes.empty()) {
        MemoryRegion* const region = Find(address);
        const std::uint64_t offset = address - region->Address();
        const std::uint64_t count = std::min<std::uint64_t>(bytes.size(), region->Size() - offset);
        const MemoryStatus status = visit(*region, offset, bytes.first(count));
        if (status != MemoryStatus::kOk) {
            return status;
        }
        bytes = bytes.subspan(count);
        address += count;
    }
    return MemoryStatus::kOk;
}

MemoryStatus DeviceMemory::ReadMemory(std::uint64_t address, Bytes bytes) {
    return ForEachRegion(address, bytes,
                         [](MemoryRegion& region, std::uint64_t offset, Bytes part) {
                             return region.Read(offset, part);
                         });
}

MemoryStatus DeviceMemory::WriteMemory(std::uint64_t address, ConstBytes bytes) {
    return ForEachRegion(address, bytes,
                         [](MemoryRegion& region, std::uint64_t offset, ConstBytes part) {
                             return region.Write(offset, part);
                         });
}

}  // namespace simulator
