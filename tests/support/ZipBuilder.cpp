#include "ZipBuilder.h"

#include <stdexcept>

#include <zlib.h>

namespace {

constexpr std::uint32_t kMax32 = 0xFFFFFFFF;

void Put16(std::string& out, std::uint64_t value) {
    out.push_back(static_cast<char>(value & 0xFFU));
    out.push_back(static_cast<char>(value >> 8U & 0xFFU));
}

void Put32(std::string& out, std::uint64_t value) {
    Put16(out, value & 0xFFFFU);
    Put16(out, value >> 16U & 0xFFFFU);
}

void Put64(std::string& out, std::uint64_t value) {
    Put32(out, value & kMax32);
    Put32(out, value >> 32U);
}

std::string Deflate(const std::string& content, int flush) {
    z_stream stream = {};
    if (deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string out(deflateBound(&stream, content.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    (void)deflate(&stream, flush);
    out.resize(stream.total_out);
    (void)deflateEnd(&stream);
    return out;
}

std::uint32_t Crc(const std::string& content) {
    return static_cast<std::uint32_t>(
        crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size()));
}

struct Sizes {
    std::string data;
    std::uint64_t uncompressed = 0;
    std::uint32_t crc = 0;
};

Sizes SizesOf(const ZipMember& member) {
    Sizes sizes;
    if (!member.deflated.empty()) {
        sizes = {member.deflated, member.deflatedSize, member.deflatedCrc};
    } else {
        sizes.data = member.method == ZipMember::kDeflated ? Deflate(member.content, Z_FINISH)
                                                           : member.content;
        sizes.uncompressed = member.content.size();
        sizes.crc = Crc(member.content);
    }
    sizes.uncompressed += static_cast<std::uint64_t>(member.sizeError);
    sizes.crc += member.crcError;
    return sizes;
}

// What local and central headers have in common, from "version needed" to the name's length.
void PutCommon(std::string& out, const ZipMember& member, const Sizes& sizes) {
    Put16(out, member.zip64 ? 45 : 20);
    Put16(out, member.flags);
    Put16(out, member.method);
    Put16(out, 0);
    Put16(out, 0x5A21);
    Put32(out, sizes.crc);
    Put32(out, member.zip64 ? kMax32 : sizes.data.size());
    Put32(out, member.zip64 ? kMax32 : sizes.uncompressed);
    Put16(out, member.name.size());
}

std::string Zip64Extra(const Sizes& sizes) {
    std::string extra;
    Put16(extra, 1);
    Put16(extra, 16);
    Put64(extra, sizes.uncompressed);
    Put64(extra, sizes.data.size());
    return extra;
}

}  // namespace

std::string ZipExtra(std::uint16_t id, const std::string& data) {
    std::string field;
    Put16(field, id);
    Put16(field, data.size());
    return field + data;
}

std::string MakeZip(const std::vector<ZipMember>& members, std::size_t before) {
    std::string out;
    std::string central;
    for (const ZipMember& member : members) {
        const Sizes sizes = SizesOf(member);
        const std::string extra = (member.zip64 ? Zip64Extra(sizes) : "") + member.extra;
        const std::size_t offset = before + out.size();
        Put32(out, 0x04034b50);
        PutCommon(out, member, sizes);
        Put16(out, extra.size());
        out += member.name + extra + sizes.data;

        Put32(central, 0x02014b50);
        Put16(central, 45);
        PutCommon(central, member, sizes);
        Put16(central, extra.size());
        Put16(central, 0);
        Put16(central, 0);
        Put16(central, 0);
        Put32(central, member.externalAttributes);
        Put32(central, offset);
        central += member.name + extra;
    }
    const std::size_t offset = before + out.size();
    out += central;
    Put32(out, 0x06054b50);
    Put32(out, 0);
    Put16(out, members.size());
    Put16(out, members.size());
    Put32(out, central.size());
    Put32(out, offset);
    Put16(out, 0);
    return out;
}

ZipMember MakeBomb(const std::string& name, unsigned int mebibytes) {
    // After a full flush nothing refers back: the piece can be repeated.
    const std::string zeros(1024 * 1024, '\0');
    const std::string piece = Deflate(zeros, Z_FULL_FLUSH);
    const std::uint32_t pieceCrc = Crc(zeros);
    ZipMember bomb;
    bomb.name = name;
    bomb.method = ZipMember::kDeflated;
    for (unsigned int i = 0; i < mebibytes; ++i) {
        bomb.deflated += piece;
        bomb.deflatedCrc = static_cast<std::uint32_t>(
            crc32_combine(bomb.deflatedCrc, pieceCrc, static_cast<z_off_t>(zeros.size())));
    }
    bomb.deflated += Deflate("", Z_FINISH);
    bomb.deflatedSize = static_cast<std::uint64_t>(mebibytes) * zeros.size();
    bomb.zip64 = bomb.deflatedSize >= kMax32;
    return bomb;
}
