#include "RegisterRegion.h"

#include <algorithm>

namespace simulator {

RegisterRegion::RegisterRegion(std::uint64_t address, std::uint64_t size, std::endian order,
                               Gaps gaps)
    : MemoryRegion(address, size), mOrder(order), mGaps(gaps), mBytes(size) {}

void RegisterRegion::Define(std::uint64_t address, std::uint32_t size, Access access, Hooks hooks) {
    mRegisters.insert_or_assign(address - Address(), Register{size, access, std::move(hooks)});
}

void RegisterRegion::DefineStored(std::uint64_t address, std::uint32_t initial) {
    Define(address, 4, Access::kReadWrite);
    SetNumber(address, initial);
}

void RegisterRegion::DefineShown(std::uint64_t address, std::function<std::uint32_t()> value) {
    Define(address, 4, Access::kReadOnly, {.beforeRead = [this, address, value = std::move(value)] {
               SetNumber(address, value());
           }});
}

void RegisterRegion::DefineText(std::uint64_t address, std::uint32_t size,
                                std::function<std::string()> show,
                                std::function<bool(const std::string& text)> take) {
    const Access access = take ? Access::kReadWrite : Access::kReadOnly;
    Hooks hooks;
    hooks.beforeRead = [=, this, show = std::move(show)] { SetText(address, size, show()); };
    if (take) {
        hooks.afterWrite = [=, this, take = std::move(take)] {
            return take(GetText(address, size)) ? MemoryStatus::kOk
                                                : MemoryStatus::kInvalidParameter;
        };
    }
    Define(address, size, access, std::move(hooks));
}

void RegisterRegion::DefineLong(std::uint64_t address, Access access, Hooks hooks) {
    mRegisters.insert_or_assign(address - Address(), Register{8, access, std::move(hooks), true});
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

std::uint64_t RegisterRegion::GetLong(std::uint64_t address) const {
    const std::uint64_t first = GetNumber(address);
    const std::uint64_t second = GetNumber(address + 4);
    return mOrder == std::endian::big ? first << 32U | second : second << 32U | first;
}

void RegisterRegion::SetLong(std::uint64_t address, std::uint64_t value) {
    const auto high = static_cast<std::uint32_t>(value >> 32U);
    const auto low = static_cast<std::uint32_t>(value);
    SetNumber(address, mOrder == std::endian::big ? high : low);
    SetNumber(address + 4, mOrder == std::endian::big ? low : high);
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

MemoryStatus RegisterRegion::MayRead(const Register& accessed) {
    const bool available = !accessed.hooks.isAvailable || accessed.hooks.isAvailable();
    return accessed.access != Access::kWriteOnly && available ? MemoryStatus::kOk
                                                              : MemoryStatus::kAccessDenied;
}

MemoryStatus RegisterRegion::MayWrite(const Register& accessed) {
    if (accessed.access == Access::kReadOnly ||
        (accessed.hooks.isLocked && accessed.hooks.isLocked())) {
        return MemoryStatus::kWriteProtect;
    }
    return !accessed.hooks.isAvailable || accessed.hooks.isAvailable()
               ? MemoryStatus::kOk
               : MemoryStatus::kAccessDenied;
}

template <typename Rights>
MemoryStatus RegisterRegion::Check(std::uint64_t offset, std::uint64_t size, Rights rights,
                                   MemoryStatus inReservedGaps) const {
    const MemoryStatus inGaps =
        mGaps == Gaps::kUnmapped ? MemoryStatus::kInvalidAddress : inReservedGaps;
    const std::uint64_t end = offset + size;
    for (std::uint64_t at = offset; at < end;) {
        const auto found = FirstAfter(at);
        const bool gap = found == mRegisters.end() || found->first > at;
        if (gap && inGaps != MemoryStatus::kOk) {
            return inGaps;
        }
        if (gap) {
            at = found == mRegisters.end() ? end : found->first;
            continue;
        }
        if (const MemoryStatus status = rights(found->second); status != MemoryStatus::kOk) {
            return status;
        }
        const std::uint64_t next = found->first + found->second.size;
        if (found->second.whole && (found->first < offset || next > end)) {
            return MemoryStatus::kBadAlignment;
        }
        at = next;
    }
    return MemoryStatus::kOk;
}

MemoryStatus RegisterRegion::Read(std::uint64_t offset, Bytes bytes) {
    const MemoryStatus rights = Check(offset, bytes.size(), MayRead, MemoryStatus::kOk);
    if (rights != MemoryStatus::kOk) {
        return rights;
    }
    for (auto found = FirstAfter(offset);
         found != mRegisters.end() && found->first < offset + bytes.size(); ++found) {
        if (found->second.hooks.beforeRead) {
            found->second.hooks.beforeRead();
        }
    }
    std::copy_n(mBytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.size(), bytes.begin());
    return MemoryStatus::kOk;
}

MemoryStatus RegisterRegion::Write(std::uint64_t offset, ConstBytes bytes) {
    const MemoryStatus rights = Check(offset, bytes.size(), MayWrite, MemoryStatus::kWriteProtect);
    if (rights != MemoryStatus::kOk) {
        return rights;
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
