#include "RegisterRegion.h"

#include <algorithm>

namespace simulator {

RegisterRegion::RegisterRegion(std::uint64_t address, std::uint64_t size, std::endian order)
    : MemoryRegion(address, size), mOrder(order), mBytes(size) {}

void RegisterRegion::Define(std::uint64_t address, std::uint32_t size, Access access, Hooks hooks) {
    mRegisters.insert_or_assign(address - Address(), Register{size, access, std::move(hooks)});
}

Bytes RegisterRegion::At(std::uint64_t address, std::uint32_t size) {
    return Bytes(mBytes).subspan(address - Address(), size);
}

std::uint32_t RegisterRegion::GetNumber(std::uint64_t address) const {
    const std::uint64_t offset = address - Address();
    const auto big = LoadBig<std::uint32_t>(mBytes, offset);
    return mOrder == std::endian::big ? big : __builtin_bswap32(big);
}

void RegisterRegion::SetNumber(std::uint64_t address, std::uint32_t value) {
    StoreBig<std::uint32_t>(mBytes, address - Address(),
                            mOrder == std::endian::big ? value : __builtin_bswap32(value));
}

std::string RegisterRegion::GetText(std::uint64_t address, std::uint32_t size) const {
    const ConstBytes bytes = ConstBytes(mBytes).subspan(address - Address(), size);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

void RegisterRegion::SetText(std::uint64_t address, std::uint32_t size, const std::string& text) {
    const Bytes bytes = At(address, size);
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
    std::copy_n(text.begin(), std::min<std::size_t>(text.size(), size - 1), bytes.begin());
}

RegisterRegion::Registers::const_iterator RegisterRegion::FirstAfter(std::uint64_t offset) const {
    auto found = mRegisters.upper_bound(offset);
    if (found != mRegisters.begin()) {
        const auto before = std::prev(found);
        if (offset - before->first < before->second.size) {
            found = before;
        }
    }
    return found;
}

MemoryStatus RegisterRegion::Read(std::uint64_t offset, Bytes bytes) {
    for (auto found = FirstAfter(offset);
         found != mRegisters.end() && found->first < offset + bytes.size(); ++found) {
        if (found->second.hooks.beforeRead) {
            found->second.hooks.beforeRead();
        }
    }
    std::copy_n(mBytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.size(), bytes.begin());
    return MemoryStatus::kOk;
}

bool RegisterRegion::IsWritable(std::uint64_t offset, std::uint64_t size) const {
    const std::uint64_t end = offset + size;
    while (offset < end) {
        const auto found = FirstAfter(offset);
        if (found == mRegisters.end() || found->first > offset ||
            found->second.access != Access::kReadWrite) {
            return false;
        }
        offset = found->first + found->second.size;
    }
    return true;
}

MemoryStatus RegisterRegion::Write(std::uint64_t offset, ConstBytes bytes) {
    if (!IsWritable(offset, bytes.size())) {
        return MemoryStatus::kWriteProtect;
    }
    const std::vector<std::uint8_t> before(
        mBytes.begin() + static_cast<std::ptrdiff_t>(offset),
        mBytes.begin() + static_cast<std::ptrdiff_t>(offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), mBytes.begin() + static_cast<std::ptrdiff_t>(offset));
    for (auto found = FirstAfter(offset);
         found != mRegisters.end() && found->first < offset + bytes.size(); ++found) {
        const MemoryStatus status =
            found->second.hooks.afterWrite ? found->second.hooks.afterWrite() : MemoryStatus::kOk;
        if (status != MemoryStatus::kOk) {
            std::copy(before.begin(), before.end(),
                      mBytes.begin() + static_cast<std::ptrdiff_t>(offset));
            return status;
        }
    }
    return MemoryStatus::kOk;
}

}  // namespace simulator
