#include "node_map/NodePlaces.h"

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

using testing::ElementsAre;

namespace {

class NodePlacesTest : public NodeMapFixture {
  protected:
    NodePlacesTest() { port->hasRegisterCommands = false; }  // no byte order to be asked for

    static std::string Reg(const std::string& name, const std::string& place,
                           const std::string& more = "", const std::string& kind = "IntReg") {
        return "<" + kind + " Name=\"" + name + "\">" + place +
               "<AccessMode>RW</AccessMode><pPort>Device</pPort>" + more + "</" + kind + ">";
    }
    static std::string At(const std::string& address, const std::string& length) {
        return "<Address>" + address + "</Address><Length>" + length + "</Length>";
    }
    /// "0x100 +4", or why not.
    std::string Where(const std::string& name) {
        NodeValues values = map->Access();
        NodeValues::Place place;
        result = NodePlaces(values).Locate(Node(name), place);
        return result.IsOK() ? std::to_string(place.address) + " +" + std::to_string(place.length)
                             : Why(name, result);
    }
    /// Reads an integer by way of a view.
    std::string Seen(const std::string& name, RegisterView& view) {
        std::int64_t value = 0;
        result = map->Access(&view).Integer(Node(name), value);
        return result.IsOK() ? std::to_string(value) : Why(name, result);
    }
    /// Whether a view keeps a register that another one's address is computed with.
    bool IsKept(const std::string& more) {
        Load(Reg("Selector", At("0x100", "4"), more) +
             Reg("R", "<pAddress>Selector</pAddress><Length>4</Length>"));
        RegisterView view{{}};
        EXPECT_EQ(Seen("R", view), "0");
        view.Forget();
        port->log.clear();
        EXPECT_EQ(Seen("R", view), "0");
        return port->log.size() == 1;
    }
};

TEST_F(NodePlacesTest, AreTheSumOfAllPartsOfTheAddress) {
    Load(Reg("Sum", At("0x100", "4") + "<Address>0x20</Address><pAddress>Three</pAddress>"
                                       "<pAddress>Three</pAddress>") +
         Reg("Indexed", At("0x100", "6") + "<pIndex>Three</pIndex>") +
         Reg("Offset", At("0x100", "6") + "<pIndex Offset=\"0x10\">Three</pIndex>") +
         Reg("Stepped", At("0x100", "6") + "<pIndex pOffset=\"Five\">Three</pIndex>") +
         Reg("Wrapped", At("0x100", "4") + "<pAddress>Minus</pAddress>") +
         "<StructReg Name=\"S\">" + At("0x200", "2") +
         "<pIndex>Three</pIndex><StructEntry Name=\"Part\"><Address>0x1000</Address></StructEntry>"
         "</StructReg>" +
         GenXml::Integer("Three", "<Value>3</Value>") +
         GenXml::Integer("Five", "<Value>5</Value>") +
         GenXml::Integer("Minus", "<Value>-0x10</Value>") +
         GenXml::Integer("Below", "<Value>-16</Value>") +
         Reg("Down", At("0x100", "4") + "<pAddress>Below</pAddress>"));
    EXPECT_EQ(Where("Sum"), std::to_string(0x126) + " +4");
    EXPECT_EQ(Where("Indexed"), std::to_string(0x112) + " +6");
    EXPECT_EQ(Where("Offset"), std::to_string(0x130) + " +6");
    EXPECT_EQ(Where("Stepped"), std::to_string(0x10F) + " +6");
    EXPECT_EQ(Where("Part"), std::to_string(0x1206) + " +2");
    EXPECT_EQ(Where("Down"), std::to_string(0xF0) + " +4");
}

TEST_F(NodePlacesTest, SayWhatIsWrongWithThem) {
    Load(Reg("Word", At("x", "4")) + Reg("Lost", "<pAddress>Nowhere</pAddress>" + At("0", "4")) +
         Reg("Index", At("0", "4") + "<pIndex>Nowhere</pIndex>") +
         Reg("Step", At("0", "4") + "<pIndex pOffset=\"Nowhere\">One</pIndex>") +
         Reg("BadStep", At("0", "4") + "<pIndex pOffset=\"None\">One</pIndex>") +
         Reg("Offset", At("0", "4") + "<pIndex Offset=\"x\">One</pIndex>") +
         Reg("Endless", "<Address>0</Address>") +
         Reg("Circle", At("0", "4") + "<pAddress>Circle</pAddress>") +
         GenXml::Integer("One", "<Value>1</Value>") + GenXml::Integer("None", ""));
    const std::string undefined =
        "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node \"Nowhere\"";
    EXPECT_EQ(Where("Word"), "has a malformed number in its description");
    EXPECT_EQ(Where("Offset"), "has a malformed number in its description");
    EXPECT_EQ(Where("Lost"), undefined);
    EXPECT_EQ(Where("Index"), undefined);
    EXPECT_EQ(Where("Step"), "has an index whose step node is undefined");
    EXPECT_EQ(Where("BadStep"), "The GenICam feature None of 192.0.2.7 on eth9 has no value");
    EXPECT_EQ(Where("Endless"), "is a register without a length");
    EXPECT_EQ(Where("Circle"), "depends on itself");
}

TEST_F(NodePlacesTest, DependOnAHundredRegistersOneBehindTheOther) {
    std::string nodes = Reg("R0", At("0x100", "4"));
    for (int i = 1; i < 101; ++i) {
        nodes += Reg("R" + std::to_string(i),
                     "<pAddress>R" + std::to_string(i - 1) + "</pAddress><Length>4</Length>");
    }
    Load(nodes);
    EXPECT_EQ(Where("R100"), "0 +4");
    std::int64_t value = -1;
    EXPECT_TRUE(map->Access().Integer(Node("R99"), value).IsOK());
    EXPECT_EQ(Why("R0", map->Access().Integer(Node("R100"), value)),
              "depends on too many other nodes");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
}

TEST_F(NodePlacesTest, AreNoLongerThanSixteenMebibytes) {
    Load(Reg("None", At("0", "0")) + Reg("Longest", At("0", "0x1000000")) +
         Reg("TooLong", At("0", "0x1000001")) + Reg("Negative", At("0", "-1")));
    EXPECT_EQ(Where("None"), "0 +0");
    EXPECT_EQ(Where("Longest"), "0 +16777216");
    const std::string begin = "192.0.2.7 on eth9 has a register of ";
    EXPECT_EQ(Where("TooLong"), begin + "16777217 bytes; the limit is 16 MiB");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(Where("Negative"), begin + "-1 bytes; the limit is 16 MiB");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
}

TEST_F(NodePlacesTest, HoldNumbersOfUpToEightBytesAndFieldsInThem) {
    const std::string eight = At("0x100", "8");
    const auto bits = [](const std::string& lsb, const std::string& msb) {
        return "<LSB>" + lsb + "</LSB><MSB>" + msb + "</MSB>";
    };
    Load(Reg("Nine", At("0x100", "9")) + Reg("None", At("0x100", "0")) + Reg("Eight", eight) +
         Reg("Byte", At("0x107", "1")) + Reg("Top", eight, "<Bit>63</Bit>") +
         Reg("Bottom", eight, "<Bit>0</Bit>") + Reg("Field", eight, bits("4", "7")) +
         Reg("Turned", eight, bits("7", "4")) +
         Reg("Signed", eight, bits("4", "7") + "<Sign>Signed</Sign>") +
         Reg("Unsigned", eight, bits("4", "7") + "<Sign>Unsigned</Sign>") +
         Reg("Short", At("0x100", "2"), bits("0", "16")) +
         Reg("Reach", At("0x100", "2"), bits("0", "15")) + Reg("Bit64", eight, "<Bit>64</Bit>") +
         Reg("Minus", eight, "<Bit>-1</Bit>") + Reg("Low", eight, bits("-1", "3")) +
         Reg("High", eight, bits("3", "64")) + Reg("LowHigh", eight, bits("64", "3")) +
         Reg("HighLow", eight, bits("3", "-1")) + Reg("NoLsb", eight, "<MSB>3</MSB>") +
         Reg("NoMsb", eight, "<LSB>3</LSB>") + Reg("Word", eight, bits("x", "3")));
    port->Store(0x100, std::string("\xF1\0\0\0\0\0\0\x80", 8));
    EXPECT_EQ(Text("Eight"), "-9223372036854775567");
    EXPECT_EQ(Text("Byte"), "128");
    EXPECT_EQ(Text("Top"), "1");
    EXPECT_EQ(Text("Bottom"), "1");
    for (const char* name : {"Field", "Turned", "Unsigned"}) {
        EXPECT_EQ(Text(name), "15") << name;
    }
    EXPECT_EQ(Text("Signed"), "-1");
    EXPECT_EQ(Text("Reach"), "241");
    EXPECT_EQ(Why("Nine"), "cannot be a number: its register has 9 bytes");
    EXPECT_EQ(Why("None"), "cannot be a number: its register has 0 bytes");
    EXPECT_EQ(Why("Short"), "cannot be a number: its register has 2 bytes");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    for (const char* name :
         {"Bit64", "Minus", "Low", "High", "LowHigh", "HighLow", "NoLsb", "NoMsb", "Word"}) {
        EXPECT_EQ(Why(name), "is a bit field outside its register") << name;
        EXPECT_EQ(result.GetCode(), kNxNodeAccess) << name;
    }
}

TEST_F(NodePlacesTest, HoldFloatsOfFourOrEightBytes) {
    const std::string big = "<Endianess>BigEndian</Endianess>";
    Load(Reg("Four", At("0x100", "4"), big, "FloatReg") +
         Reg("Eight", At("0x100", "8"), big, "FloatReg") +
         Reg("Little", At("0x200", "4"), "", "FloatReg") +
         Reg("Two", At("0x100", "2"), big, "FloatReg") +
         Reg("Field", At("0x100", "4"), "<Bit>64</Bit>", "FloatReg") +
         Reg("Lost", "<pAddress>Nowhere</pAddress><Length>4</Length>", "", "FloatReg"));
    port->Store(0x100, std::string("\xC0\x04\0\0\0\0\0\0", 8));
    port->Store(0x200, std::string("\0\0\x20\x40", 4));
    EXPECT_EQ(Text("Four"), "-2.0625");
    EXPECT_EQ(Text("Eight"), "-2.5");
    EXPECT_EQ(Text("Little"), "2.5");
    EXPECT_EQ(Why("Two"), "cannot be a floating-point number: its register has 2 bytes");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(Why("Field"), "is a bit field outside its register");
    EXPECT_EQ(Why("Lost"),
              "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
              "\"Nowhere\"");
    port->failedReads[0x200] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Why("Little"), "nobody answers");
}

TEST_F(NodePlacesTest, AreReadOnlyThroughThePortOfTheDevice) {
    const auto through = [](const std::string& name, const std::string& link) {
        return "<IntReg Name=\"" + name + "\">" + At("0x100", "4") + "<AccessMode>RO</AccessMode>" +
               link + "</IntReg>";
    };
    std::string nodes = through("Homeless", "") + through("Lost", "<pPort>Nowhere</pPort>") +
                        through("Wrong", "<pPort>Wrong</pPort>");
    for (const char* id : {"ChunkID", "pChunkID", "EventID"}) {
        const std::string name(id);
        nodes += "<Port Name=\"Of" + name + "\"><" + name + ">1</" + name + "></Port>" +
                 through(name, "<pPort>Of" + name + "</pPort>");
    }
    Load(nodes + Reg("WriteOnly", At("0x100", "4")) + GenXml::Register("Wo", 0x100, "WO"));
    std::int64_t value = 0;
    for (const char* name : {"Homeless", "Wrong", "ChunkID", "pChunkID", "EventID"}) {
        EXPECT_EQ(Why(name, map->Access().Integer(Node(name), value)),
                  "is not a register of the device itself");
        EXPECT_EQ(Access(name), "--");
    }
    EXPECT_EQ(Why("Wo", map->Access().Integer(Node("Wo"), value)), "is write-only");
    EXPECT_EQ(Why("Lost", map->Access().Integer(Node("Lost"), value)),
              "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
              "\"Nowhere\"");
    EXPECT_TRUE(port->log.empty());
}

TEST_F(NodePlacesTest, AreReadInWholeWordsByAView) {
    Load(Reg("Middle", At("0x102", "4"), "<Endianess>BigEndian</Endianess>") +
         Reg("Byte", At("0x107", "1")) + Reg("Beside", At("0x104", "2")) +
         Reg("Far", At("0x109", "7")) + Reg("First", At("0x110", "1")));
    port->Store(0x100, std::string("\1\2\3\4\5\6\7\x08\x09\x0A\0\0\0\0\0\0\x0B", 17));
    RegisterView view{{}};
    EXPECT_EQ(Seen("Middle", view), std::to_string(0x03040506));
    EXPECT_THAT(port->log, ElementsAre("READMEM 8"));
    EXPECT_EQ(Seen("Byte", view), "8");
    EXPECT_EQ(Seen("Beside", view), std::to_string(0x0605));
    EXPECT_EQ(port->log.size(), 1U);
    EXPECT_EQ(view.Misses(), 1);
    EXPECT_EQ(Seen("Far", view), "10");
    EXPECT_THAT(port->log, ElementsAre("READMEM 8", "READMEM 8"));
    EXPECT_EQ(view.Misses(), 2);
    EXPECT_EQ(Seen("First", view), "11");
    view.Forget();
    port->failure = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Seen("Byte", view), "nobody answers");
    port->failure = NxResult();
    EXPECT_EQ(Seen("Byte", view), "8");
}

TEST_F(NodePlacesTest, AreReadAloneWhereRegisterCommandsGiveNoPartsOfWords) {
    port->hasRegisterCommands = true;
    const std::string nodes = Reg("Byte", At("0x101", "1")) + Reg("Whole", At("0x104", "4")) +
                              GenXml::StringRegister("Text", 0x104, "4");
    ASSERT_TRUE(NodeMap::Load(port, GenXml::Description(nodes, 1, 0), map).IsOK());
    port->StoreBig(0x4, 0x80000000U);
    port->Store(0x101, "\7");
    RegisterView view{{}};
    EXPECT_EQ(Seen("Byte", view), "7");
    EXPECT_EQ(view.Misses(), 0);
    port->log.clear();
    EXPECT_EQ(Seen("Whole", view), "0");
    EXPECT_EQ(view.Misses(), 1);
    // The register, and once the device's mode.
    EXPECT_THAT(port->log, ElementsAre("READREG 1", "READREG 1"));
    // Texts have no byte order.
    port->log.clear();
    EXPECT_EQ(Text("Text"), "");
    EXPECT_THAT(port->log, ElementsAre("READMEM 4"));
}

TEST_F(NodePlacesTest, TellAViewOfLittleEndianNumbers) {
    Load(Reg("Little", At("0x100", "4")) +
         Reg("Big", At("0x100", "4"), "<Endianess>BigEndian</Endianess>"));
    RegisterView view{{}};
    (void)Seen("Big", view);
    EXPECT_FALSE(view.HoldsLittleEndian());
    (void)Seen("Little", view);
    EXPECT_TRUE(view.HoldsLittleEndian());
    RegisterView other{{}};
    map->Bus().Reverse();
    (void)Seen("Big", other);
    EXPECT_TRUE(other.HoldsLittleEndian());
}

TEST_F(NodePlacesTest, StayKnownWhereTheyDecideAnAddressUnlessTheirDescriptionForbids) {
    EXPECT_TRUE(IsKept(""));
    EXPECT_TRUE(IsKept("<Cachable>WriteThrough</Cachable>"));
    EXPECT_FALSE(IsKept("<Cachable>NoCache</Cachable>"));
    EXPECT_FALSE(IsKept("<PollingTime>100</PollingTime>"));
    EXPECT_FALSE(IsKept("<pInvalidator>R</pInvalidator>"));
    // One that decides nothing may change.
    RegisterView view{{}};
    EXPECT_EQ(Seen("Selector", view), "0");
    view.Forget();
    port->log.clear();
    EXPECT_EQ(Seen("Selector", view), "0");
    EXPECT_EQ(port->log.size(), 1U);
    RegisterView steady{{Node("Selector")}};
    EXPECT_EQ(Seen("Selector", steady), "0");
    steady.Forget();
    EXPECT_EQ(Seen("Selector", steady), "0");
    EXPECT_EQ(port->log.size(), 2U);
}

}  // namespace
