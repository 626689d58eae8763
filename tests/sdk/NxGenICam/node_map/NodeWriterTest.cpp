#include "node_map/NodeWriter.h"

#include <algorithm>

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

namespace {

class NodeWriterTest : public NodeMapFixture {
  protected:
    std::string WhyNot(const std::string& name, std::int64_t value = 1) {
        return Why(name, Set(name, value));
    }
    std::string WhyNoFloat(const std::string& name, double value = 1) {
        return Why(name, WriteFloat(name, value));
    }
    static std::string Converter(const std::string& name, const std::string& more) {
        return "<Converter Name=\"" + name + "\">" + more + "</Converter>";
    }
    static std::string Float(const std::string& name, const std::string& more) {
        return "<Float Name=\"" + name + "\">" + more + "</Float>";
    }
    static std::string FloatRegister(const std::string& name, const std::string& length,
                                     const std::string& endianess = "BigEndian") {
        return "<FloatReg Name=\"" + name + "\"><Address>0x200</Address><Length>" + length +
               "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>" + endianess +
               "</Endianess></FloatReg>";
    }
    static std::string Field(const std::string& name, const std::string& mode,
                             const std::string& bits, const std::string& address = "0x100") {
        return "<MaskedIntReg Name=\"" + name + "\"><Address>" + address +
               "</Address><Length>4</Length><AccessMode>" + mode +
               "</AccessMode><pPort>Device</pPort>" + bits +
               "<Endianess>BigEndian</Endianess></MaskedIntReg>";
    }
};

TEST_F(NodeWriterTest, SetsIntegersOfEveryKindOfNumber) {
    Load(GenXml::Integer("OfConverter", "<pValue>Half</pValue>") +
         Converter("Half",
                   "<FormulaTo>FROM * 2.5</FormulaTo><FormulaFrom>TO / 2.5</FormulaFrom>"
                   "<pValue>R</pValue>") +
         GenXml::Integer("OfFloat", "<pValue>F</pValue>") + Float("F", "<pValue>FR</pValue>") +
         FloatRegister("FR", "4") + GenXml::Integer("OfFloatRegister", "<pValue>FR</pValue>") +
         GenXml::Register("R", 0x100));
    EXPECT_TRUE(Set("OfConverter", 4).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 10U);
    EXPECT_TRUE(Set("OfFloat", 3).IsOK());
    EXPECT_EQ(Text("FR"), "3");
    EXPECT_TRUE(Set("OfFloatRegister", -2).IsOK());
    EXPECT_EQ(Text("F"), "-2");
}

TEST_F(NodeWriterTest, RoundsWhereAnIntegerIsBehind) {
    Load(Float("F", "<pValue>I</pValue>") + GenXml::Integer("I", "<pValue>R</pValue>") +
         GenXml::Register("R", 0x100) +
         Converter("C",
                   "<FormulaTo>FROM * 1.5</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                   "<pValue>R</pValue>"));
    EXPECT_TRUE(WriteFloat("F", 2.5).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 3U);
    EXPECT_TRUE(WriteFloat("F", 2.4).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 2U);
    EXPECT_TRUE(Set("C", 3).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 5U);
    EXPECT_EQ(WhyNoFloat("I", 1e19), "cannot be set to a number this large");
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    EXPECT_EQ(port->LoadBig(0x100), 5U);
}

TEST_F(NodeWriterTest, SaysWhyANodeCannotBeSet) {
    const std::string both = "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>";
    Load("<SwissKnife Name=\"Knife\"><Formula>1</Formula></SwissKnife>" +
         Converter("OneWay", "<FormulaFrom>TO</FormulaFrom><pValue>One</pValue>") +
         Converter("NoInput", both + "<Value>1</Value>") + Converter("Empty", both) +
         "<Boolean Name=\"On\"><Value>1</Value><OnValue>x</OnValue></Boolean>"
         "<Boolean Name=\"Off\"><Value>1</Value><OffValue>x</OffValue></Boolean>" +
         Float("Indexed", "<pIndex>One</pIndex><ValueDefault>5</ValueDefault>") +
         Float("None", "") + GenXml::Integer("NoInteger", "") +
         "<IntReg Name=\"Lost\"><pAddress>Nowhere</pAddress><Length>4</Length></IntReg>" +
         FloatRegister("F3", "3") + FloatRegister("F9", "9") +
         GenXml::Integer("One", "<Value>1</Value>") + GenXml::StringRegister("Text", 0x300, "8"));
    EXPECT_EQ(WhyNot("Knife"), "cannot be set to a number");
    EXPECT_EQ(WhyNot("Text"), "cannot be set to a number");
    EXPECT_EQ(WhyNot("OneWay"), "is read-only");
    EXPECT_EQ(WhyNoFloat("OneWay"), "is read-only");
    EXPECT_EQ(WhyNot("NoInput"), "is a converter without an input node");
    EXPECT_EQ(WhyNot("Empty"), "has no value");
    EXPECT_EQ(WhyNot("On", 1), "has a malformed number in its description");
    EXPECT_EQ(WhyNot("Off", 0), "has a malformed number in its description");
    EXPECT_EQ(WhyNoFloat("Indexed"), "is read-only");
    EXPECT_EQ(WhyNoFloat("None"), "has no value");
    EXPECT_EQ(WhyNot("NoInteger"), "has no value");
    EXPECT_EQ(WhyNot("Lost"),
              "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
              "\"Nowhere\"");
    EXPECT_EQ(WhyNoFloat("F3"), "is a floating-point number of an unknown size");
    EXPECT_EQ(WhyNoFloat("F9"), "cannot be a number: its register has 9 bytes");
    // What is malformed is asked for only where it is needed.
    EXPECT_TRUE(Set("On", 0).IsOK());
    EXPECT_TRUE(Set("Off", 1).IsOK());
    EXPECT_TRUE(port->log.empty());
}

TEST_F(NodeWriterTest, SaysWhyAConverterFails) {
    Load(Converter("Zero",
                   "<FormulaTo>1 / (FROM - 1)</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                   "<pValue>R</pValue>") +
         "<IntConverter Name=\"Zeros\"><FormulaTo>1 / (FROM - 1)</FormulaTo><FormulaFrom>TO"
         "</FormulaFrom><pValue>R</pValue></IntConverter>" +
         GenXml::Register("R", 0x100));
    for (const char* name : {"Zero", "Zeros"}) {
        EXPECT_EQ(WhyNot(name), "has a formula that cannot be evaluated: it divides by zero");
        EXPECT_TRUE(Set(name, 2).IsOK());
        EXPECT_EQ(port->LoadBig(0x100), 1U);
        port->StoreBig(0x100, 0);
    }
}

TEST_F(NodeWriterTest, EndsWhereNodesAreSetByThemselves) {
    const std::string both = "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>";
    Load(GenXml::Integer("A", "<pValue>B</pValue>") + GenXml::Integer("B", "<pValue>A</pValue>") +
         Float("F", "<pValue>G</pValue>") + Float("G", "<pValue>F</pValue>") +
         Converter("C", both + "<pValue>D</pValue>") + Converter("D", both + "<pValue>C</pValue>") +
         "<IntConverter Name=\"I\">" + both + "<pValue>I</pValue></IntConverter>" +
         GenXml::Integer("Copy", "<Value>1</Value><pValueCopy>Copy</pValueCopy>"));
    for (const char* name : {"A", "F", "C", "I", "Copy"}) {
        EXPECT_EQ(WhyNot(name), "depends on itself") << name;
        EXPECT_EQ(result.GetCode(), kNxBadDescription) << name;
    }
    EXPECT_EQ(WhyNoFloat("F"), "depends on itself");
    EXPECT_EQ(WhyNoFloat("C"), "depends on itself");
}

TEST_F(NodeWriterTest, WritesAHundredRegistersAtMost) {
    const std::string copy = "<pValueCopy>R</pValueCopy>";
    Load(GenXml::Integer("Most", "<pValue>R</pValue>" + Repeat(copy, 99)) +
         GenXml::Integer("TooMany", "<pValue>R</pValue>" + Repeat(copy, 100)) +
         GenXml::Integer("Lost", "<pValue>R</pValue><pValueCopy>Nowhere</pValueCopy>" + copy) +
         GenXml::Integer("Refused", "<pValue>R</pValue><pValueCopy>K</pValueCopy>" + copy) +
         "<IntSwissKnife Name=\"K\"><Formula>1</Formula></IntSwissKnife>" +
         GenXml::Register("R", 0x100));
    EXPECT_TRUE(Set("Most", 1).IsOK());
    EXPECT_EQ(port->log.size(), 100U);
    port->log.clear();
    EXPECT_EQ(Why("R", Set("TooMany", 1)), "is stored in too many registers");
    EXPECT_EQ(port->log.size(), 100U);
    port->log.clear();
    EXPECT_EQ(Why("K", Set("Refused", 1)), "cannot be set to a number");
    EXPECT_EQ(Set("Lost", 1).GetCode(), kNxNodeAccess);
    EXPECT_EQ(port->log.size(), 2U);
}

TEST_F(NodeWriterTest, WritesFloatsInTheOrderOfTheirRegister) {
    Load(FloatRegister("Big", "8") + FloatRegister("Little", "4", "LittleEndian"));
    EXPECT_TRUE(WriteFloat("Big", 1.5).IsOK());
    EXPECT_EQ(port->Load(0x200, 8), std::string("\x3F\xF8\0\0\0\0\0\0", 8));
    EXPECT_TRUE(WriteFloat("Little", -1.5).IsOK());
    EXPECT_EQ(port->Load(0x200, 4), std::string("\0\0\xC0\xBF", 4));
    EXPECT_EQ(Text("Little"), "-1.5");
}

TEST_F(NodeWriterTest, KeepsTheNeighboursOfAFieldOrWritesNothing) {
    Load(Field("F", "RW", "<LSB>31</LSB><MSB>24</MSB>") + Field("Bit", "RW", "<Bit>0</Bit>") +
         Field("Whole", "RW", "<LSB>31</LSB><MSB>0</MSB>"));
    port->StoreBig(0x100, 0x11223344);
    EXPECT_TRUE(Set("F", 0x55).IsOK());
    EXPECT_TRUE(Set("Bit", 1).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 0x91223355U);
    EXPECT_EQ(WhyNot("F", 300), "is too small for the value 300");
    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Set("F", 1).GetCode(), kNxTimeout);
    EXPECT_EQ(port->LoadBig(0x100), 0x91223355U);
    // Nothing of a whole register needs to be kept.
    EXPECT_TRUE(Set("Whole", 7).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 7U);
}

TEST_F(NodeWriterTest, KeepsWhatWasJustWrittenBesideAFieldThatCannotBeRead) {
    Load(Field("Low", "WO", "<LSB>31</LSB><MSB>16</MSB>", "0xB000") +
         Field("High", "WO", "<LSB>15</LSB><MSB>0</MSB>", "0xB000"));
    port->StoreBig(0xB000, 0xFFFFFFFF);
    std::vector expected{std::byte{0x56}, std::byte{0x78}, std::byte{0x12}, std::byte{0x34}};
    for (const bool reverses : {false, true}) {
        RegisterView view{{}};
        EXPECT_TRUE(map->SetInteger(Node("Low"), 0x1234, &view).IsOK());
        EXPECT_TRUE(map->SetInteger(Node("High"), 0x5678, &view).IsOK());
        const auto writes = view.TakeWrites();
        ASSERT_EQ(writes.size(), 2U);
        EXPECT_EQ(writes[1].bytes, expected) << reverses;
        map->Bus().Reverse();
        std::reverse(expected.begin(), expected.end());
    }
    EXPECT_TRUE(port->log.empty());
    EXPECT_TRUE(Set("High", 1).IsOK());
    EXPECT_EQ(port->LoadBig(0xB000), 0x00010000U);
    EXPECT_EQ(port->log.size(), 1U);
}

TEST_F(NodeWriterTest, WritesNothingWhileTheOrderOfBytesIsUnknown) {
    const std::string nodes =
        GenXml::Register("R", 0xB000) + Field("F", "WO", "<LSB>31</LSB><MSB>16</MSB>", "0xB004");
    ASSERT_TRUE(NodeMap::Load(port, GenXml::Description(nodes, 1, 0), map).IsOK());
    port->failure = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Set("R", 1).GetCode(), kNxTimeout);
    RegisterView view{{}};
    EXPECT_EQ(map->SetInteger(Node("F"), 1, &view).GetCode(), kNxTimeout);
    // Each asked for the device's mode once.
    EXPECT_EQ(port->log, std::vector<std::string>(2, "READREG 1"));
    EXPECT_EQ(view.HeldWrites(), 0U);
}

TEST_F(NodeWriterTest, SetsBooleansToTheirValuesOrToOneAndZero) {
    Load(
        "<Boolean Name=\"Plain\"><pValue>R</pValue></Boolean>"
        "<Boolean Name=\"Named\"><pValue>R</pValue><OnValue>5</OnValue><OffValue>3</OffValue>"
        "</Boolean>" +
        GenXml::Register("R", 0x100));
    const auto set = [this](const std::string& name, std::int64_t value) {
        EXPECT_TRUE(Set(name, value).IsOK());
        return port->LoadBig(0x100);
    };
    EXPECT_EQ(set("Plain", 1), 1U);
    EXPECT_EQ(set("Plain", 0), 0U);
    EXPECT_EQ(set("Plain", -7), 1U);
    EXPECT_EQ(set("Named", 1), 5U);
    EXPECT_EQ(set("Named", 0), 3U);
    EXPECT_EQ(set("Named", 2), 5U);
}

TEST_F(NodeWriterTest, WritesTheCopiesOfANodeWhereverTheyStand) {
    Load(GenXml::Integer("A", "<pValueCopy>S</pValueCopy><pValue>R</pValue>") +
         GenXml::Integer("B", "<pValueCopy>T</pValueCopy><pValue>R</pValue>") +
         GenXml::Register("R", 0x100) + GenXml::Register("S", 0x104) +
         GenXml::Register("T", 0x108));
    EXPECT_TRUE(Set("A", 4).IsOK());
    EXPECT_EQ(port->LoadBig(0x100), 4U);
    EXPECT_EQ(port->LoadBig(0x104), 4U);
    EXPECT_EQ(port->LoadBig(0x108), 0U);
}

TEST_F(NodeWriterTest, HoldsTheWritesOfAViewBack) {
    Load(GenXml::Integer("A", "<pValue>R</pValue><pValueCopy>S</pValueCopy>") +
         GenXml::Register("R", 0x100) + GenXml::Register("S", 0x104));
    RegisterView view{{}};
    EXPECT_TRUE(map->SetInteger(Node("A"), 3, &view).IsOK());
    EXPECT_TRUE(port->log.empty());
    EXPECT_EQ(view.HeldWrites(), 2U);
    std::int64_t value = 0;
    EXPECT_TRUE(map->Access(&view).Integer(Node("A"), value).IsOK());
    EXPECT_EQ(value, 3);
}

TEST_F(NodeWriterTest, WritesNoRegisterThatIsNotTheDevicesOwn) {
    const std::string reg =
        "\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>";
    Load("<IntReg Name=\"Chunk" + reg + "<pPort>Chunks</pPort></IntReg><IntReg Name=\"Homeless" +
         reg + "</IntReg><IntReg Name=\"Lost" + reg +
         "<pPort>Nowhere</pPort></IntReg><Port Name=\"Chunks\"><ChunkID>1</ChunkID></Port>");
    for (const char* name : {"Chunk", "Homeless"}) {
        EXPECT_EQ(WhyNot(name), "is not a register of the device itself") << name;
    }
    EXPECT_EQ(WhyNot("Lost"),
              "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
              "\"Nowhere\"");
    EXPECT_TRUE(port->log.empty());
    port->failure = NxResult(kNxTimeout, "nobody answers");
    Load(GenXml::Register("R", 0x100));
    EXPECT_EQ(Set("R", 1).GetCode(), kNxTimeout);
}

}  // namespace
