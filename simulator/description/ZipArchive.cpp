#include "ZipArchive.h"

#include <zlib.h>

#include "simulator/firmware/Crc32.h"
#include "simulator/registers/ByteOrder.h"

namespace simulator {

namespace {

constexpr std::uint16_t kVersionNeeded = 20;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kFirstDosDate = 0x0021;  // 1980-01-01: the archive is the same every time

void Append(std::vector<std::uint8_t>& bytes, std::uint64_t value, unsigned int size) {
    for (unsigned int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8U * i));
    }
}

// Raw deflate: without zlib's own header of 2 bytes and its check sum of 4.
std::vector<std::uint8_t> Deflate(const std::string& content) {
    uLongf size = compressBound(content.size());
    std::vector<std::uint8_t> packed(size);
    (void)compress2(packed.data(), &size, reinterpret_cast<const Bytef*>(content.data()),
                    content.size(), Z_BEST_COMPRESSION);
    return {packed.begin() + 2, packed.begin() + static_cast<std::ptrdiff_t>(size) - 4};
}

void Append(std::vector<std::uint8_t>& bytes, const std::vector<std::uint8_t>& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// CRC, packed and unpacked size.
struct Measures {
    std::uint32_t crc = 0;
    std::size_t packed = 0;
    std::size_t unpacked = 0;

    void AppendTo(std::vector<std::uint8_t>& bytes) const {
        Append(bytes, crc, 4);
        Append(bytes, packed, 4);
        Append(bytes, unpacked, 4);
    }
};

// The fields that both headers share.
std::vector<std::uint8_t> CommonFields(std::uint16_t flags, const Measures& measures,
                                       std::size_t nameSize, std::size_t extraSize) {
    std::vector<std::uint8_t> common;
    Append(common, kVersionNeeded, 2);
    Append(common, flags, 2);
    Append(common, kDeflated, 2);
    Append(common, 0, 2);
    Append(common, kFirstDosDate, 2);
    measures.AppendTo(common);
    Append(common, nameSize, 2);
    Append(common, extraSize, 2);
    return common;
}

// A field of an id that nobody has registered, and one of no length.
std::vector<std::uint8_t> OddExtraFields() {
    std::vector<std::uint8_t> fields;
    Append(fields, 0xfeed, 2);
    Append(fields, 5, 2);
    Append(fields, 0x1122334455, 5);
    Append(fields, 0xfade, 2);
    Append(fields, 0, 2);
    return fields;
}

}  // namespace

std::vector<std::uint8_t> ZipOneFile(const std::string& name, const std::string& content,
                                     ZipStyle style) {
    constexpr std::uint16_t kDataDescriptor = 1U << 3U;
    constexpr std::size_t kTrailing = 64;
    const bool odd = style == ZipStyle::kOdd;
    const std::vector<std::uint8_t> packed = Deflate(content);
    const Measures measures{
        Crc32::Of({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}),
        packed.size(), content.size()};
    const std::uint16_t flags = odd ? kDataDescriptor : 0;
    const std::vector<std::uint8_t> extra = odd ? OddExtraFields() : std::vector<std::uint8_t>();

    std::vector<std::uint8_t> archive;
    Append(archive, 0x04034b50, 4);
    Append(archive, CommonFields(flags, odd ? Measures{} : measures, name.size(), extra.size()));
    archive.insert(archive.end(), name.begin(), name.end());
    Append(archive, extra);
    Append(archive, packed);
    if (odd) {
        Append(archive, 0x08074b50, 4);
        measures.AppendTo(archive);
    }

    const std::size_t directory = archive.size();
    Append(archive, 0x02014b50, 4);
    Append(archive, kVersionNeeded, 2);
    Append(archive, CommonFields(flags, measures, name.size(), extra.size()));
    archive.resize(archive.size() + 14);  // no comment, disk 0, no attributes, header at 0
    archive.insert(archive.end(), name.begin(), name.end());
    Append(archive, extra);
    const std::size_t directorySize = archive.size() - directory;

    Append(archive, 0x06054b50, 4);
    Append(archive, 0, 4);
    Append(archive, 1, 2);
    Append(archive, 1, 2);
    Append(archive, directorySize, 4);
    Append(archive, directory, 4);
    Append(archive, 0, 2);
    archive.resize(archive.size() + (odd ? kTrailing : 0), 0xff);
    return archive;
}

}  // namespace simulator
