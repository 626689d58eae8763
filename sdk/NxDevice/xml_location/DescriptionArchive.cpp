#include "DescriptionArchive.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include <zlib.h>

#include <internal/NxBase/ByteOrder.h>

#include <NxBase/Ascii.h>

#include "DescriptionText.h"

// Not libzip: it refuses archives whose extra fields do not add up, or with more than 64 KiB behind
// them, both of which cameras store, and needs libbz2 and libcrypto wherever the SDK is installed.
namespace {

using ByteOrder::LoadLittle16;
using ByteOrder::LoadLittle32;
using Bytes = std::span<const std::byte>;

// Signatures and lengths of APPNOTE.TXT, sections 4.3.7, 4.3.12 and 4.3.16.
constexpr std::uint32_t kLocalSignature = 0x04034B50;
constexpr std::uint32_t kCentralSignature = 0x02014B50;
constexpr std::uint32_t kEndSignature = 0x06054B50;
constexpr std::string_view kEndMark("PK\x05\x06");
constexpr std::size_t kLocalLength = 30;
constexpr std::size_t kCentralLength = 46;
constexpr std::size_t kEndLength = 22;

constexpr unsigned int kEncrypted = 1;
constexpr unsigned int kStored = 0;
constexpr unsigned int kDeflated = 8;
constexpr std::size_t kLongest = 16U << 20U;
// Deflate makes at most 1032 bytes of one.
constexpr std::size_t kMostFromOneByte = 1032;
// Of the places that look like the end of an archive, so many are tried: behind it there may be the
// end of a longer one that was stored before.
constexpr int kMostEnds = 16;

struct Member {
    unsigned int flags = 0;
    unsigned int method = 0;
    std::uint32_t crc = 0;
    std::size_t length = 0;
    std::size_t packedLength = 0;
    std::size_t local = 0;
};

bool HasRecord(Bytes bytes, std::size_t at, std::size_t length, std::uint32_t signature) {
    return at <= bytes.size() && bytes.size() - at >= length &&
           LoadLittle32(&bytes[at]) == signature;
}

bool IsNamedAsXml(std::string_view name) {
    constexpr std::string_view kEnding(".xml");
    return name.size() >= kEnding.size() &&
           Ascii::IsSameIgnoringCase(name.substr(name.size() - kEnding.size()), kEnding);
}

// @return false when the directory lists no file
bool FindMember(Bytes archive, std::size_t end, Member& member) {
    std::size_t at = LoadLittle32(&archive[end + 16]);
    bool found = false;
    for (unsigned int left = LoadLittle16(&archive[end + 10]);
         left > 0 && HasRecord(archive, at, kCentralLength, kCentralSignature); --left) {
        const std::byte* entry = &archive[at];
        const std::size_t nameLength = LoadLittle16(entry + 28);
        if (nameLength > archive.size() - at - kCentralLength) {
            break;
        }
        const std::string_view name(reinterpret_cast<const char*>(entry + kCentralLength),
                                    nameLength);
        const bool isXml = IsNamedAsXml(name);
        if (isXml || (!found && !name.ends_with('/'))) {
            member = {.flags = LoadLittle16(entry + 8),
                      .method = LoadLittle16(entry + 10),
                      .crc = LoadLittle32(entry + 16),
                      .length = LoadLittle32(entry + 24),
                      .packedLength = LoadLittle32(entry + 20),
                      .local = LoadLittle32(entry + 42)};
            found = true;
        }
        if (isXml) {
            break;
        }
        at += kCentralLength + nameLength + LoadLittle16(entry + 30) + LoadLittle16(entry + 32);
    }
    return found;
}

bool Inflate(Bytes packed, std::string& text) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return false;
    }
    // zlib's input is not const, but it does not write to it.
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const bool ended = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    const bool filled = stream.avail_out == 0;
    (void)inflateEnd(&stream);
    return ended && filled;
}

// @return what is wrong with the archive that ends there; empty when nothing is
std::string UnpackArchive(Bytes archive, std::size_t end, std::string& text) {
    Member member;
    if (!FindMember(archive, end, member)) {
        return "its zip archive is damaged: its directory lists no file";
    }
    if ((member.flags & kEncrypted) != 0) {
        return "its zip archive is encrypted";
    }
    if (member.method != kStored && member.method != kDeflated) {
        return "its zip archive uses compression method " + std::to_string(member.method) +
               "; only stored and deflate are supported";
    }
    if (member.length == 0 || member.length > kLongest) {
        return "its zip archive contains a description of " + std::to_string(member.length) +
               " bytes; 1 byte to 16 MiB is allowed";
    }
    if (!HasRecord(archive, member.local, kLocalLength, kLocalSignature)) {
        return "its zip archive is damaged: its directory points to a missing file";
    }
    const std::size_t data = member.local + kLocalLength +
                             LoadLittle16(&archive[member.local + 26]) +
                             LoadLittle16(&archive[member.local + 28]);
    if (data > archive.size() || member.packedLength > archive.size() - data) {
        return "its zip archive is truncated";
    }
    const Bytes packed = archive.subspan(data, member.packedLength);
    const bool fits = member.method == kStored ? packed.size() == member.length
                                               : member.length / kMostFromOneByte <= packed.size();
    if (!fits) {
        return "its zip archive is damaged: " + std::to_string(packed.size()) +
               " bytes cannot unpack to " + std::to_string(member.length);
    }
    text.assign(member.length, '\0');
    if (member.method == kStored) {
        std::memcpy(text.data(), packed.data(), packed.size());
    } else if (!Inflate(packed, text)) {
        return "its zip archive is damaged: its description cannot be unpacked";
    }
    if (crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())) !=
        member.crc) {
        return "its zip archive is damaged: checksum error in its description";
    }
    return {};
}

}  // namespace

bool UnpackDescription(std::span<const std::byte> stored, std::string& xml, std::string& why) {
    const std::string_view bytes(reinterpret_cast<const char*>(stored.data()), stored.size());
    if (!HasRecord(stored, 0, kLocalLength, kLocalSignature)) {
        xml = std::string(FindDocument(bytes));
        return true;
    }
    if (stored.size() > std::numeric_limits<uInt>::max()) {
        why = "its zip archive is too large";
        return false;
    }
    std::string firstProblem;
    int tried = 0;
    for (std::size_t end = bytes.find(kEndMark); end != std::string_view::npos && tried < kMostEnds;
         end = bytes.find(kEndMark, end + 1)) {
        if (!HasRecord(stored, end, kEndLength, kEndSignature) ||
            !HasRecord(stored, LoadLittle32(&stored[end + 16]), kCentralLength,
                       kCentralSignature)) {
            continue;
        }
        ++tried;
        std::string text;
        const std::string problem = UnpackArchive(stored, end, text);
        if (problem.empty()) {
            const std::string_view document = FindDocument(text);
            if (document.size() < text.size()) {
                text = std::string(document);
            }
            xml = std::move(text);
            return true;
        }
        firstProblem = firstProblem.empty() ? problem : firstProblem;
    }
    why = firstProblem.empty() ? "its zip archive is truncated: its directory is missing"
                               : firstProblem;
    return false;
}
