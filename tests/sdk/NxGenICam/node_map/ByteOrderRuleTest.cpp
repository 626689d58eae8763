#include "node_map/ByteOrderRule.h"

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "GenXml.h"
#include "MemoryPort.h"
#include "node_map/NodeMap.h"

namespace {

constexpr unsigned int kMode = 0xA000;
constexpr unsigned int kWidth = 0xA004;
constexpr unsigned int kHeight = 0xA008;

// A camera of GigE Vision that describes big-endian registers.
class ByteOrderRuleTest : public testing::Test {
  protected:
    ByteOrderRuleTest() { port->StoreBig(0x4, 0); }

    void Load(const std::string& more = "") {
        const std::string bounds = "<Min>1</Min><Max>5000</Max>";
        const NxResult result = NodeMap::Load(
            port,
            GenXml::Description(GenXml::Enumeration("Mode", GenXml::Entry("Off", 1) +
                                                                GenXml::Entry("On", 2) +
                                                                "<pValue>ModeReg</pValue>") +
                                GenXml::Register("ModeReg", kMode) +
                                GenXml::Integer("Width", "<pValue>WidthReg</pValue>" + bounds) +
                                GenXml::Register("WidthReg", kWidth) +
                                GenXml::Integer("Height", "<pValue>HeightReg</pValue>" + bounds) +
                                GenXml::Register("HeightReg", kHeight) + more),
            map);
        ASSERT_TRUE(result.IsOK());
    }
    bool Turns() {
        const NxResult result = map->SettleByteOrder();
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        return map->Bus().Reverses();
    }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    std::unique_ptr<NodeMap> map;
};

TEST_F(ByteOrderRuleTest, TurnsRegistersThatOnlyMakeSenseTheOtherWayRound) {
    port->StoreLittle(kMode, 2);
    port->StoreLittle(kWidth, 640);
    port->StoreLittle(kHeight, 480);
    Load();
    EXPECT_TRUE(Turns());
    std::string text;
    EXPECT_TRUE(map->ReadText("Width", text).IsOK());
    EXPECT_EQ(text, "640");
    EXPECT_TRUE(map->WriteEntry("Mode", "Off").IsOK());
    EXPECT_EQ(port->Load(kMode, 4), std::string("\1\0\0\0", 4));
    // Settled once for all: what was turned is not turned back.
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, IsDecidedByAnEnumerationAlone) {
    port->StoreLittle(kMode, 1);
    Load();
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, IsDecidedByBoundsAlone) {
    port->StoreLittle(kWidth, 640);
    Load();
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, LetsTheDescriptionHoldWhereNothingTells) {
    Load();
    EXPECT_FALSE(Turns());
    // Zeros, and numbers that make sense either way.
    port->StoreBig(kMode, 0x01000001);
    port->StoreBig(kWidth, 0xFFFFFFFF);
    Load();
    EXPECT_FALSE(Turns());
}

TEST_F(ByteOrderRuleTest, LetsTheDescriptionHoldWhereRegistersContradict) {
    port->StoreLittle(kMode, 1);
    port->StoreBig(kWidth, 640);
    Load();
    EXPECT_FALSE(Turns());
}

TEST_F(ByteOrderRuleTest, AsksNothingOfABigEndianDevice) {
    port->StoreBig(0x4, 0x80000000U);
    port->StoreLittle(kMode, 1);
    Load();
    port->log.clear();
    EXPECT_FALSE(Turns());
    EXPECT_EQ(port->log.size(), 1U);
}

TEST_F(ByteOrderRuleTest, AsksNothingOnUsb) {
    port->hasRegisterCommands = false;
    port->StoreLittle(kMode, 1);
    Load();
    port->log.clear();
    EXPECT_FALSE(Turns());
    EXPECT_TRUE(port->log.empty());
}

TEST_F(ByteOrderRuleTest, GoesOnWhereSingleRegistersAreRefused) {
    port->StoreLittle(kWidth, 640);
    port->failedReads[kMode] = NxResult(kNxDeviceError, "refused");
    Load();
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, IsNotSettledWhileTheDeviceIsSilent) {
    port->StoreLittle(kWidth, 640);
    port->failedReads[kMode] = NxResult(kNxTimeout, "nobody answers");
    Load();
    EXPECT_EQ(map->SettleByteOrder().GetCode(), kNxTimeout);
    EXPECT_FALSE(map->Bus().Reverses());
    port->failedReads.clear();
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, LeavesBootstrapRegistersAsTheyAre) {
    port->StoreLittle(kMode, 1);
    Load(GenXml::Register("Bootstrap", 0x938));
    port->StoreBig(0x938, 3000);
    EXPECT_TRUE(Turns());
    std::string text;
    EXPECT_TRUE(map->ReadText("Bootstrap", text).IsOK());
    EXPECT_EQ(text, "3000");
}

}  // namespace
