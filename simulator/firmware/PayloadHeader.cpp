#include "PayloadHeader.h"

#include <algorithm>
#include <charconv>

#include "Crc32.h"

namespace simulator {

namespace {

constexpr std::size_t kFormatAt = 4;
constexpr std::size_t kKindAt = 6;
constexpr std::size_t kHeaderLengthAt = 8;
constexpr std::size_t kBodyLengthAt = 12;
constexpr std::size_t kBodyCrcAt = 20;
constexpr std::size_t kFamilyAt = 24;
constexpr std::size_t kFamilySize = 32;
constexpr std::size_t kMajorAt = 56;
constexpr std::size_t kMinorAt = 58;
constexpr std::size_t kHeaderCrcAt = 60;

// The text before the zero padding; nothing when something other than zeros follows the first zero.
std::optional<std::string> PaddedText(ConstBytes bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    if (std::any_of(end, bytes.end(), [](std::uint8_t byte) { return byte != 0; })) {
        return std::nullopt;
    }
    return std::string(bytes.begin(), end);
}

}  // namespace

std::string FirmwareVersion::Text() const {
    return std::to_string(majorNumber) + "." + std::to_string(minorNumber);
}

std::optional<FirmwareVersion> FirmwareVersion::Parse(const std::string& text) {
    FirmwareVersion version;
    const char* const end = text.data() + text.size();
    const auto [dot, majorError] = std::from_chars(text.data(), end, version.majorNumber);
    if (majorError != std::errc() || dot == end || *dot != '.') {
        return std::nullopt;
    }
    const auto [rest, minorError] = std::from_chars(dot + 1, end, version.minorNumber);
    if (minorError != std::errc() || rest != end) {
        return std::nullopt;
    }
    return version;
}

std::optional<PayloadHeader> PayloadHeader::Parse(ConstBytes bytes, std::string& why) {
    constexpr std::string_view kMagic = "MDFW";
    if (bytes.size() < kSize || !std::equal(kMagic.begin(), kMagic.end(), bytes.begin())) {
        why = "no firmware header";
        return std::nullopt;
    }
    bytes = bytes.first(kSize);
    if (LoadBig<std::uint32_t>(bytes, kHeaderCrcAt) != Crc32::Of(bytes.first(kHeaderCrcAt))) {
        why = "header CRC mismatch";
        return std::nullopt;
    }
    if (LoadBig<std::uint16_t>(bytes, kFormatAt) != 1 ||
        LoadBig<std::uint32_t>(bytes, kHeaderLengthAt) != kSize) {
        why = "unknown header format";
        return std::nullopt;
    }
    const auto kind = LoadBig<std::uint16_t>(bytes, kKindAt);
    if (kind < static_cast<std::uint16_t>(Kind::kFirmware) ||
        kind > static_cast<std::uint16_t>(Kind::kReset)) {
        why = "unknown payload kind " + std::to_string(kind);
        return std::nullopt;
    }
    const std::optional<std::string> family = PaddedText(bytes.subspan(kFamilyAt, kFamilySize));
    if (!family || family->empty() || !IsPrintable(*family)) {
        why = "malformed device family";
        return std::nullopt;
    }
    PayloadHeader header;
    header.kind = static_cast<Kind>(kind);
    header.bodyLength = LoadBig<std::uint64_t>(bytes, kBodyLengthAt);
    header.bodyCrc = LoadBig<std::uint32_t>(bytes, kBodyCrcAt);
    header.family = *family;
    header.version = {LoadBig<std::uint16_t>(bytes, kMajorAt),
                      LoadBig<std::uint16_t>(bytes, kMinorAt)};
    return header;
}

bool IsPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return character >= 0x20 && character <= 0x7e; });
}

}  // namespace simulator
