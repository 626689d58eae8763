#include "node_map/NodeMap.h"

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class NodeMapTest : public NodeMapFixture {};

TEST_F(NodeMapTest, KeepsValuesThatHaveNoRegister) {
    port->hasRegisterCommands = false;  // no byte order to be asked for
    Load(GenXml::Integer("A", "<Value>3</Value>") + "<Float Name=\"F\"><Value>1.5</Value></Float>" +
         GenXml::Enumeration(
             "E", GenXml::Entry("On", 1) + GenXml::Entry("Off", 0) + "<Value>0</Value>") +
         "<IntSwissKnife Name=\"Sum\"><pVariable Name=\"A\">A</pVariable><pVariable Name=\"E\">E"
         "</pVariable><Formula>A * 10 + E</Formula></IntSwissKnife>");
    EXPECT_EQ(Text("Sum"), "30");
    EXPECT_TRUE(map->WriteInteger("A", 4).IsOK());
    EXPECT_TRUE(map->WriteEntry("E", "On").IsOK());
    EXPECT_TRUE(WriteFloat("F", 2.5).IsOK());
    EXPECT_EQ(Text("Sum"), "41");
    EXPECT_EQ(Text("E"), "On");
    EXPECT_EQ(Text("F"), "2.5");
    EXPECT_FALSE(map->WriteInteger("Sum", 1).IsOK());
    EXPECT_TRUE(port->log.empty());
}

TEST_F(NodeMapTest, LeavesAnEntryThatIsThereAlreadyWhereItMayNotBeWritten) {
    Load(GenXml::Enumeration(
             "E", GenXml::Entry("On", 1) + GenXml::Entry("Off", 0) + "<pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100, "RO"));
    EXPECT_TRUE(map->WriteEntry("E", "Off").IsOK());
    EXPECT_EQ(map->WriteEntry("E", "On").GetCode(), kNxNodeAccess);
}

TEST_F(NodeMapTest, WritesCopiesToo) {
    Load(GenXml::Integer("A",
                         "<pValue>R1</pValue><pValueCopy>R2</pValueCopy>"
                         "<pValueCopy>R3</pValueCopy>") +
         GenXml::Register("R1", 0x100) + GenXml::Register("R2", 0x104) +
         GenXml::Register("R3", 0x108));
    EXPECT_TRUE(map->WriteInteger("A", 9).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 9U);
    EXPECT_EQ(port->LoadBig(0x104), 9U);
    EXPECT_EQ(port->LoadBig(0x108), 9U);
}

TEST_F(NodeMapTest, ConvertsBothWays) {
    Load(GenXml::Register("R", 0x100) +
         "<IntConverter Name=\"I\"><FormulaTo>FROM / 4</FormulaTo><FormulaFrom>TO * 4</FormulaFrom>"
         "<pValue>R</pValue></IntConverter>"
         "<Converter Name=\"C\"><FormulaTo>FROM * 2</FormulaTo><FormulaFrom>TO / 2</FormulaFrom>"
         "<pValue>R</pValue></Converter>"
         "<Converter Name=\"OneWay\"><FormulaFrom>TO / "
         "2</FormulaFrom><pValue>R</pValue></Converter>" +
         GenXml::Integer("Behind", "<pValue>I</pValue>") +
         "<Float Name=\"F\"><pValue>C</pValue></Float>");
    port->StoreBig(0x100, 5);
    EXPECT_EQ(Text("Behind"), "20");
    EXPECT_EQ(Text("F"), "2.5");
    EXPECT_TRUE(map->WriteInteger("Behind", 40).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 10U);
    EXPECT_TRUE(WriteFloat("F", 3.5).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 7U);
    EXPECT_EQ(Access("OneWay"), "R-");
}

TEST_F(NodeMapTest, WritesFieldsWithoutTouchingTheirNeighbours) {
    const auto field = [](const std::string& mode) {
        return "<MaskedIntReg Name=\"F" + mode +
               "\"><Address>0x100</Address><Length>4</Length>"
               "<AccessMode>" +
               mode +
               "</AccessMode><pPort>Device</pPort><LSB>15</LSB><MSB>8</MSB>"
               "<Endianess>BigEndian</Endianess></MaskedIntReg>";
    };
    Load(field("RW") + field("WO"));
    port->StoreBig(0x100, 0x11223344);
    EXPECT_TRUE(map->WriteInteger("FRW", 0x99).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 0x11993344U);
    EXPECT_THAT(map->WriteInteger("FRW", 256).GetDescription().GetAscii(), HasSubstr("too small"));
    EXPECT_TRUE(map->WriteInteger("FWO", 0x77).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 0x00770000U);
}

TEST_F(NodeMapTest, WritesFloatsAndBooleans) {
    const auto reg = [](const std::string& name, const std::string& length) {
        return "<FloatReg Name=\"" + name + "\"><Address>0x100</Address><Length>" + length +
               "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
               "<Endianess>BigEndian</Endianess></FloatReg>";
    };
    Load(reg("F4", "4") + reg("F8", "8") + reg("F3", "3") +
         "<Boolean "
         "Name=\"B\"><pValue>R</pValue><OnValue>5</OnValue><OffValue>3</OffValue></Boolean>" +
         GenXml::Register("R", 0x200));
    EXPECT_TRUE(WriteFloat("F4", 1.5).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 0x3FC00000U);
    EXPECT_EQ(Text("F4"), "1.5");
    EXPECT_TRUE(WriteFloat("F8", -0.1).IsOK());
    EXPECT_EQ(Text("F8"), "-0.1");
    EXPECT_FALSE(WriteFloat("F3", 1).IsOK());
    EXPECT_TRUE(map->WriteInteger("B", 1).IsOK());
    EXPECT_EQ(port->LoadBig(0x200), 5U);
    EXPECT_EQ(Text("B"), "true");
    EXPECT_TRUE(map->WriteInteger("B", 0).IsOK());
    EXPECT_EQ(port->LoadBig(0x200), 3U);
    EXPECT_EQ(Text("B"), "false");
}

TEST_F(NodeMapTest, ExecutesCommands) {
    Load(
        "<Command Name=\"C\"><pValue>R</pValue><pCommandValue>V</pCommandValue></Command>"
        "<Command Name=\"Empty\"><pValue>R</pValue></Command>" +
        GenXml::Register("R", 0x100) + GenXml::Integer("V", "<Value>0x11</Value>"));
    EXPECT_TRUE(map->Execute("C").IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 0x11U);
    EXPECT_FALSE(map->Execute("Empty").IsOK());
    EXPECT_FALSE(map->Execute("V").IsOK());
    EXPECT_EQ(map->Execute("Gone").GetCode(), kNxNoSuchNode);
}

TEST_F(NodeMapTest, TakesValuesByIndex) {
    Load(
        "<Integer Name=\"A\"><pIndex>I</pIndex><ValueIndexed Index=\"1\">10</ValueIndexed>"
        "<pValueIndexed Index=\"2\">R</pValueIndexed><ValueDefault>-7</ValueDefault></Integer>"
        "<Integer Name=\"Bare\"><pIndex>I</pIndex><ValueIndexed "
        "Index=\"1\">1</ValueIndexed></Integer>" +
        GenXml::Integer("I", "<Value>1</Value>") + GenXml::Register("R", 0x100));
    port->StoreBig(0x100, 20);
    EXPECT_EQ(Text("A"), "10");
    (void)map->WriteInteger("I", 2);
    EXPECT_EQ(Text("A"), "20");
    (void)map->WriteInteger("I", 3);
    EXPECT_EQ(Text("A"), "-7");
    EXPECT_EQ(Text("Bare"), "untouched");
}

TEST_F(NodeMapTest, ReadsTheEntriesOfAFormulasEnumeration) {
    Load(GenXml::Enumeration("E", GenXml::Entry("On", 6) + "<Value>0</Value>") +
         GenXml::Integer("A", "<Value>50</Value><Min>2</Min><Max>99</Max><Inc>3</Inc>") +
         "<IntSwissKnife Name=\"K\"><pVariable Name=\"E.Entry.On\">E</pVariable>"
         "<pVariable Name=\"A.Max\">A</pVariable><pVariable Name=\"A.Min\">A</pVariable>"
         "<pVariable Name=\"A.Inc\">A</pVariable><Constant Name=\"C\">1000</Constant>"
         "<Expression Name=\"X\">A.Max + A.Min</Expression>"
         "<Formula>C * E.Entry.On + X * A.Inc</Formula></IntSwissKnife>"
         "<IntSwissKnife Name=\"Lacks\"><pVariable Name=\"E.Entry.Off\">E</pVariable>"
         "<Formula>E.Entry.Off</Formula></IntSwissKnife>");
    EXPECT_EQ(Text("K"), "6303");
    EXPECT_EQ(Text("Lacks"), "untouched");
}

TEST_F(NodeMapTest, CountsAHugeEnumerationWithinItsBounds) {
    std::string entries;
    for (int i = 0; i < 3000; ++i) {
        entries += GenXml::Entry("E" + std::to_string(i), i, "<pIsImplemented>R</pIsImplemented>");
    }
    Load(GenXml::Enumeration("E", entries + "<Value>0</Value>") + GenXml::Register("R", 0x100));
    port->StoreBig(0x100, 1);
    std::vector<NodeMap::Id> found;
    EXPECT_EQ(map->ListEntries(map->Table().Find("E"), found).GetCode(), kNxBadDescription);
    EXPECT_LE(port->log.size(), 1000U);
}

TEST_F(NodeMapTest, SaysWhyAFeatureCannotBeWritten) {
    Load(GenXml::Integer("ReadOnly", "<pValue>Ro</pValue>") + GenXml::Register("Ro", 0x100, "RO") +
         GenXml::Integer("Gone", "<pIsImplemented>Zero</pIsImplemented><Value>1</Value>") +
         GenXml::Integer("Away", "<pIsAvailable>Zero</pIsAvailable><Value>1</Value>") +
         GenXml::Integer("Zero", "<Value>0</Value>") +
         GenXml::Enumeration("E", GenXml::Entry("On", 1) + "<pValue>R</pValue>") +
         GenXml::Enumeration("Fixed", GenXml::Entry("On", 1) + "<pValue>Ro</pValue>") +
         GenXml::Register("R", 0x104) + "<Command Name=\"C\"><pValue>Ro</pValue></Command>");
    const std::string begin = "cannot be written at the moment: it is ";
    EXPECT_EQ(Why("ReadOnly", map->WriteInteger("ReadOnly", 1)), begin + "read-only");
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    EXPECT_EQ(Why("C", map->Execute("C")), begin + "read-only");
    EXPECT_EQ(Why("Fixed", map->WriteEntry("Fixed", "On")), begin + "read-only");
    EXPECT_EQ(Why("Away"), "is not available at the moment");
    EXPECT_EQ(Why("Away", map->WriteInteger("Away", 1)), begin + "not available");
    for (const char* name : {"Gone", "Nonsense"}) {
        const std::string none = std::string("192.0.2.7 on eth9 has no GenICam feature ") + name;
        EXPECT_EQ(Why(name, map->WriteInteger(name, 1)), none);
        EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
        EXPECT_EQ(Why(name, map->WriteEntry(name, "On")), none);
    }
    EXPECT_EQ(Why("Zero", map->WriteEntry("Zero", "On")), "is not an enumeration");
    EXPECT_EQ(Why("Zero", map->Execute("Zero")), "is not a command");
    EXPECT_EQ(Why("E", map->WriteEntry("E", "Off")), "192.0.2.7 on eth9 has no entry Off in its E");
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    port->failure = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(map->WriteEntry("E", "On").GetCode(), kNxTimeout);
}

TEST_F(NodeMapTest, SaysWhyACommandCannotBeExecuted) {
    Load(
        "<Command Name=\"Empty\"><pValue>R</pValue></Command>"
        "<Command Name=\"Wrong\"><pValue>R</pValue><CommandValue>x</CommandValue></Command>"
        "<Command Name=\"Local\"><Value>0</Value><CommandValue>5</CommandValue></Command>" +
        GenXml::Register("R", 0x100));
    EXPECT_EQ(Why("Empty", map->Execute("Empty")), "is a command without a value");
    EXPECT_EQ(Why("Wrong", map->Execute("Wrong")), "has a malformed number in its description");
    EXPECT_TRUE(map->Execute("Local").IsOK());
}

TEST_F(NodeMapTest, ReadsIntegers) {
    Load(GenXml::Register("R", 0x100) + GenXml::Register("Wo", 0x100, "WO") +
         GenXml::Enumeration("E", GenXml::Entry("On", 0) + "<pValue>R</pValue>"));
    port->StoreBig(0x100, 5);
    std::int64_t value = 0;
    EXPECT_TRUE(map->ReadInteger("R", value).IsOK());
    EXPECT_EQ(value, 5);
    EXPECT_EQ(Why("Wo", map->ReadInteger("Wo", value)), "is write-only");
    EXPECT_EQ(map->ReadInteger("Nonsense", value).GetCode(), kNxNoSuchNode);
    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(map->ReadInteger("R", value).GetCode(), kNxTimeout);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(Why("E"), "nobody answers");
}

TEST_F(NodeMapTest, FindsFeaturesThatAreImplemented) {
    Load(GenXml::Integer("A", "<Value>1</Value>") +
         GenXml::Integer("Gone", "<pIsImplemented>R</pIsImplemented><Value>1</Value>") +
         GenXml::Integer("Away", "<pIsAvailable>R</pIsAvailable><Value>1</Value>") +
         GenXml::Register("R", 0x100));
    const auto find = [this](const std::string& name) {
        NodeMap::Id node = 99;
        EXPECT_TRUE(map->Find(name, node).IsOK());
        return node;
    };
    EXPECT_EQ(find("A"), Node("A"));
    EXPECT_EQ(find("Away"), Node("Away"));
    EXPECT_EQ(find("Gone"), NodeTable::kNone);
    EXPECT_EQ(find("Nonsense"), NodeTable::kNone);

    NodeMap::Id node = 99;
    EXPECT_TRUE(map->Find("A", NodeKind::kFloat, node).IsOK());
    EXPECT_EQ(node, NodeTable::kNone);
    EXPECT_TRUE(map->Find("A", NodeKind::kInteger, node).IsOK());
    EXPECT_EQ(node, Node("A"));
    EXPECT_TRUE(map->Require("A", node).IsOK());
    EXPECT_EQ(node, Node("A"));
    EXPECT_EQ(map->Require("Gone", node).GetCode(), kNxNoSuchNode);

    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    node = 99;
    EXPECT_EQ(map->Find("Gone", node).GetCode(), kNxTimeout);
    EXPECT_EQ(map->Find("Gone", NodeKind::kInteger, node).GetCode(), kNxTimeout);
    EXPECT_EQ(map->Require("Gone", node).GetCode(), kNxTimeout);
    EXPECT_EQ(node, 99U);
}

TEST_F(NodeMapTest, FollowsValuesDownToTheirRegisters) {
    Load(GenXml::Integer("A", "<pValue>B</pValue><pMin>Other</pMin>") +
         GenXml::Integer("B", "<pValue>R</pValue>") + GenXml::Register("R", 0x100) +
         GenXml::Integer("C", "<pValue>D</pValue>") + GenXml::Integer("D", "<pValue>C</pValue>") +
         GenXml::Integer("Local", "<Value>1</Value>") + GenXml::Register("Other", 0x104));
    EXPECT_THAT(map->FollowValues({"A", "Local", "Nonsense", "C"}),
                testing::UnorderedElementsAre(Node("A"), Node("B"), Node("R"), Node("Local"),
                                              Node("C"), Node("D")));
    EXPECT_TRUE(map->FollowValues({"Nonsense"}).empty());
}

TEST_F(NodeMapTest, FindsTheEntryThatIsAvailableAmongThoseOfOneName) {
    Load(GenXml::Enumeration(
             "E", GenXml::Entry("On", 1, "<pIsAvailable>Zero</pIsAvailable>") +
                      GenXml::Entry("On", 2, "<pIsImplemented>Zero</pIsImplemented>") +
                      GenXml::Entry("On", 3) + GenXml::Entry("EnumEntry_E_", 4) +
                      "<EnumEntry Name=\"Code\"><Symbolic>Shown</Symbolic><Value>5</Value>"
                      "</EnumEntry>" +
                      GenXml::Entry("Off", 6, "<pIsImplemented>Zero</pIsImplemented>") +
                      GenXml::Entry("Hidden", 7, "<pIsAvailable>Zero</pIsAvailable>") +
                      GenXml::Entry("Silent", 8, "<pIsAvailable>R</pIsAvailable>") +
                      GenXml::Entry("Last", 9) + "<Value>5</Value>") +
         GenXml::Integer("Zero", "<Value>0</Value>") + GenXml::Register("R", 0x100));
    const auto value = [this](const std::string& entry) {
        std::int64_t number = -1;
        result = map->WriteEntry("E", entry);
        EXPECT_TRUE(map->ReadInteger("E", number).IsOK());
        return number;
    };
    EXPECT_EQ(Text("E"), "Shown");
    EXPECT_EQ(value("On"), 3);
    EXPECT_EQ(value("Shown"), 5);
    EXPECT_EQ(value("Last"), 9);
    EXPECT_EQ(value("Code"), 9);
    EXPECT_EQ(Why("E", result), "192.0.2.7 on eth9 has no entry Code in its E");
    (void)value("Off");
    EXPECT_EQ(Why("E", result), "192.0.2.7 on eth9 has no entry Off in its E");
    (void)value("Hidden");
    EXPECT_EQ(Why("E", result), "192.0.2.7 on eth9 has no available entry Hidden in its E");
    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    (void)value("Silent");
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    std::vector<NodeMap::Id> entries;
    EXPECT_TRUE(map->ListEntries(Node("E"), entries).IsOK());
    EXPECT_EQ(entries.size(), 7U);
    EXPECT_EQ(map->SymbolicName(Node("E") + 4), "");
}

TEST_F(NodeMapTest, NamesTheDeviceWhereTheDescriptionIsOfNoUse) {
    result = NodeMap::Load(port, "<Other/>", map);
    EXPECT_EQ(result.GetDescription().GetAscii(),
              std::string("The GenICam description of 192.0.2.7 on eth9 cannot be used: it is not "
                          "a register description"));
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(map, nullptr);
}

TEST_F(NodeMapTest, ReadsFloatsAsTheShortestTextOfTheNumber) {
    Load(
        "<Float Name=\"Tenth\"><Value>0.1</Value></Float>"
        "<Float Name=\"Least\"><Value>-2.2250738585072014e-308</Value></Float>");
    EXPECT_EQ(Text("Tenth"), "0.1");
    EXPECT_EQ(Text("Least"), "-2.2250738585072014e-308");
}

}  // namespace
