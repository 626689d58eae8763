#include "ZipArchive.h"

#include <zlib.h>

#include "ByteOrder.h"
#include "Crc32.h"

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

// Raw deflate: without zlib's own header and check sum.
std::vector<std::uint8_t> Deflate(const std::string& content) {
    constexpr int kRawWindow = -15;
    constexpr int kDefaultMemory = 8;
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kRawWindow, kDefaultMemory,
                 Z_DEFAULT_STRATEGY);
    std::vector<std::uint8_t> packed(deflateBound(&stream, content.size()));
    std::string source = content;  // zlib's input pointer is not const
    stream.next_in = reinterpret_cast<Bytef*>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace

std::vector<std::uint8_t> ZipOneFile(const std::string& name, const std::string& content) {
    const std::vector<std::uint8_t> packed = Deflate(content);
    const std::uint32_t crc =
        Crc32::Of({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    std::vector<std::uint8_t> common;  // the fields that both headers share
    Append(common, kVersionNeeded, 2);
    Append(common, 0, 2);
    Append(common, kDeflated, 2);
    Append(common, 0, 2);
    Append(common, kFirstDosDate, 2);
    Append(common, crc, 4);
    Append(common, packed.size(), 4);
    Append(common, content.size(), 4);
    Append(common, name.size(), 2);
    Append(common, 0, 2);

    std::vector<std::uint8_t> archive;
    Append(archive, 0x04034b50, 4);
    archive.insert(archive.end(), common.begin(), common.end());
    archive.insert(archive.end(), name.begin(), name.end());
    archive.insert(archive.end(), packed.begin(), packed.end());

    const std::size_t directory = archive.size();
    Append(archive, 0x02014b50, 4);
    Append(archive, kVersionNeeded, 2);
    archive.insert(archive.end(), common.begin(), common.end());
    archive.resize(archive.size() + 14);  // no comment, disk 0, no attributes, header at 0
    archive.insert(archive.end(), name.begin(), name.end());
    const std::size_t directorySize = archive.size() - directory;

    Append(archive, 0x06054b50, 4);
    Append(archive, 0, 4);
    Append(archive, 1, 2);
    Append(archive, 1, 2);
    Append(archive, directorySize, 4);
    Append(archive, directory, 4);
    Append(archive, 0, 2);
    return archive;
}

}  // namespace simulator
