#include "DescriptionArchive.h"

#include <cstdint>
#include <limits>

#include <zlib.h>

#include <NxBase/ByteOrder.h>

namespace {

using ByteOrder::LoadLittle16;
using ByteOrder::LoadLittle32;
using Bytes = std::span<const std::byte>;

// Signatures and lengths of APPNOTE.TXT, sections 4.3.7, 4.3.12 and 4.3.16.
constexpr std::uint32_t kLocalSignature = 0x04034B50;
constexpr std::uint32_t kCentralSignature = 0x02014B50;
constexpr std::uint32_t kEndSignature = 0x06054B50;
constexpr std::size_t kLocalLength = 30;
constexpr std::size_t kCentralLength = 46;
constexpr std::size_t kEndLength = 22;

constexpr unsigned int kEncrypted = 1;
constexpr unsigned int kStored = 0;
constexpr unsigned int kDeflated = 8;
constexpr std::size_t kLongest = 64U << 20U;

struct Member {
    unsigned int method = 0;
    std::uint32_t crc = 0;
    std::size_t length = 0;
    Bytes packed;
};

bool HasRecord(Bytes bytes, std::size_t at, std::size_t length, std::uint32_t signature) {
    return at <= bytes.size() && bytes.size() - at >= length &&
           LoadLittle32(&bytes[at]) == signature;
}

bool FindFirstMember(Bytes archive, Member& member) {
    // The end record is the last thing but for a comment; a device may pad with zeros after it.
    std::size_t end = archive.size();
    do {
        if (end == 0) {
            return false;
        }
        --end;
    } while (!HasRecord(archive, end, kEndLength, kEndSignature));

    const std::size_t central = LoadLittle32(&archive[end + 16]);
    if (!HasRecord(archive, central, kCentralLength, kCentralSignature)) {
        return false;
    }
    const std::byte* entry = &archive[central];
    const std::size_t packedLength = LoadLittle32(entry + 20);
    const std::size_t local = LoadLittle32(entry + 42);
    if ((LoadLittle16(entry + 8) & kEncrypted) != 0 ||
        !HasRecord(archive, local, kLocalLength, kLocalSignature)) {
        return false;
    }
    const std::size_t data = local + kLocalLength + LoadLittle16(&archive[local + 26]) +
                             LoadLittle16(&archive[local + 28]);
    if (data > archive.size() || packedLength > archive.size() - data) {
        return false;
    }
    member.method = LoadLittle16(entry + 10);
    member.crc = LoadLittle32(entry + 16);
    member.length = LoadLittle32(entry + 24);
    member.packed = archive.subspan(data, packedLength);
    return true;
}

bool Inflate(const Member& member, std::string& text) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return false;
    }
    // zlib's input is not const, but it does not write to it.
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(member.packed.data()));
    stream.avail_in = static_cast<uInt>(member.packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const bool ended = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    const bool filled = stream.avail_out == 0;
    (void)inflateEnd(&stream);
    return ended && filled;
}

}  // namespace

bool UnpackDescription(std::span<const std::byte> stored, std::string& xml) {
    if (!HasRecord(stored, 0, kLocalLength, kLocalSignature)) {
        std::string text(reinterpret_cast<const char*>(stored.data()), stored.size());
        text.resize(text.find_last_not_of('\0') + 1);
        xml = std::move(text);
        return true;
    }
    Member member;
    if (stored.size() > std::numeric_limits<uInt>::max() || !FindFirstMember(stored, member) ||
        member.length == 0 || member.length > kLongest) {
        return false;
    }
    std::string text(member.length, '\0');
    if (member.method == kDeflated) {
        if (!Inflate(member, text)) {
            return false;
        }
    } else if (member.method == kStored && member.packed.size() == member.length) {
        text.assign(reinterpret_cast<const char*>(member.packed.data()), member.packed.size());
    } else {
        return false;
    }
    if (crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())) !=
        member.crc) {
        return false;
    }
    xml = std::move(text);
    return true;
}
