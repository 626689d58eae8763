#include "ZipDirectory.h"

#include <algorithm>
#include <array>

#include "ZipBytes.h"

namespace {

constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint64_t kEndSize = 22;
constexpr std::uint64_t kLongestComment = 0xFFFF;
constexpr std::uint32_t kLocatorSignature = 0x07064b50;
constexpr std::uint64_t kLocatorSize = 20;
constexpr std::uint32_t kZip64EndSignature = 0x06064b50;
constexpr std::uint64_t kZip64EndSize = 56;
constexpr std::uint32_t kEntrySignature = 0x02014b50;
constexpr std::size_t kEntrySize = 46;
constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::uint16_t kZip64Field = 1;
constexpr std::uint16_t kMaskedDirectory = 1U << 13U;
constexpr std::uint32_t kInZip64Field = 0xFFFFFFFF;

std::size_t NameSize(const unsigned char* entry) {
    return Little16(entry + 28);
}

std::size_t ExtraSize(const unsigned char* entry) {
    return Little16(entry + 30);
}

bool NeedsZip64Field(const unsigned char* entry) {
    return Little32(entry + 20) == kInZip64Field || Little32(entry + 24) == kInZip64Field ||
           Little32(entry + 42) == kInZip64Field;
}

struct ExtraField {
    bool isMalformed = false;
    const unsigned char* data = nullptr;  ///< null without that field
    std::size_t size = 0;
};

ExtraField FindZip64Field(const unsigned char* entry) {
    const unsigned char* extra = entry + kEntrySize + NameSize(entry);
    std::size_t left = ExtraSize(entry);
    while (left > 0) {
        if (left < 4 || left < std::size_t{4} + Little16(extra + 2)) {
            return {true, nullptr, 0};
        }
        const std::size_t size = Little16(extra + 2);
        if (Little16(extra) == kZip64Field) {
            return {false, extra + 4, size};
        }
        extra += 4 + size;
        left -= 4 + size;
    }
    return {};
}

/// Takes the next eight bytes of the zip64 field for a value that the entry itself has no room for.
bool Widen(std::uint64_t& value, ExtraField& field) {
    if (value != kInZip64Field) {
        return true;
    }
    if (field.size < 8) {
        return false;
    }
    value = Little64(field.data);
    field.data += 8;
    field.size -= 8;
    return true;
}

}  // namespace

struct ZipDirectory::EndRecord {
    std::uint64_t disk = 0;
    std::uint64_t directoryDisk = 0;
    std::uint64_t countOnDisk = 0;
    std::uint64_t count = 0;
    std::uint64_t size = 0;    ///< of the directory, in bytes
    std::uint64_t offset = 0;  ///< of the directory, from the beginning of the file
};

bool ZipDirectory::Read(int descriptor, std::uint64_t fileSize) {
    mOffsets.clear();
    EndRecord end;
    if (!FindEnd(descriptor, fileSize, end)) {
        return false;
    }
    const bool isOneOfOne = end.disk == 1 && end.directoryDisk == 1;
    if (end.count != end.countOnDisk || ((end.disk | end.directoryDisk) != 0 && !isOneOfOne) ||
        end.size > kMaximumSize || end.count > end.size / kEntrySize || end.offset > fileSize ||
        end.size > fileSize - end.offset) {
        return false;
    }
    mBytes.resize(end.size);
    return ReadAt(descriptor, end.offset, mBytes.data(), mBytes.size()) &&
           ReadEntries(end, fileSize);
}

bool ZipDirectory::FindEnd(int descriptor, std::uint64_t fileSize, EndRecord& end) {
    if (fileSize < kEndSize) {
        return false;
    }
    std::vector<unsigned char> tail(std::min(fileSize, kLongestComment + kEndSize));
    if (!ReadAt(descriptor, fileSize - tail.size(), tail.data(), tail.size())) {
        return false;
    }
    // The last one counts, whatever its comment's length says: of two archives in one file the
    // second is the package.
    std::size_t at = tail.size() - kEndSize;
    while (Little32(&tail[at]) != kEndSignature) {
        if (at-- == 0) {
            return false;
        }
    }
    const unsigned char* const record = &tail[at];
    end = {Little16(record + 4),  Little16(record + 6),  Little16(record + 8),
           Little16(record + 10), Little32(record + 12), Little32(record + 16)};

    const std::uint64_t recordOffset = fileSize - tail.size() + at;
    std::array<unsigned char, kLocatorSize> locator{};
    if (recordOffset < kLocatorSize + kZip64EndSize ||
        !ReadAt(descriptor, recordOffset - kLocatorSize, locator.data(), locator.size()) ||
        Little32(locator.data()) != kLocatorSignature) {
        return true;
    }
    const std::uint64_t zip64Offset = Little64(&locator[8]);
    std::array<unsigned char, kZip64EndSize> zip64{};
    if (zip64Offset > fileSize - kZip64EndSize) {
        return false;
    }
    if (!ReadAt(descriptor, zip64Offset, zip64.data(), zip64.size()) ||
        Little32(zip64.data()) != kZip64EndSignature) {
        return true;
    }
    end = {Little32(&zip64[16]), Little32(&zip64[20]), Little64(&zip64[24]),
           Little64(&zip64[32]), Little64(&zip64[40]), Little64(&zip64[48])};
    return Little64(&zip64[4]) >= kZip64EndSize - 12 && Little32(&locator[16]) == 1;
}

bool ZipDirectory::ReadEntries(const EndRecord& end, std::uint64_t fileSize) {
    bool hasZip64Field = false;
    std::size_t at = 0;
    mOffsets.reserve(end.count);
    while (mOffsets.size() < end.count) {
        const std::size_t left = mBytes.size() - at;
        const unsigned char* const entry = mBytes.data() + at;
        if (left < kEntrySize || Little32(entry) != kEntrySignature) {
            return false;
        }
        const std::size_t size =
            kEntrySize + NameSize(entry) + ExtraSize(entry) + Little16(entry + 32);  // the comment
        if (size > left) {
            return false;
        }
        if (!hasZip64Field && NeedsZip64Field(entry)) {
            const ExtraField field = FindZip64Field(entry);
            if (field.isMalformed) {
                return false;
            }
            hasZip64Field = field.data != nullptr;
        }
        const std::uint32_t compressedSize = Little32(entry + 20);
        const std::uint32_t uncompressedSize = Little32(entry + 24);
        if (compressedSize != kInZip64Field && uncompressedSize != kInZip64Field) {
            // miniz looks at the method and the time as one number here.
            const bool isStored = Little32(entry + 10) == 0;
            if ((isStored && compressedSize != uncompressedSize) ||
                (compressedSize == 0 && uncompressedSize != 0)) {
                return false;
            }
        }
        const std::uint16_t disk = Little16(entry + 34);
        if (disk == 0xFFFF || (disk != end.disk && disk != 1) ||
            (Little16(entry + 8) & kMaskedDirectory) != 0) {
            return false;
        }
        if (compressedSize != kInZip64Field &&
            std::uint64_t{Little32(entry + 42)} + kLocalHeaderSize + compressedSize > fileSize) {
            return false;
        }
        mOffsets.push_back(at);
        at += size;
    }
    return true;
}

std::optional<ZipDirectory::Entry> ZipDirectory::At(std::size_t index) const {
    if (index >= mOffsets.size()) {
        return std::nullopt;
    }
    const unsigned char* const entry = mBytes.data() + mOffsets[index];
    Entry result;
    result.flags = Little16(entry + 8);
    result.method = Little16(entry + 10);
    result.crc = Little32(entry + 16);
    result.compressedSize = Little32(entry + 20);
    result.size = Little32(entry + 24);
    result.externalAttributes = Little32(entry + 38);
    result.localHeaderOffset = Little32(entry + 42);
    result.name = {reinterpret_cast<const char*>(entry) + kEntrySize, NameSize(entry)};
    if (NeedsZip64Field(entry)) {
        ExtraField field = FindZip64Field(entry);
        const bool isWidened = field.data == nullptr ||
                               (Widen(result.size, field) && Widen(result.compressedSize, field) &&
                                Widen(result.localHeaderOffset, field));
        if (field.isMalformed || !isWidened) {
            return std::nullopt;
        }
    }
    return result;
}
