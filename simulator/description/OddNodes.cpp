#include "OddNodes.h"

#include <cstdint>
#include <sstream>

namespace simulator {

std::string ExtensionOf(const std::string& node, const std::string& indent) {
    std::istringstream lines(
        "<Extension>\n"
        "  <Page Name=\"" +
        node +
        "\">first</Page>\n"
        "  <Length>as long as it takes</Length>\n"
        "  <Value>seventeen</Value>\n"
        "  <pValue>NoSuchNode</pValue>\n"
        "  <pIsAvailable>NoSuchNode</pIsAvailable>\n"
        "  <Integer Name=\"" +
        node +
        "\" NameSpace=\"Standard\">\n"
        "    <Value>17</Value>\n"
        "  </Integer>\n"
        "  <EnumEntry Name=\"Extended\"><Value>1</Value></EnumEntry>\n"
        "  <v:Layout xmlns:v=\"urn:example:viewer\" v:Name=\"" +
        node +
        "\" Name=\"Layout\"><v:Formula>1 / 0</v:Formula><Address/></v:Layout>\n"
        "</Extension>\n");
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += indent + line + "\n";
    }
    return text;
}

std::string OddNodes() {
    return R"(  <Category Name="OddControl" NameSpace="Custom">
    <pFeature>OddInteger</pFeature>
    <pFeature>NoSuchFeature</pFeature>
    <Flavour>sour</Flavour>
  </Category>
  <HyperRegister Name="OddKind" NameSpace="Custom">
    <Factor>9</Factor>
    <pFactor>NoSuchNode</pFactor>
  </HyperRegister>
  <Integer Name="OddInteger" NameSpace="Custom">
    <Flavour Name="OddInteger">sour</Flavour>
    <Value>1</Value>
  </Integer>
  <Integer Name="OddReference">
    <pValue>NoSuchNode</pValue>
    <pIsLocked>NoSuchNode</pIsLocked>
  </Integer>
  <Integer Name="OddCircle">
    <pValue>OddCircle</pValue>
  </Integer>
  <Integer Name="OddTwice"><Value>1</Value></Integer>
  <Integer Name="OddTwice"><Value>2</Value></Integer>
  <Enumeration Name="OddEnumeration">
    <EnumEntry Name="First"><Value>zero</Value></EnumEntry>
    <EnumEntry Name="Second"><pIsImplemented>NoSuchNode</pIsImplemented><Value>1</Value></EnumEntry>
    <pValue>NoSuchReg</pValue>
  </Enumeration>
  <IntSwissKnife Name="OddQuotient">
    <pVariable Name="ZERO">OddZero</pVariable>
    <Formula>1 / ZERO</Formula>
  </IntSwissKnife>
  <IntSwissKnife Name="OddRemainder">
    <pVariable Name="ZERO">OddZero</pVariable>
    <Formula>1 % ZERO</Formula>
  </IntSwissKnife>
  <IntSwissKnife Name="OddFormula">
    <pVariable Name="X">NoSuchNode</pVariable>
    <Formula>(X + ) ? :</Formula>
  </IntSwissKnife>
  <Integer Name="OddZero"><Value>0</Value></Integer>
  <Register Name="OddLength">
    <Address>0x10000</Address>
    <Length>0xffffffffffff</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
  </Register>
  <IntReg Name="OddPort">
    <Address>nowhere</Address>
    <Length>3</Length>
    <AccessMode>RX</AccessMode>
    <pPort>NoSuchPort</pPort>
    <Endianess>MiddleEndian</Endianess>
  </IntReg>
)";
}

std::string FurtherNodes(std::size_t bytes) {
    constexpr std::uint32_t kFirstAddress = 0x40000000;
    std::ostringstream text;
    for (std::uint32_t i = 0; text.tellp() < static_cast<std::streamoff>(bytes); ++i) {
        text << "  <Integer Name=\"Correction" << i << R"(" NameSpace="Custom">
    <ToolTip>Correction value number )"
             << i << R"( of the sensor</ToolTip>
    <Description>Written at the factory; changing it needs a calibration of the camera.</Description>
    <DisplayName>Correction )"
             << i << R"(</DisplayName>
    <Visibility>Guru</Visibility>
    <pValue>Correction)"
             << i << R"(Reg</pValue>
    <Min>0</Min>
    <Max>65535</Max>
  </Integer>
  <MaskedIntReg Name="Correction)"
             << i << R"(Reg" NameSpace="Custom">
    <Address>)"
             << kFirstAddress + 4 * i << R"(</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <LSB>15</LSB>
    <MSB>0</MSB>
    <Sign>Unsigned</Sign>
    <Endianess>LittleEndian</Endianess>
  </MaskedIntReg>
)";
    }
    return text.str();
}

}  // namespace simulator
