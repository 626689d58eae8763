#include <NxGenICam/NxGenParameterArray.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>

#include "ParameterArrayFixture.h"

using testing::HasSubstr;
using testing::StrEq;

namespace {

class NxGenParameterArrayTest : public ParameterArrayFixture {};

TEST_F(NxGenParameterArrayTest, ReadsATextThatFillsItsRegister) {
    Load(GenXml::StringRegister("Model", 0x100, "8"));
    port->Store(0x100, "12345678rest");
    EXPECT_EQ(Text("Model"), "12345678");
    EXPECT_TRUE(result.IsOK());
}

TEST_F(NxGenParameterArrayTest, LeavesTheValueAloneWhenATextCannotBeRead) {
    Load(GenXml::StringRegister("Model", 0x100, "8"));
    port->failure = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Text("Model"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(), StrEq("nobody answers"));
}

TEST_F(NxGenParameterArrayTest, ReadsNumbersAndBooleansAsTexts) {
    Load(GenXml::Register("Width", 0x100) + GenXml::Integer("Height", "<pValue>Width</pValue>") +
         "<Boolean Name=\"Flag\"><pValue>FlagReg</pValue></Boolean>" +
         GenXml::Register("FlagReg", 0x104) +
         "<SwissKnife Name=\"Half\"><pVariable Name=\"W\">Width</pVariable>"
         "<Formula>W / 2.0</Formula></SwissKnife>");
    port->StoreBig(0x100, 641);
    port->StoreBig(0x104, 1);
    EXPECT_EQ(Text("Width"), "641");
    EXPECT_EQ(Text("Height"), "641");
    EXPECT_EQ(Text("Flag"), "true");
    EXPECT_EQ(Text("Half"), "320.5");
}

TEST_F(NxGenParameterArrayTest, ReadsAnEnumerationWithoutThePrefixOfItsEntries) {
    Load(GenXml::Enumeration("Mode", GenXml::Entry("EnumEntry_Mode_On", 1) +
                                         GenXml::Entry("Off", 0) + "<pValue>ModeReg</pValue>") +
         GenXml::Register("ModeReg", 0x100));
    port->StoreBig(0x100, 1);
    EXPECT_EQ(Text("Mode"), "On");
    port->StoreBig(0x100, 0);
    EXPECT_EQ(Text("Mode"), "Off");
    port->StoreBig(0x100, 7);
    EXPECT_EQ(Text("Mode"), "untouched");
    EXPECT_FALSE(result.IsOK());
}

TEST_F(NxGenParameterArrayTest, RefusesNodesThatCannotBeRead) {
    Load(GenXml::Register("Secret", 0x100, "WO") + "<Category Name=\"Root\"></Category>");
    EXPECT_EQ(Text("Nonsense"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    EXPECT_EQ(Text("Secret"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    EXPECT_EQ(Text("Root"), "untouched");
    EXPECT_FALSE(result.IsOK());
}

TEST_F(NxGenParameterArrayTest, NamesTheDeviceInEveryFailure) {
    const std::string nodes =
        GenXml::Register("Secret", 0x100, "WO") + "<Category Name=\"Root\"></Category>" +
        GenXml::Integer("Away", "<pIsAvailable>Never</pIsAvailable><Value>1</Value>") +
        GenXml::Integer("Never", "<Value>0</Value>") +
        GenXml::Enumeration("Mode", GenXml::Entry("On", 1) + "<pValue>ModeReg</pValue>") +
        GenXml::Register("ModeReg", 0x200) + GenXml::StringRegister("Long", 0x300, "0x200000");
    Load(nodes);
    for (const char* name : {"Nonsense", "Secret", "Root", "Away", "Mode", "Long"}) {
        EXPECT_EQ(Text(name), "untouched") << name;
        EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("192.0.2.7 on eth9")) << name;
    }
    NxGenEnum* mode = parameters->GetEnum("Mode");
    ASSERT_NE(mode, nullptr);
    NxGenEnumEntry entry;
    EXPECT_THAT(mode->GetEntryByIndex(1, entry).GetDescription().GetAscii(),
                StrEq("Mode of 192.0.2.7 on eth9 has no entry 1; it has 1"));
    EXPECT_THAT(mode->GetEntryByName("Off", entry).GetDescription().GetAscii(),
                StrEq("192.0.2.7 on eth9 has no entry Off in its Mode"));
    EXPECT_THAT(LoadXml("").GetDescription().GetAscii(),
                StrEq("The GenICam description of 192.0.2.7 on eth9 cannot be used: it is empty"));
}

TEST_F(NxGenParameterArrayTest, TreatsANodeThatIsNotImplementedAsAbsent) {
    Load(GenXml::Enumeration("Mode", "<pIsImplemented>Has</pIsImplemented>" +
                                         GenXml::Entry("On", 1) + "<pValue>ModeReg</pValue>") +
         GenXml::Register("ModeReg", 0x100) + GenXml::Register("Has", 0x104));
    EXPECT_EQ(parameters->GetEnum("Mode"), nullptr);
    EXPECT_EQ(Text("Mode"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    port->StoreBig(0x104, 1);
    EXPECT_NE(parameters->GetEnum("Mode"), nullptr);
}

TEST_F(NxGenParameterArrayTest, ListsImplementedEntriesInTheOrderOfTheXml) {
    Load(GenXml::Enumeration(
             "Files", GenXml::Entry("EnumEntry_Files_First", 3) +
                          GenXml::Entry("Hidden", 2, "<pIsImplemented>Has</pIsImplemented>") +
                          GenXml::Entry("Last", 1) + "<pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100) + GenXml::Register("Has", 0x104));
    NxGenEnum* files = parameters->GetEnum("Files");
    ASSERT_NE(files, nullptr);
    EXPECT_EQ(files->GetEntryCount(), 2U);
    EXPECT_EQ(EntryName("Files", 0), "First");
    EXPECT_EQ(EntryName("Files", 1), "Last");
    EXPECT_EQ(EntryName("Files", 2), "untouched");
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    NxGenEnumEntry entry;
    EXPECT_FALSE(files->GetEntryByName("Hidden", entry).IsOK());
    EXPECT_TRUE(files->GetEntryByName("First", entry).IsOK());
    port->StoreBig(0x104, 1);
    EXPECT_EQ(EntryName("Files", 1), "Hidden");
}

TEST_F(NxGenParameterArrayTest, ShowsAnEntrysNameWhereItHasNoDisplayName) {
    Load(
        GenXml::Enumeration("Load", GenXml::Entry("A", 0, "<DisplayName>BackupLoad</DisplayName>") +
                                        GenXml::Entry("B", 1) + "<Value>0</Value>"));
    NxGenEnum* loads = parameters->GetEnum("Load");
    ASSERT_NE(loads, nullptr);
    NxGenEnumEntry entry;
    NxString text;
    EXPECT_FALSE(entry.GetDisplayName(text).IsOK());
    ASSERT_TRUE(loads->GetEntryByIndex(0, entry).IsOK());
    EXPECT_TRUE(entry.GetDisplayName(text).IsOK());
    EXPECT_THAT(text.GetAscii(), StrEq("BackupLoad"));
    ASSERT_TRUE(loads->GetEntryByIndex(1, entry).IsOK());
    EXPECT_TRUE(entry.GetDisplayName(text).IsOK());
    EXPECT_THAT(text.GetAscii(), StrEq("B"));
}

TEST_F(NxGenParameterArrayTest, HasNoEnumerationOfAnotherKindOfNode) {
    Load(GenXml::Register("Width", 0x100));
    EXPECT_EQ(parameters->GetEnum("Width"), nullptr);
    EXPECT_EQ(parameters->GetEnum("Nonsense"), nullptr);
}

TEST_F(NxGenParameterArrayTest, SeesWhatTheDeviceChangedMeanwhile) {
    Load(GenXml::Register("Width", 0x100));
    port->StoreBig(0x100, 1);
    EXPECT_EQ(Text("Width"), "1");
    port->StoreBig(0x100, 2);
    EXPECT_EQ(Text("Width"), "2");
}

TEST_F(NxGenParameterArrayTest, UsesRegisterCommandsForDescriptionsBelowSchemaOneOne) {
    for (const int schemaMinor : {0, 1}) {
        for (const bool hasRegisterCommands : {false, true}) {
            port->hasRegisterCommands = hasRegisterCommands;
            port->log.clear();
            Load(GenXml::Register("Width", 0x100), schemaMinor);
            port->StoreBig(0x100, 77);
            EXPECT_EQ(Text("Width"), "77");
            EXPECT_THAT(port->log, testing::ElementsAre(schemaMinor == 0 && hasRegisterCommands
                                                            ? "READREG 1"
                                                            : "READMEM 4"));
        }
    }
}

TEST_F(NxGenParameterArrayTest, RefusesADescriptionThatIsCutShortAnywhere) {
    const std::string whole = GenXml::Description(GenXml::Register("Width", 0x100));
    ASSERT_TRUE(LoadXml(whole).IsOK());
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        EXPECT_EQ(LoadXml(whole.substr(0, length)).GetCode(), kNxBadDescription) << length;
    }
}

TEST_F(NxGenParameterArrayTest, RefusesDescriptionsThatWouldHarmTheProcess) {
    const std::string circle =
        GenXml::Integer("A", "<pValue>B</pValue>") + GenXml::Integer("B", "<pValue>A</pValue>");
    EXPECT_THAT(LoadXml(GenXml::Description(circle)).GetDescription().GetAscii(),
                HasSubstr("depends on itself"));
    std::string chain;
    for (int i = 0; i < 1000; ++i) {
        chain += GenXml::Integer("N" + std::to_string(i),
                                 "<pValue>N" + std::to_string(i + 1) + "</pValue>");
    }
    EXPECT_EQ(LoadXml(GenXml::Description(chain)).GetCode(), kNxBadDescription);
    std::string bush;
    for (int i = 0; i < 40; ++i) {
        const std::string next = "N" + std::to_string(i + 1);
        bush += "<IntSwissKnife Name=\"N" + std::to_string(i) + "\"><pVariable Name=\"X\">" + next +
                "</pVariable><pVariable Name=\"Y\">" + next +
                "</pVariable><Formula>X + Y</Formula></IntSwissKnife>";
    }
    EXPECT_EQ(LoadXml(GenXml::Description(bush)).GetCode(), kNxBadDescription);
    EXPECT_EQ(LoadXml(GenXml::Description(GenXml::StringRegister("Model", 0x100, "0x7fffffffffff")))
                  .GetCode(),
              kNxBadDescription);
    EXPECT_EQ(LoadXml(GenXml::Description(GenXml::StringRegister("Model", 0x100, "-1"))).GetCode(),
              kNxBadDescription);
    std::string entities = GenXml::Description(GenXml::Integer("A", "<Value>&lol;</Value>"));
    entities.insert(entities.find("<RegisterDescription"),
                    "<!DOCTYPE x [<!ENTITY lol \"1\"><!ENTITY lol2 \"&lol;&lol;\">]>");
    EXPECT_EQ(LoadXml(entities).GetCode(), kNxBadDescription);
    EXPECT_EQ(LoadXml("<Other/>").GetCode(), kNxBadDescription);
    EXPECT_EQ(LoadXml(std::string(1000, '\0')).GetCode(), kNxBadDescription);
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<Group>";
    }
    EXPECT_EQ(LoadXml(GenXml::Description(deep)).GetCode(), kNxBadDescription);
}

TEST_F(NxGenParameterArrayTest, RefusesCirclesThatAreHardToSee) {
    const std::string step = GenXml::Register("I", 0x200);
    const std::vector<std::string> circles = {
        // The step of an index is the register itself.
        GenXml::Register("R", 0x100, "RW", "<pIndex pOffset=\"R\">I</pIndex>") + step,
        GenXml::Register("R", 0x100, "RW", "<pIndex pOffset=\"S\">I</pIndex>") + step +
            GenXml::Integer("S", "<pValue>R</pValue>"),
        // The register that an entry is a part of lies where the entry says.
        "<StructReg Comment=\"x\"><Address>0x100</Address><Length>4</Length>"
        "<AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>BigEndian</Endianess>"
        "<StructEntry Name=\"R\"><LSB>31</LSB><MSB>0</MSB></StructEntry>"
        "<pAddress>R</pAddress></StructReg>",
        // Names in pieces, and with space around them.
        GenXml::Integer("R1", "<pValue>R<!-- -->2</pValue>") +
            GenXml::Integer("R2", "<pValue>R<!-- -->1</pValue>"),
        GenXml::Integer(" R", "<pValue> R</pValue>"),
    };
    for (const std::string& circle : circles) {
        const NxResult refused = LoadXml(GenXml::Description(circle));
        EXPECT_EQ(refused.GetCode(), kNxBadDescription) << circle;
        EXPECT_THAT(refused.GetDescription().GetAscii(), HasSubstr("depends on itself")) << circle;
    }
}

TEST_F(NxGenParameterArrayTest, ReadsEntriesOfAStructureAndIndicesWithASteppingNode) {
    Load(
        "<StructReg Comment=\"x\"><Address>0x100</Address><pAddress>Base</pAddress>"
        "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
        "<Endianess>BigEndian</Endianess>"
        "<StructEntry Name=\"High\"><LSB>15</LSB><MSB>0</MSB></StructEntry>"
        "<StructEntry Name=\"Low\"><LSB>31</LSB><MSB>16</MSB></StructEntry></StructReg>" +
        GenXml::Integer("Base", "<Value>0x40</Value>") +
        GenXml::Register("R", 0x200, "RW", "<pIndex pOffset=\"Step\">Index</pIndex>") +
        GenXml::Register("Step", 0x300) + GenXml::Register("Index", 0x304));
    port->StoreBig(0x140, 0x00030007);
    EXPECT_EQ(Text("High"), "3");
    EXPECT_EQ(Text("Low"), "7");
    port->StoreBig(0x300, 8);
    port->StoreBig(0x304, 2);
    port->StoreBig(0x210, 99);
    EXPECT_EQ(Text("R"), "99");
}

TEST_F(NxGenParameterArrayTest, AcceptsAnEntryThatIsNamedLikeItsEnumeration) {
    Load(GenXml::Enumeration("Test", GenXml::Entry("Test", 0) + "<pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100));
    EXPECT_EQ(Text("Test"), "Test");
}

TEST_F(NxGenParameterArrayTest, LetsNoLibraryPrint) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(LoadXml("<RegisterDescription><unclosed>").IsOK());
    Load(GenXml::Integer("Dangling", "<pValue>Nowhere</pValue>") +
         "<IntSwissKnife Name=\"Broken\"><Formula>((1 +</Formula></IntSwissKnife>" +
         GenXml::Enumeration("Mode", GenXml::Entry("On", 1) + "<pValue>Gone</pValue>"));
    (void)Text("Broken");
    (void)Text("Dangling");
    (void)Text("Mode");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
