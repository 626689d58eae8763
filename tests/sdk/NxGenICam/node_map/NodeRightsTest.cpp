#include "node_map/NodeRights.h"

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

using testing::HasSubstr;

namespace {

class NodeRightsTest : public NodeMapFixture {};

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

TEST_F(NodeRightsTest, AreThoseOfAllNodesBehind) {
    Load(GenXml::Integer("Gone", "<pIsImplemented>Zero</pIsImplemented><pValue>Lost</pValue>") +
         GenXml::Integer("OfGone", "<pValue>Gone</pValue>") +
         GenXml::Integer("Imposed", "<pValue>OfGone</pValue><pIsLocked>Lost</pIsLocked>") +
         GenXml::Integer("Locked", "<pIsLocked>Zero</pIsLocked><pValue>LockedReg</pValue>") +
         GenXml::Register("LockedReg", 0x100, "RW", "<pIsLocked>One</pIsLocked>") +
         GenXml::Integer("LockedItself", "<pIsLocked>One</pIsLocked><pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100) + GenXml::Integer("Zero", "<Value>0</Value>") +
         GenXml::Integer("One", "<Value>2</Value>") +
         GenXml::Integer("Free",
                         "<pIsLocked>Zero</pIsLocked><pIsAvailable>One</pIsAvailable>"
                         "<pIsImplemented>One</pIsImplemented><pValue>Reg</pValue>"));
    EXPECT_FALSE(Rights("Gone").isImplemented);
    EXPECT_FALSE(Rights("OfGone").isImplemented);
    EXPECT_FALSE(Rights("Imposed").isImplemented);  // whatever else is wrong with it
    EXPECT_EQ(Why("OfGone"), "192.0.2.7 on eth9 has no GenICam feature OfGone");
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    for (const char* name : {"Locked", "LockedItself"}) {
        EXPECT_EQ(Access(name), "R-") << name;
        EXPECT_TRUE(Rights(name).isLocked) << name;
        EXPECT_TRUE(Rights(name, NodeRights::Scope::kEver).MayWrite()) << name;
    }
    EXPECT_EQ(Access("Free"), "RW");
}

TEST_F(NodeRightsTest, OfNodesThatAreOnlyComputedAreToRead) {
    Load(
        "<IntSwissKnife Name=\"IntKnife\"><Formula>1</Formula></IntSwissKnife>"
        "<SwissKnife Name=\"Knife\"><Formula>1</Formula></SwissKnife>"
        "<IntConverter Name=\"OneWay\"><FormulaFrom>TO</FormulaFrom><pValue>Reg</pValue>"
        "</IntConverter><Converter Name=\"Both\"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO"
        "</FormulaFrom><pValue>Reg</pValue></Converter><Converter Name=\"OfRo\"><FormulaTo>FROM"
        "</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Ro</pValue></Converter>" +
        GenXml::Enumeration("E", GenXml::Entry("On", 1) + "<Value>1</Value>") +
        GenXml::Register("Reg", 0x100) + GenXml::Register("Ro", 0x100, "RO") +
        "<StructReg Name=\"Struct\"></StructReg><Register Name=\"Register\"><Address>0</Address>"
        "<Length>8</Length><AccessMode>WO</AccessMode><pPort>Device</pPort></Register>");
    for (const char* name : {"IntKnife", "Knife", "OneWay", "OfRo"}) {
        EXPECT_EQ(Access(name), "R-") << name;
    }
    EXPECT_EQ(Access("Both"), "RW");
    EXPECT_EQ(Access("Register"), "-W");
    for (const char* name : {"Struct", "Device"}) {
        EXPECT_EQ(Access(name), "--") << name;
    }
    NodeRights rights;
    EXPECT_TRUE(map->FindRights(Node("E") + 1, NodeRights::Scope::kNow, rights).IsOK());
    EXPECT_TRUE(rights.MayRead());
    EXPECT_FALSE(rights.MayWrite());
}

TEST_F(NodeRightsTest, AreNoneWhereTheyCannotBeFound) {
    Load(GenXml::Integer("Circle", "<pValue>Circle</pValue>") + GenXml::Integer("None", "") +
         GenXml::Integer("Implemented", "<pIsImplemented>Silent</pIsImplemented><Value>1</Value>") +
         GenXml::Integer("Locked", "<pIsLocked>Silent</pIsLocked><Value>1</Value>") +
         GenXml::Integer("Available", "<pIsAvailable>Silent</pIsAvailable><Value>1</Value>") +
         GenXml::Integer("Behind", "<pValue>Locked</pValue>") + GenXml::Register("Silent", 0x100) +
         "<IntReg Name=\"Lost\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
         "<pPort>Nowhere</pPort></IntReg>");
    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    NodeRights rights{.isReadable = false};
    for (const char* name : {"Implemented", "Locked", "Available", "Behind"}) {
        EXPECT_EQ(map->FindRights(Node(name), NodeRights::Scope::kNow, rights).GetCode(),
                  kNxTimeout)
            << name;
    }
    for (const char* name : {"Circle", "None", "Lost"}) {
        EXPECT_FALSE(map->FindRights(Node(name), NodeRights::Scope::kNow, rights).IsOK()) << name;
    }
    EXPECT_FALSE(rights.isReadable);
    EXPECT_EQ(Why("Circle"), "depends on itself");
    EXPECT_EQ(Why("None"), "has no value");
    // Locks and availability are not asked for where only the rest matters.
    for (const char* name : {"Locked", "Available"}) {
        EXPECT_TRUE(Rights(name, NodeRights::Scope::kEver).MayWrite()) << name;
    }
}

}  // namespace
