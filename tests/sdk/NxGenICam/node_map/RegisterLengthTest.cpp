#include "ParameterArrayFixture.h"

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

using testing::HasSubstr;

namespace {

std::string WithLength(std::string node, const std::string& length) {
    const std::size_t begin = node.find("<Length>");
    const std::string end = "</Length>";
    return node.replace(begin, node.find(end) + end.size() - begin, length);
}

std::string Variable(const std::string& node) {
    return WithLength(node, "<pLength>Size</pLength>");
}

/// Of four bytes at 0x100, if the device's eight bytes at 0x200 say so.
const std::string kVariableRegister = Variable(GenXml::Register("R", 0x100));
const std::string kSizeRegister = WithLength(GenXml::Register("Size", 0x200), "<Length>8</Length>");

class RegisterLengthTest : public ParameterArrayFixture {};

TEST_F(RegisterLengthTest, RefusesATextOfAbsurdLength) {
    Load(Variable(GenXml::StringRegister("Model", 0x100, "8")) + GenXml::Register("Size", 0x200));
    port->StoreBig(0x200, 0xFFFFFFF0U);
    EXPECT_EQ(Text("Model"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
}

TEST_F(RegisterLengthTest, RefusesRegistersOfAbsurdLength) {
    port->hasRegisterCommands = false;  // no byte order to be asked for
    for (const std::string& nodes :
         {WithLength(GenXml::Register("R", 0x100), "<Length>1<!-- -->7000000</Length>"),
          kVariableRegister + GenXml::Integer("Size", "<Value>0x8000000000000000</Value>"),
          kVariableRegister + GenXml::Integer("Size", "<pValue>More</pValue>") +
              GenXml::Integer("More", "<Value>17000000</Value>"),
          kVariableRegister + GenXml::Integer("Size", "<Value>-1</Value>"),
          kVariableRegister + GenXml::Integer("Size", "<Value>9</Value>"),
          kVariableRegister + GenXml::Integer("Size", "<Value>0</Value>")}) {
        Load(nodes);
        EXPECT_EQ(Text("R"), "untouched") << nodes;
        EXPECT_EQ(result.GetCode(), kNxBadDescription) << nodes;
        EXPECT_TRUE(port->log.empty()) << nodes;
    }
}

TEST_F(RegisterLengthTest, RefusesRegistersThatTheDeviceSaysAreOfAbsurdLength) {
    Load(kVariableRegister + kSizeRegister +
         GenXml::Integer("Hidden", "<pIsAvailable>R</pIsAvailable><Value>1</Value>") +
         GenXml::Enumeration("Mode", GenXml::Entry("On", 0, "<pIsImplemented>R</pIsImplemented>") +
                                         "<Value>0</Value>") +
         "<StructReg Comment=\"x\"><Address>0x100</Address><pLength>Size</pLength>"
         "<AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>BigEndian</Endianess>"
         "<StructEntry Name=\"Part\"><LSB>31</LSB><MSB>16</MSB></StructEntry></StructReg>" +
         GenXml::Register("Stepped", 0x300, "RW", "<pIndex pOffset=\"R\">Zero</pIndex>") +
         GenXml::Integer("Zero", "<Value>0</Value>"));
    port->StoreBig(0x100, 7);
    port->StoreBig(0x204, 4);
    EXPECT_EQ(Text("R"), "7");
    EXPECT_EQ(Text("Part"), "7");
    EXPECT_EQ(Text("Hidden"), "1");

    port->StoreBig(0x200, 0x7FFFFFFF);
    for (const char* name : {"R", "Hidden", "Part", "Stepped"}) {
        EXPECT_EQ(Text(name), "untouched") << name;
        EXPECT_EQ(result.GetCode(), kNxBadDescription) << name;
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    testing::AllOf(HasSubstr("192.0.2.7 on eth9"), HasSubstr("16 MiB")));
    }
    // The enumeration itself is in order.
    EXPECT_EQ(Text("Mode"), "On");
    ASSERT_NE(parameters->GetEnum("Mode"), nullptr);
    EXPECT_EQ(parameters->GetEnum("Mode")->GetEntryCount(), 0U);

    port->failedReads[0x200] = NxResult(kNxDeviceError, "BUSY 0x8007");
    EXPECT_EQ(Text("R"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
}

TEST_F(RegisterLengthTest, ReadsARegisterWithTheLengthThatWasChecked) {
    Load(kVariableRegister + Variable(GenXml::StringRegister("Model", 0x104, "8")) + kSizeRegister);
    port->StoreBig(0x100, 7);
    port->Store(0x104, "Name");
    for (const char* name : {"R", "Model"}) {
        int asked = 0;
        port->onRead = [&](std::uint64_t address) {
            if (address == 0x200) {
                port->StoreBig(0x200, asked == 0 ? 0 : 0x7FFFFFFF);
                port->StoreBig(0x204, 4);
                ++asked;
            }
        };
        EXPECT_EQ(Text(name), name == std::string("R") ? "7" : "Name");
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        EXPECT_EQ(asked, 1) << name;
        // The next access asks again.
        EXPECT_EQ(Text(name), "untouched");
        EXPECT_EQ(result.GetCode(), kNxBadDescription);
    }
}

TEST_F(RegisterLengthTest, ChecksLengthsAgainWhenTheEntriesOfAKnownEnumerationAreAsked) {
    Load(kVariableRegister + kSizeRegister +
         GenXml::Enumeration("Mode", GenXml::Entry("On", 0, "<pIsImplemented>R</pIsImplemented>") +
                                         "<Value>0</Value>"));
    port->StoreBig(0x100, 1);
    port->StoreBig(0x204, 4);
    NxGenEnum* mode = parameters->GetEnum("Mode");
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->GetEntryCount(), 1U);

    port->StoreBig(0x200, 0x7FFFFFFF);
    NxGenEnumEntry entry;
    EXPECT_EQ(mode->GetEntryCount(), 0U);
    EXPECT_EQ(mode->GetEntryByIndex(0, entry).GetCode(), kNxBadDescription);
    EXPECT_EQ(mode->GetEntryByName("On", entry).GetCode(), kNxBadDescription);
}

TEST_F(RegisterLengthTest, DoesNotAskAgainForALengthThatCouldNotBeRead) {
    Load(kVariableRegister + kSizeRegister);
    port->StoreBig(0x200, 0x7FFFFFFF);
    port->failedReads[0x200] = NxResult(kNxDeviceError, "BUSY 0x8007");
    int asked = 0;
    port->onRead = [&](std::uint64_t address) {
        if (address == 0x200 && ++asked > 1) {
            port->failedReads.clear();
        }
    };
    EXPECT_EQ(Text("R"), "untouched");
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_EQ(asked, 1);
}

}  // namespace
