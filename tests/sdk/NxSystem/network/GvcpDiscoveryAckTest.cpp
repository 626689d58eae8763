#include <gtest/gtest.h>

#include <vector>

#include "network/GvcpDiscoveryAck.h"

namespace {

std::vector<std::byte> GoodAck() {
    std::vector<std::byte> ack(8 + 0xf8);
    const auto put = [&ack](std::size_t offset, const std::string& text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            ack[8 + offset + i] = static_cast<std::byte>(text[i]);
        }
    };
    ack[3] = std::byte{0x03};
    ack[5] = std::byte{0xf8};
    ack[7] = std::byte{0x02};
    put(0x0a, std::string("\x00\x11\x22\xab\xcd\xef", 6));
    put(0x24, "\xc0\xa8\x01\x14");
    put(0x48, "Maker");
    put(0x68, "Model");
    put(0x88, "1.2");
    put(0xa8, "info");
    put(0xd8, "S/N 7");
    put(0xe8, std::string(16, 'u'));
    return ack;
}

}  // namespace

TEST(GvcpDiscoveryAckTest, TakesEveryFieldFromItsPlace) {
    const auto ack = GvcpDiscoveryAck::Parse(GoodAck());
    ASSERT_TRUE(ack);
    EXPECT_EQ(ack->requestId, 2);
    EXPECT_EQ(ack->mac, (std::array<std::uint8_t, 6>{0x00, 0x11, 0x22, 0xab, 0xcd, 0xef}));
    EXPECT_EQ(ack->address, 0xc0a80114U);
    EXPECT_EQ(ack->manufacturer, "Maker");
    EXPECT_EQ(ack->model, "Model");
    EXPECT_EQ(ack->version, "1.2");
    EXPECT_EQ(ack->manufacturerInfo, "info");
    EXPECT_EQ(ack->serial, "S/N 7");
    EXPECT_EQ(ack->userName, std::string(16, 'u'));  // fills its field, no zero byte
    EXPECT_FALSE(ack->IsLoader());
}

TEST(GvcpDiscoveryAckTest, KnowsALoaderByTheStartOfItsManufacturerInfo) {
    GvcpDiscoveryAck ack;
    ack.manufacturerInfo = "MIRSKO-LOADER 3";
    EXPECT_TRUE(ack.IsLoader());
    ack.manufacturerInfo = "a MIRSKO-LOADER";
    EXPECT_FALSE(ack.IsLoader());
}

TEST(GvcpDiscoveryAckTest, RefusesEveryTruncation) {
    const auto whole = GoodAck();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(GvcpDiscoveryAck::Parse(std::span(whole).first(size))) << size;
    }
}

TEST(GvcpDiscoveryAckTest, RefusesAnErrorStatusAnotherAckAndAShortLength) {
    auto error = GoodAck();
    error[0] = std::byte{0x80};
    EXPECT_FALSE(GvcpDiscoveryAck::Parse(error));
    auto other = GoodAck();
    other[3] = std::byte{0x81};
    EXPECT_FALSE(GvcpDiscoveryAck::Parse(other));
    auto tooShort = GoodAck();
    tooShort[5] = std::byte{0x10};
    EXPECT_FALSE(GvcpDiscoveryAck::Parse(tooShort));
}

TEST(GvcpDiscoveryAckTest, ReplacesCharactersThatCouldSteerATerminal) {
    auto ack = GoodAck();
    ack[8 + 0x68] = std::byte{0x1b};
    ack[8 + 0x69] = std::byte{'\n'};
    ack[8 + 0x6a] = std::byte{0x9b};
    EXPECT_EQ(GvcpDiscoveryAck::Parse(ack)->model, "???el");
}

TEST(GvcpDiscoveryCommandTest, IsEightBytesThatAskForAnAnswer) {
    const std::array<std::byte, 8> expected{std::byte{0x42}, std::byte{0x01}, std::byte{0x00},
                                            std::byte{0x02}, std::byte{0x00}, std::byte{0x00},
                                            std::byte{0x12}, std::byte{0x34}};
    EXPECT_EQ(MakeDiscoveryCommand(0x1234), expected);
}
