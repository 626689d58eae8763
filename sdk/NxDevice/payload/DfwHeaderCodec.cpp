#include "DfwHeaderCodec.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

#include <internal/NxBase/ByteOrder.h>

#include <NxBase/Ascii.h>

namespace {

constexpr char kMagic[] = {'M', 'D', 'F', 'W'};
constexpr std::uint16_t kFormatVersion = 1;

// Offsets in bytes of the header's fields.
constexpr std::size_t kVersionAt = 4;
constexpr std::size_t kKindAt = 6;
constexpr std::size_t kHeaderLengthAt = 8;
constexpr std::size_t kBodyLengthAt = 12;
constexpr std::size_t kBodyCrcAt = 20;
constexpr std::size_t kFamilyAt = 24;
constexpr std::size_t kMajorAt = 56;
constexpr std::size_t kMinorAt = 58;
constexpr std::size_t kHeaderCrcAt = 60;

// Empty when the field breaks the rules.
std::string DecodeFamily(const std::byte* field) {
    std::string text(reinterpret_cast<const char*>(field), DfwHeaderCodec::kLongestFamily);
    const std::size_t end = std::min(text.find('\0'), text.size());
    const bool padded = std::all_of(text.begin() + static_cast<std::ptrdiff_t>(end), text.end(),
                                    [](char character) { return character == '\0'; });
    text.resize(end);
    const bool valid = padded && DfwHeaderCodec::IsPrintable(text, DfwHeaderCodec::kLongestFamily);
    return valid ? text : std::string();
}

std::string CheckBodyLength(NxDfwHeader::Kind kind, std::uint64_t length) {
    if (kind == NxDfwHeader::Kind::kDeviceId &&
        (length == 0 || length > DfwHeaderCodec::kLongestDeviceId)) {
        return "a device ID of " + std::to_string(length) + " bytes";
    }
    if (kind == NxDfwHeader::Kind::kReset && length != 0) {
        return "a reset record with a body";
    }
    return {};
}

}  // namespace

DfwHeaderCodec::Bytes DfwHeaderCodec::Encode(const NxDfwHeader& header) {
    Bytes bytes{};
    std::memcpy(bytes.data(), kMagic, sizeof kMagic);
    ByteOrder::StoreBig16(&bytes[kVersionAt], kFormatVersion);
    ByteOrder::StoreBig16(&bytes[kKindAt], static_cast<std::uint16_t>(header.kind));
    ByteOrder::StoreBig32(&bytes[kHeaderLengthAt], NxDfwHeader::kSize);
    ByteOrder::StoreBig64(&bytes[kBodyLengthAt], header.bodyLength);
    ByteOrder::StoreBig32(&bytes[kBodyCrcAt], header.bodyCrc);
    std::memcpy(&bytes[kFamilyAt], header.family.data(),
                std::min(header.family.size(), kLongestFamily));
    ByteOrder::StoreBig16(&bytes[kMajorAt], header.major);
    ByteOrder::StoreBig16(&bytes[kMinorAt], header.minor);
    ByteOrder::StoreBig32(&bytes[kHeaderCrcAt], Crc32(std::span(bytes).first<kHeaderCrcAt>()));
    return bytes;
}

std::string DfwHeaderCodec::Decode(std::span<const std::byte, NxDfwHeader::kSize> bytes,
                                   NxDfwHeader& header) {
    if (std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) {
        return "it does not begin with \"MDFW\"";
    }
    // Before the checksum: another version may keep its checksum elsewhere.
    const unsigned int version = ByteOrder::LoadBig16(&bytes[kVersionAt]);
    if (version != kFormatVersion) {
        return "its format version is " + std::to_string(version) + ", not 1";
    }
    const std::uint32_t headerLength = ByteOrder::LoadBig32(&bytes[kHeaderLengthAt]);
    if (headerLength != NxDfwHeader::kSize) {
        return "its header length is " + std::to_string(headerLength) + ", not 64";
    }
    if (ByteOrder::LoadBig32(&bytes[kHeaderCrcAt]) != Crc32(bytes.first<kHeaderCrcAt>())) {
        return "checksum error in its header";
    }
    const unsigned int kind = ByteOrder::LoadBig16(&bytes[kKindAt]);
    if (kind < 1 || kind > 3) {
        return "its kind " + std::to_string(kind) + " is unknown";
    }
    NxDfwHeader decoded;
    decoded.kind = static_cast<NxDfwHeader::Kind>(kind);
    decoded.bodyLength = ByteOrder::LoadBig64(&bytes[kBodyLengthAt]);
    decoded.bodyCrc = ByteOrder::LoadBig32(&bytes[kBodyCrcAt]);
    decoded.family = DecodeFamily(&bytes[kFamilyAt]);
    decoded.major = ByteOrder::LoadBig16(&bytes[kMajorAt]);
    decoded.minor = ByteOrder::LoadBig16(&bytes[kMinorAt]);
    if (decoded.family.empty()) {
        return "its device family is not zero-padded printable ASCII";
    }
    if (const std::string problem = CheckBodyLength(decoded.kind, decoded.bodyLength);
        !problem.empty()) {
        return "it is " + problem;
    }
    header = decoded;
    return {};
}

bool DfwHeaderCodec::IsResetRecord(std::span<const std::byte> bytes) {
    NxDfwHeader header;
    return bytes.size() == NxDfwHeader::kSize &&
           Decode(bytes.first<NxDfwHeader::kSize>(), header).empty() &&
           header.kind == NxDfwHeader::Kind::kReset;
}

bool DfwHeaderCodec::IsPrintable(const std::string& text, std::size_t longest) {
    return !text.empty() && text.size() <= longest &&
           std::all_of(text.begin(), text.end(), Ascii::IsPrintable);
}

std::uint32_t DfwHeaderCodec::Crc32(std::span<const std::byte> bytes, std::uint32_t previous) {
    return static_cast<std::uint32_t>(
        ::crc32_z(previous, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}
