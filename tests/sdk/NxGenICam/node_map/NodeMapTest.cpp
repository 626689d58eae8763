#include "node_map/NodeMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "GenXml.h"
#include "MemoryPort.h"
#include "node_map/NodeWriter.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class NodeMapTest : public testing::Test {
  protected:
    void Load(const std::string& nodes) {
        result = NodeMap::Load(port, GenXml::Description(nodes), map);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    std::string Text(const std::string& name) {
        std::string text = "untouched";
        result = map->ReadText(name, text);
        return text;
    }
    NodeRights Rights(const std::string& name, NodeRights::Scope scope = NodeRights::Scope::kNow) {
        NodeRights rights;
        result = map->FindRights(map->Table().Find(name), scope, rights);
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        return rights;
    }
    std::string Access(const std::string& name) {
        const NodeRights rights = Rights(name);
        return std::string(rights.MayRead() ? "R" : "-") + (rights.MayWrite() ? "W" : "-");
    }
    NxResult WriteFloat(const std::string& name, double value) {
        NodeValues values = map->Access();
        return NodeWriter(values).SetFloat(map->Table().Find(name), value);
    }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    std::unique_ptr<NodeMap> map;
    NxResult result;
};

class NodeRightsTest : public NodeMapTest {};

TEST_F(NodeRightsTest, FollowTheAccessModeOfTheRegisterBehind) {
    Load(GenXml::Register("Ro", 0x100, "RO") + GenXml::Register("Wo", 0x104, "WO") +
         GenXml::Register("Rw", 0x108) + GenXml::Integer("ARo", "<pValue>Ro</pValue>") +
         GenXml::Integer("AWo", "<pValue>Wo</pValue>") +
         GenXml::Integer("ARw", "<pValue>ARw2</pValue>") +
         GenXml::Integer("ARw2", "<pValue>Rw</pValue>") +
         "<IntReg Name=\"None\"><Address>0x100</Address><Length>4</Length><pPort>Device</pPort>"
         "</IntReg><IntReg Name=\"Homeless\"><Address>0x100</Address><Length>4</Length>"
         "<AccessMode>RW</AccessMode></IntReg>");
    EXPECT_EQ(Access("ARo"), "R-");
    EXPECT_EQ(Access("AWo"), "-W");
    EXPECT_EQ(Access("ARw"), "RW");
    EXPECT_EQ(Access("None"), "R-");
    EXPECT_EQ(Access("Homeless"), "--");
}

TEST_F(NodeRightsTest, AreRestrictedByImposedAccessModes) {
    Load(
        GenXml::Register("Reg", 0x100) +
        GenXml::Integer("Ro", "<ImposedAccessMode>RO</ImposedAccessMode><pValue>Reg</pValue>") +
        GenXml::Integer("Wo", "<ImposedAccessMode>WO</ImposedAccessMode><pValue>Reg</pValue>") +
        GenXml::Integer("Both", "<ImposedAccessMode>RW</ImposedAccessMode><pValue>Ro</pValue>") +
        GenXml::Integer("Neither", "<ImposedAccessMode>RO</ImposedAccessMode><pValue>Wo</pValue>"));
    EXPECT_EQ(Access("Reg"), "RW");
    EXPECT_EQ(Access("Ro"), "R-");
    EXPECT_EQ(Access("Wo"), "-W");
    EXPECT_EQ(Access("Both"), "R-");
    EXPECT_EQ(Access("Neither"), "--");
    EXPECT_FALSE(map->WriteInteger("Ro", 1).IsOK());
    EXPECT_EQ(Text("Wo"), "untouched");
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("is write-only"));
}

TEST_F(NodeRightsTest, ChangeWithLocksAndAvailability) {
    Load(GenXml::Register("Reg", 0x100, "RW", "<pIsLocked>Lock</pIsLocked>") +
         GenXml::Integer("A", "<pIsAvailable>There</pIsAvailable><pValue>Reg</pValue>") +
         GenXml::Integer("Behind", "<pValue>A</pValue>") + GenXml::Register("Lock", 0x200) +
         GenXml::Register("There", 0x204));
    EXPECT_EQ(Access("Behind"), "--");
    EXPECT_THAT(map->WriteInteger("Behind", 1).GetDescription().GetAscii(),
                HasSubstr("it is not available"));
    port->StoreBig(0x204, 1);
    EXPECT_EQ(Access("Behind"), "RW");
    EXPECT_TRUE(map->WriteInteger("Behind", 5).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 5U);
    port->StoreBig(0x200, 1);
    EXPECT_EQ(Access("Behind"), "R-");
    EXPECT_THAT(map->WriteInteger("Behind", 6).GetDescription().GetAscii(),
                HasSubstr("it is locked"));
    EXPECT_EQ(port->LoadBig(0x100), 5U);
    // What may be done some day does not ask.
    EXPECT_TRUE(Rights("Behind", NodeRights::Scope::kEver).MayWrite());
}

TEST_F(NodeRightsTest, EndWhereTheDeviceCannotBeAsked) {
    Load(GenXml::Integer("A", "<pIsAvailable>There</pIsAvailable><Value>1</Value>") +
         GenXml::Register("There", 0x204));
    port->failedReads[0x204] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Text("A"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxTimeout);
}

TEST_F(NodeRightsTest, OfRegistersThatAreNotTheDevicesOwnAreNone) {
    port->hasRegisterCommands = false;  // no byte order to be asked for
    Load(
        "<Port Name=\"Chunk\"><ChunkID>0x10</ChunkID></Port><IntReg Name=\"A\"><Address>0</Address>"
        "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Chunk</pPort></IntReg>");
    EXPECT_EQ(Access("A"), "--");
    EXPECT_EQ(Text("A"), "untouched");
    EXPECT_TRUE(port->log.empty());
}

TEST_F(NodeRightsTest, OfEntriesDecideWhetherTheyMayBeSelected) {
    Load(GenXml::Enumeration("E", GenXml::Entry("On", 1, "<pIsAvailable>Has</pIsAvailable>") +
                                      GenXml::Entry("Off", 0) + "<pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100) + GenXml::Register("Has", 0x104));
    EXPECT_THAT(map->WriteEntry("E", "On").GetDescription().GetAscii(),
                HasSubstr("has no available entry On in its E"));
    EXPECT_THAT(map->WriteEntry("E", "Gone").GetDescription().GetAscii(),
                testing::EndsWith("has no entry Gone in its E"));
    port->StoreBig(0x104, 1);
    EXPECT_TRUE(map->WriteEntry("E", "On").IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 1U);
}

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

}  // namespace
