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

TEST_F(NxGenParameterArrayTest, ExecutesNothingButCommands) {
    Load(
        "<Command Name=\"DeviceReset\"><pValue>R</pValue><CommandValue>7</CommandValue></Command>" +
        GenXml::Register("R", 0x100) + GenXml::Integer("I", "<Value>1</Value>"));
    EXPECT_TRUE(parameters->ExecuteCommand("DeviceReset").IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 7U);
    EXPECT_EQ(parameters->ExecuteCommand("I").GetCode(), kNxNodeAccess);
    EXPECT_EQ(parameters->ExecuteCommand("Gone").GetCode(), kNxNoSuchNode);
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

TEST_F(NxGenParameterArrayTest, FindsAnEntryThatCannotBeSelectedNow) {
    Load(GenXml::Enumeration("Files",
                             GenXml::Entry("Busy", 2, "<pIsAvailable>Ready</pIsAvailable>") +
                                 "<pValue>Reg</pValue>") +
         GenXml::Register("Reg", 0x100) + GenXml::Register("Ready", 0x104));
    NxGenEnumEntry entry;
    EXPECT_TRUE(parameters->GetEnum("Files")->GetEntryByName("Busy", entry).IsOK());
    NxString name;
    EXPECT_TRUE(entry.GetName(name).IsOK());
    EXPECT_STREQ(name.GetAscii(), "Busy");
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
            port->StoreBig(0x4, 0x80000000U);  // a big-endian device
            Load(GenXml::Register("Width", 0x100), schemaMinor);
            port->StoreBig(0x100, 77);
            EXPECT_EQ(Text("Width"), "77");
            port->log.clear();
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

TEST_F(NxGenParameterArrayTest, TurnsWhatALittleEndianDeviceGivesByRegisterCommand) {
    port->StoreBig(0x4, 0);  // a little-endian device
    Load(GenXml::Integer("Width", "<pValue>WidthReg</pValue>") +
             "<IntReg Name=\"WidthReg\"><Address>0x100</Address><Length>4</Length>"
             "<AccessMode>RW</AccessMode><pPort>Device</pPort>"
             "<Endianess>LittleEndian</Endianess></IntReg>",
         0);
    // As the number comes in network order from whichever device.
    port->StoreBig(0x100, 77);
    EXPECT_EQ(Text("Width"), "77");
}

TEST_F(NxGenParameterArrayTest, RefusesTextsThatAreNoDescription) {
    std::string entities = GenXml::Description(GenXml::Integer("A", "<Value>&lol;</Value>"));
    entities.insert(entities.find("<RegisterDescription"),
                    "<!DOCTYPE x [<!ENTITY lol \"1\"><!ENTITY lol2 \"&lol;&lol;\">]>");
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<Group>";
    }
    for (const std::string& xml :
         {entities, std::string("<Other/>"), std::string(1000, '\0'), GenXml::Description(deep),
          std::string("<RegisterDescription/>"), std::string((16U << 20U) + 1, ' ')}) {
        EXPECT_EQ(LoadXml(xml).GetCode(), kNxBadDescription) << xml.substr(0, 200);
    }
}

TEST_F(NxGenParameterArrayTest, RefusesNodesWhoseEvaluationWouldHarmTheProcess) {
    std::string chain;
    std::string bush;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        const std::string next = std::to_string(i + 1);
        chain += GenXml::Integer("C" + number, "<pValue>C" + next + "</pValue>");
        bush += "<IntSwissKnife Name=\"B" + number + "\"><pVariable Name=\"X\">B" + next +
                "</pVariable><pVariable Name=\"Y\">B" + next +
                "</pVariable><Formula>X + Y</Formula></IntSwissKnife>";
    }
    std::string thicket;
    for (int i = 0; i < 40; ++i) {
        const std::string next = i < 39 ? "T" + std::to_string(i + 1) : "One";
        thicket += "<IntSwissKnife Name=\"T" + std::to_string(i) + "\"><pVariable Name=\"X\">" +
                   next + "</pVariable><pVariable Name=\"Y\">" + next +
                   "</pVariable><Formula>X + Y</Formula></IntSwissKnife>";
    }
    const std::string parentheses(100000, '(');
    Load(chain + bush + thicket + GenXml::Integer("One", "<Value>1</Value>") +
         "<IntSwissKnife Name=\"Nest\"><Formula>" + parentheses + "1</Formula></IntSwissKnife>" +
         GenXml::StringRegister("Long", 0x100, "0x7fffffffffff") +
         GenXml::StringRegister("Negative", 0x100, "-1") +
         GenXml::Integer("Ok", "<Value>5</Value>"));
    for (const char* name : {"C0", "B0", "T0", "Nest", "Long", "Negative"}) {
        EXPECT_EQ(Text(name), "untouched") << name;
        EXPECT_FALSE(result.IsOK()) << name;
    }
    // One bad node costs no other.
    EXPECT_EQ(Text("Ok"), "5");
}

TEST_F(NxGenParameterArrayTest, EndsFormulasWithoutAValueInAnErrorOfTheValue) {
    const auto formula = [](const std::string& name, const std::string& text) {
        return "<IntSwissKnife Name=\"" + name +
               "\"><pVariable Name=\"LEAST\">Least</pVariable><pVariable Name=\"MINUS\">Minus"
               "</pVariable><Formula>" +
               text + "</Formula></IntSwissKnife>";
    };
    Load(GenXml::Register("Least", 0x100, "RO") + GenXml::Integer("Minus", "<Value>-1</Value>") +
         formula("Quotient", "(0 - 0x7fffffffffffffff - 1) / MINUS") +
         formula("Remainder", "(0 - 0x7fffffffffffffff - 1) % MINUS") +
         formula("ByZero", "1 % LEAST") + formula("Sum", "0x7fffffffffffffff + 1") +
         formula("Shift", "1 &lt;&lt; 64") + formula("Unfinished", "((1 +") +
         formula("Unknown", "NOBODY + 1") + formula("Lazy", "LEAST = 0 ? 7 : 1 / LEAST"));
    for (const char* name : {"Quotient", "ByZero", "Sum", "Shift", "Unfinished", "Unknown"}) {
        EXPECT_EQ(Text(name), "untouched") << name;
        EXPECT_EQ(result.GetCode(), kNxNodeAccess) << name;
    }
    EXPECT_EQ(Text("Remainder"), "0");
    EXPECT_EQ(Text("Lazy"), "7");
}

TEST_F(NxGenParameterArrayTest, RefusesCirclesThatAreHardToSee) {
    const std::string step = GenXml::Register("I", 0x200);
    const std::vector<std::string> circles = {
        GenXml::Integer("R", "<pValue>B</pValue>") + GenXml::Integer("B", "<pValue>R</pValue>"),
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
        GenXml::Integer("R", "<pValue>R<!-- -->2</pValue>") +
            GenXml::Integer("R2", "<pValue>R<!-- --></pValue>"),
        GenXml::Integer(" R", "<pValue> R</pValue>"),
        GenXml::Integer("R", "<Value>1</Value><pIsAvailable>R2</pIsAvailable>") +
            GenXml::Integer("R2", "<pIsAvailable>R2</pIsAvailable><pValue>R2</pValue>"),
    };
    for (const std::string& circle : circles) {
        Load(circle);
        EXPECT_EQ(Text("R"), "untouched") << circle;
        EXPECT_EQ(result.GetCode(), kNxBadDescription) << circle;
        EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("depends on itself")) << circle;
    }
}

TEST_F(NxGenParameterArrayTest, TakesNoNodeWithoutAName) {
    Load(GenXml::Integer("", "<pValue></pValue>") + GenXml::Integer(" ", "<pValue> </pValue>") +
         GenXml::Integer("Empty", "<pValue></pValue>") +
         GenXml::StringRegister("Model", 0x100, "8") +
         GenXml::Integer("Blank", "<pIsAvailable> </pIsAvailable><Value>1</Value>"));
    for (const char* name : {"", " ", "Empty", "Blank"}) {
        EXPECT_EQ(Text(name), "untouched") << name;
        EXPECT_FALSE(result.IsOK()) << name;
    }
    port->Store(0x100, "Camera");
    EXPECT_EQ(Text("Model"), "Camera");
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

TEST_F(NxGenParameterArrayTest, TakesNoEntryForTheFeatureOfThatName) {
    Load(GenXml::Enumeration("ChunkSelector", GenXml::Entry("Width", 3) + "<Value>3</Value>") +
         GenXml::Integer("Width", "<Value>640</Value>"));
    EXPECT_EQ(Text("Width"), "640");
    EXPECT_EQ(Text("ChunkSelector"), "Width");
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
