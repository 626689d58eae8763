#include "simulator/firmware/PayloadHeader.h"

#include <gtest/gtest.h>

#include "Payload.h"
#include "simulator/firmware/Crc32.h"

using simulator::ConstBytes;
using simulator::Crc32;
using simulator::FirmwareVersion;
using simulator::PayloadHeader;

namespace {

ConstBytes AsBytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// The header's own CRC put right again after a change, so that the change itself is judged.
std::string Resealed(std::string payload) {
    const std::uint32_t crc = BitwiseCrc32(payload.substr(0, 60));
    for (std::size_t i = 0; i < 4; ++i) {
        payload[60 + i] = static_cast<char>(crc >> (24U - 8U * i) & 0xffU);
    }
    return payload;
}

std::string WhyRefused(const std::string& payload) {
    std::string why;
    EXPECT_FALSE(PayloadHeader::Parse(AsBytes(payload), why));
    return why;
}

}  // namespace

TEST(Crc32Test, GivesTheCheckValueOfTheStandardTestString) {
    EXPECT_EQ(Crc32::Of(AsBytes("123456789")), 0xcbf43926U);
    EXPECT_EQ(Crc32::Of({}), 0U);
}

TEST(PayloadHeaderTest, ReadsEveryField) {
    const std::string payload = Payload{.kind = 2, .family = "F", .body = "camera"}.Encode();
    std::string why;
    const auto header = PayloadHeader::Parse(AsBytes(payload), why);
    ASSERT_TRUE(header) << why;
    EXPECT_EQ(header->kind, PayloadHeader::Kind::kDeviceId);
    EXPECT_EQ(header->bodyLength, 6U);
    EXPECT_EQ(header->bodyCrc, BitwiseCrc32("camera"));
    EXPECT_EQ(header->family, "F");
    EXPECT_EQ(header->version, (FirmwareVersion{2, 1}));
}

TEST(PayloadHeaderTest, TakesAFamilyOfThirtyTwoCharacters) {
    const std::string family(32, 'f');
    std::string why;
    const auto header = PayloadHeader::Parse(AsBytes(Payload{.family = family}.Encode()), why);
    ASSERT_TRUE(header) << why;
    EXPECT_EQ(header->family, family);
}

TEST(PayloadHeaderTest, SaysWhatIsWrong) {
    const std::string good = Payload{}.Encode();
    EXPECT_EQ(WhyRefused(""), "no firmware header");
    EXPECT_EQ(WhyRefused(good.substr(0, 63)), "no firmware header");
    EXPECT_EQ(WhyRefused("X" + good.substr(1)), "no firmware header");
    std::string changed = good;
    changed[57] = 9;
    EXPECT_EQ(WhyRefused(changed), "header CRC mismatch");
    changed = good;
    changed[5] = 2;
    EXPECT_EQ(WhyRefused(Resealed(changed)), "unknown header format");
    changed = good;
    changed[11] = 63;
    EXPECT_EQ(WhyRefused(Resealed(changed)), "unknown header format");
    EXPECT_EQ(WhyRefused(Payload{.kind = 0}.Encode()), "unknown payload kind 0");
    EXPECT_EQ(WhyRefused(Payload{.kind = 4}.Encode()), "unknown payload kind 4");
    EXPECT_EQ(WhyRefused(Payload{.family = ""}.Encode()), "malformed device family");
    EXPECT_EQ(WhyRefused(Payload{.family = "a\nb"}.Encode()), "malformed device family");
    changed = good;
    changed[40] = 'x';  // after the family's zero padding has begun
    EXPECT_EQ(WhyRefused(Resealed(changed)), "malformed device family");
}

TEST(FirmwareVersionTest, ParsesMajorDotMinorOnly) {
    EXPECT_EQ(FirmwareVersion::Parse("65535.7"), (FirmwareVersion{65535, 7}));
    for (const char* text : {"", "1", "1.", ".1", "1.2.3", "1.2 ", "-1.2", "65536.0", "1,2"}) {
        EXPECT_FALSE(FirmwareVersion::Parse(text)) << text;
    }
}
