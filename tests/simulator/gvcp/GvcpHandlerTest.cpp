#include "GvcpHandlerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Payload.h"
#include "simulator/registers/FeatureAddresses.h"

using simulator::CommandCounters;
using simulator::Profile;
using testing::HasSubstr;

namespace {

std::string Padded(const std::string& text, std::size_t size) {
    std::string bytes = text;
    bytes.resize(size, '\0');
    return ToHex({bytes.begin(), bytes.end()});
}

}  // namespace

TEST_F(GvcpHandlerTest, AnswersDiscoveryWithTheBootstrapRegisters) {
    Make();
    const std::string zeros(400, '0');
    const std::string expected =
        "00000003"
        "00f8"
        "ffff"
        "00020000"
        "80000001"
        "0000024d"
        "53000001"
        "00000007"
        "00000006" +
        zeros.substr(0, 24) + "c0a80114" + zeros.substr(0, 24) + "ffffff00" + zeros.substr(0, 24) +
        "00000000" + Padded("Mirsko", 32) + Padded("Simulated Camera", 32) + Padded("1.0", 32) +
        Padded("Simulated device, profile file-access", 48) + Padded("SIM-0001", 16) +
        Padded("left", 16);
    EXPECT_EQ(Ask("420100020000ffff"), expected);
    // As sent by applications that let the answer be broadcast.
    EXPECT_EQ(Ask("421100020000ffff"), expected);
}

TEST_F(GvcpHandlerTest, ShowsTheDeviceIdCutInDiscoveryAndWholeInItsFeature) {
    mOptions.firmware.deviceId = "a name of over fifteen characters";
    Make();
    EXPECT_THAT(Ask("420100020000ffff"), HasSubstr(Padded("a name of over ", 16)));
    EXPECT_EQ(AskNew("0084", "0001010000000024"),
              "000000850028"
              "00010100" +
                  Padded("a name of over fifteen characters", 36));
}

TEST_F(GvcpHandlerTest, ReadsRegistersByGoldenBytes) {
    Make();
    EXPECT_EQ(Ask("4201008000040001"
                  "00000934"),
              "0000008100040001"
              "e0000023");
    EXPECT_EQ(Ask("4201008000080002"
                  "00000024"
                  "00000938"),
              "0000008100080002"
              "c0a80114"
              "00000bb8");
}

TEST_F(GvcpHandlerTest, HasNoConcatenationWhenItIsOff) {
    mOptions.concatenation = false;
    Make();
    EXPECT_EQ(Ask("4201008000040001"
                  "00000934"),
              "0000008100040001"
              "e0000022");
    EXPECT_EQ(Read(0x24), "000000810004c0a80114");
    EXPECT_EQ(AskNew("0080", "0000002400000938"), "800200810000");
    TakeControl();
    EXPECT_EQ(AskNew("0082", "00010204000001000001020400000100"), "80020083000400000000");
}

TEST_F(GvcpHandlerTest, StopsReadingAtTheRegisterThatFails) {
    Make();
    EXPECT_EQ(AskNew("0080", Hex32(0x24) + Hex32(0x9000) + Hex32(0x938)),
              "800300810004"
              "c0a80114");
    EXPECT_EQ(AskNew("0080", Hex32(0x26)), "800500810000");
}

TEST_F(GvcpHandlerTest, WritesRegistersInOrderAndSaysWhichOneFailed) {
    Make();
    TakeControl();
    const std::string width = Hex32(simulator::features::kWidth);
    EXPECT_EQ(AskNew("0082", width + Hex32(100) + width + Hex32(200)), "00000083000400000002");
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(200));
    EXPECT_EQ(AskNew("0082", width + Hex32(300) + Hex32(0x24) + Hex32(1) + width + Hex32(400)),
              "80040083000400000001");
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(300));
    EXPECT_EQ(Write(simulator::features::kWidth, 5000), "80020083000400000000");
    EXPECT_EQ(Write(0x9000, 1), "80030083000400000000");
    EXPECT_EQ(Write(simulator::features::kWidth + 2, 1), "80050083000400000000");
}

TEST_F(GvcpHandlerTest, ReadsMemoryWithinItsLimits) {
    Make();
    EXPECT_EQ(AskNew("0084", "0000004800000008"),
              "00000085000c"
              "00000048"
              "4d6972736b6f0000");
    EXPECT_EQ(AskNew("0084", "0000000000000218").size(), 12U + 8 + 2 * 536);
    EXPECT_EQ(AskNew("0084", "000000000000021c"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000000000006"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000000000000"), "800200850000");
    EXPECT_EQ(AskNew("0084", "00000000"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000200000004"), "800500850000");
    EXPECT_EQ(AskNew("0084", "0000900000000004"), "800300850000");
    EXPECT_EQ(AskNew("0084", "00000ffc00000008"), "800300850000") << "reaches past a region";
}

TEST_F(GvcpHandlerTest, WritesMemoryWithinItsLimits) {
    Make();
    TakeControl();
    const std::string buffer = Hex32(simulator::features::kBuffer);
    EXPECT_EQ(AskNew("0086", buffer + "0102030405060708"), "00000087000400000008");
    EXPECT_EQ(AskNew("0084", buffer + "00000008"), "00000085000c" + buffer + "0102030405060708");
    EXPECT_EQ(AskNew("0086", buffer + std::string(2 * 536, 'a')), "00000087000400000218");
    EXPECT_EQ(AskNew("0086", buffer + std::string(2 * 540, 'a')), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", buffer + "0102"), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", buffer), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kBuffer + 1) + "01020304"),
              "80050087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kXml) + "01020304"),
              "80040087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kBuffer + 4092) + "0102030405060708"),
              "80030087000400000000");
}

TEST_F(GvcpHandlerTest, AnswersDiscoveryOnlyAsALoader) {
    mOptions.profile = Profile::kLoader;
    Make();
    const std::string answer = Ask("420100020000ffff");
    EXPECT_EQ(answer.size(), 2U * (8 + 0xf8));
    EXPECT_EQ(answer.substr(2 * (8 + 0xa8), 26), Padded("MIRSKO-LOADER", 13));
    EXPECT_FALSE(
        Handle("4201008000040001"
               "00000024"));
    EXPECT_FALSE(
        Handle("4201008200080002"
               "00000a00"
               "00000002"));
}

TEST_F(GvcpHandlerTest, NamesItsDescriptionInTheUrlRegisters) {
    Make();
    const std::string url = "Local:Mirsko_Simulated_Camera.xml;100000;";
    EXPECT_THAT(AskNew("0084", "0000020000000200"), HasSubstr(Padded(url, url.size())));
    EXPECT_EQ(AskNew("0084", "0000040000000004"),
              "000000850008"
              "00000400"
              "00000000");
    mOptions.secondUrlOnly = true;
    Make();
    EXPECT_THAT(AskNew("0084", "0000040000000200"), HasSubstr(Padded(url, url.size())));
    EXPECT_EQ(AskNew("0084", "0000020000000004"),
              "000000850008"
              "00000200"
              "00000000");
}

TEST_F(GvcpHandlerTest, CountsCommandsPerKind) {
    Make();
    TakeControl();
    (void)Read(0xa00);
    (void)Read(0x24);
    (void)AskNew("0084", "0000004800000008");
    (void)AskNew("0086", Hex32(simulator::features::kBuffer) + "01020304");
    (void)Ask("420100020000ffff");
    EXPECT_EQ(mCounters.All(), (CommandCounters::Counts{{"DISCOVERY", 1},
                                                        {"HEARTBEAT", 1},
                                                        {"READMEM", 1},
                                                        {"READREG", 1},
                                                        {"WRITEMEM", 1},
                                                        {"WRITEREG", 1}}));
}
