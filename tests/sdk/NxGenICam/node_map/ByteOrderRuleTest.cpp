#include "node_map/ByteOrderRule.h"

#include <algorithm>

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

    /// Loads exactly these nodes.
    void LoadOnly(const std::string& nodes, int schemaMinor = 1) {
        const NxResult result =
            NodeMap::Load(port, GenXml::Description(nodes, 1, schemaMinor), map);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    static std::string Feature(const std::string& name, unsigned int address,
                               const std::string& bounds) {
        return GenXml::Integer(name, "<pValue>" + name + "Reg</pValue>" + bounds) +
               GenXml::Register(name + "Reg", address);
    }
    /// That many features that hold `value`, in either order of its bytes.
    std::string Features(int count, std::uint32_t value, bool isLittle) {
        std::string nodes;
        for (int i = 0; i < count; ++i) {
            const auto address = static_cast<unsigned int>(0xB000 + 4 * i);
            nodes += Feature("F" + std::to_string(i), address, "<Min>1</Min><Max>5000</Max>");
            isLittle ? port->StoreLittle(address, value) : port->StoreBig(address, value);
        }
        return nodes;
    }
    /// How many registers are read to settle the order, after the one of the device's mode.
    std::size_t Questions() {
        port->log.clear();
        EXPECT_TRUE(map->SettleByteOrder().IsOK());
        return port->log.size() - 1;
    }

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
    // Settled once for all.
    port->log.clear();
    EXPECT_TRUE(Turns());
    EXPECT_TRUE(port->log.empty());
}

TEST_F(ByteOrderRuleTest, IsSettledBeforeTheFirstValueIsReadOrWritten) {
    port->StoreLittle(kWidth, 640);
    Load();
    std::string text;
    EXPECT_TRUE(map->ReadText("Width", text).IsOK());
    EXPECT_EQ(text, "640");
    Load();
    EXPECT_TRUE(map->WriteInteger("Width", 641).IsOK());
    EXPECT_EQ(port->Load(kWidth, 4), std::string("\x81\2\0\0", 4));
    Load();
    port->failedReads[kMode] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(map->ReadText("Width", text).GetCode(), kNxTimeout);
    EXPECT_EQ(map->WriteInteger("Width", 1).GetCode(), kNxTimeout);
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

TEST_F(ByteOrderRuleTest, IsDecidedByTheLastEntryOfAnEnumeration) {
    port->StoreLittle(kMode, 2);
    Load();
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, IsDecidedByTheBoundsThemselves) {
    for (const std::uint32_t value : {1U, 5000U}) {
        port->StoreLittle(kWidth, value);
        Load();
        EXPECT_TRUE(Turns()) << value;
    }
    for (const std::uint32_t value : {0U, 5001U}) {
        port->StoreLittle(kWidth, value);
        Load();
        EXPECT_FALSE(Turns()) << value;
    }
}

TEST_F(ByteOrderRuleTest, IsNotDecidedByOneBoundAlone) {
    port->StoreLittle(kWidth, 640);
    for (const char* bound : {"<Min>1</Min>", "<Max>5000</Max>", "<Min>x</Min><Max>5000</Max>",
                              "<Min>1</Min><Max>y</Max>"}) {
        LoadOnly(Feature("Width", kWidth, bound));
        EXPECT_FALSE(Turns()) << bound;
    }
}

TEST_F(ByteOrderRuleTest, AsksNoMoreOnceThreeRegistersDecide) {
    for (const bool isLittle : {false, true}) {
        LoadOnly(Features(6, 640, isLittle));
        EXPECT_EQ(Questions(), 3U) << isLittle;
        EXPECT_EQ(map->Bus().Reverses(), isLittle);
    }
}

TEST_F(ByteOrderRuleTest, AsksEnumerationsFirstAndIntegersNext) {
    port->StoreBig(kMode, 1);
    LoadOnly(Features(3, 640, true) +
             GenXml::Enumeration("Mode", GenXml::Entry("Off", 1) + "<pValue>ModeReg</pValue>") +
             GenXml::Register("ModeReg", kMode));
    // It contradicts two of them, and a third one is not needed.
    EXPECT_EQ(Questions(), 3U);
    EXPECT_FALSE(map->Bus().Reverses());
}

TEST_F(ByteOrderRuleTest, AsksNoOtherKindOfFeature) {
    port->StoreLittle(kWidth, 640);
    for (const char* kind : {"Boolean", "Command", "Float", "String"}) {
        const std::string name(kind);
        LoadOnly("<" + name + " Name=\"F\"><pValue>R</pValue><Min>1</Min><Max>5000</Max></" + name +
                 ">" + GenXml::Register("R", kWidth));
        EXPECT_EQ(Questions(), 0U) << kind;
        EXPECT_FALSE(map->Bus().Reverses());
    }
}

TEST_F(ByteOrderRuleTest, AsksFortyRegistersAtMost) {
    LoadOnly(Features(60, 0, false));
    EXPECT_EQ(Questions(), 40U);
}

TEST_F(ByteOrderRuleTest, CountsOnlyWhatTheDeviceWasAsked) {
    std::string nodes;
    for (int i = 0; i < 60; ++i) {
        nodes += GenXml::Integer("Local" + std::to_string(i), "<Value>1</Value>");
    }
    port->StoreLittle(kWidth, 640);
    LoadOnly(nodes + Feature("Width", kWidth, "<Min>1</Min><Max>5000</Max>"));
    EXPECT_TRUE(Turns());
}

TEST_F(ByteOrderRuleTest, AsksOnlyWholeReadableRegistersOfTheDevicesOwn) {
    const std::string feature =
        GenXml::Integer("F", "<pValue>R</pValue><Min>1</Min><Max>5000</Max>");
    const auto nodes = [&feature](const std::string& address, const std::string& length,
                                  const std::string& access, const std::string& kind = "IntReg",
                                  const std::string& more = "") {
        return feature + "<" + kind + " Name=\"R\"><Address>" + address + "</Address><Length>" +
               length + "</Length><AccessMode>" + access + "</AccessMode><pPort>Device</pPort>" +
               more + "<Endianess>BigEndian</Endianess></" + kind + ">";
    };
    port->StoreLittle(0xA000, 640);
    LoadOnly(nodes("0xA000", "4", "RO"));
    EXPECT_EQ(Questions(), 1U);
    for (const std::string& unasked :
         {nodes("0xA000", "2", "RO"), nodes("0xA000", "8", "RO"), nodes("0xA000", "9", "RO"),
          nodes("0xA000", "4", "WO"), nodes("0x938", "4", "RO"), nodes("0x9FFF", "4", "RO"),
          nodes("0x100000938", "4", "RO"),
          nodes("0xA000", "4", "RO", "MaskedIntReg", "<LSB>31</LSB><MSB>0</MSB>"),
          nodes("0xA000", "4", "RO", "IntReg", "<pAddress>Nowhere</pAddress>")}) {
        LoadOnly(unasked);
        EXPECT_EQ(Questions(), 0U) << unasked;
        EXPECT_FALSE(map->Bus().Reverses()) << unasked;
    }
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
    for (const unsigned int code :
         {kNxDeviceError, kNxAccessDenied, kNxNodeAccess, kNxBadDescription}) {
        port->StoreLittle(kWidth, 640);
        port->failedReads[kMode] = NxResult(code, "refused");
        Load();
        EXPECT_TRUE(Turns()) << code;
    }
}

TEST_F(ByteOrderRuleTest, LetsTheDescriptionHoldOfADeviceThatRefusesToTellItsMode) {
    port->StoreLittle(kWidth, 640);
    Load();
    port->failure = NxResult(kNxDeviceError, "refused");
    EXPECT_FALSE(Turns());
    Load();
    port->failure = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(map->SettleByteOrder().GetCode(), kNxTimeout);
}

// Of a description below schema 1.1, whose registers are read by register commands.
class RegisterCommandOrderTest : public ByteOrderRuleTest {
  protected:
    /// Gives the bytes of a register command the other way round, as a little-endian device does.
    class SwappingPort : public MemoryPort {
      public:
        NxResult ReadRegisters(std::span<Register> registers) override {
            NxResult result = MemoryPort::ReadRegisters(registers);
            for (Register& one : registers) {
                std::reverse(one.bytes.begin(), one.bytes.end());
            }
            return result;
        }
    };
    /// A feature of which every value makes sense.
    void LoadFree(unsigned int address) { LoadOnly(Feature("Free", address, ""), 0); }
};

TEST_F(RegisterCommandOrderTest, IsTurnedWhereCommandsGiveTheBytesAsTheyLieInMemory) {
    port->StoreBig(0xB000, 0x01020304);
    LoadFree(0xB000);
    EXPECT_TRUE(Turns());
}

TEST_F(RegisterCommandOrderTest, HoldsWhereCommandsSwapTheBytes) {
    port = std::make_shared<SwappingPort>();
    port->StoreBig(0xB000, 0x01020304);
    LoadFree(0xB000);
    EXPECT_FALSE(Turns());
}

TEST_F(RegisterCommandOrderTest, HoldsWhereOneRegisterSwapsThoughAnotherMakesSenseReversed) {
    port = std::make_shared<SwappingPort>();
    port->StoreBig(0xB000, 0x01020304);
    port->StoreLittle(kWidth, 640);
    LoadOnly(Feature("Free", 0xB000, "") + Feature("Width", kWidth, "<Min>1</Min><Max>5000</Max>"),
             0);
    EXPECT_FALSE(Turns());
}

TEST_F(RegisterCommandOrderTest, IsNotAskedForWhereTheBytesReadTheSameFromBothEnds) {
    port->StoreBig(0xB000, 0x01020201);
    LoadFree(0xB000);
    EXPECT_EQ(Questions(), 1U);
    port->StoreBig(0xB000, 0x01020304);
    LoadFree(0xB000);
    EXPECT_EQ(Questions(), 2U);
}

TEST_F(RegisterCommandOrderTest, HoldsWhereTheMemoryCannotBeRead) {
    port->StoreBig(0xB000, 0x01020304);
    port->failedReads[0xB000] = NxResult(kNxAccessDenied, "refused");
    LoadFree(0xB000);
    EXPECT_FALSE(Turns());
    port->failedReads[0xB000] = NxResult(kNxTimeout, "nobody answers");
    LoadFree(0xB000);
    EXPECT_EQ(map->SettleByteOrder().GetCode(), kNxTimeout);
}

TEST_F(RegisterCommandOrderTest, IsSettledByThreeRegistersThatSwap) {
    for (const bool isSwapping : {false, true}) {
        port = isSwapping ? std::make_shared<SwappingPort>() : std::make_shared<MemoryPort>();
        std::string nodes;
        for (unsigned int address = 0xB000; address < 0xB018; address += 4) {
            port->StoreBig(address, 0x01020304);
            nodes += Feature("F" + std::to_string(address), address, "");
        }
        LoadOnly(nodes, 0);
        EXPECT_EQ(Questions(), 6U);  // three registers, each by command and from memory
        EXPECT_EQ(map->Bus().Reverses(), !isSwapping);
    }
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
