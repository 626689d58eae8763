#include "node_map/NodeValues.h"

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

using testing::ElementsAre;
using testing::StrEq;

namespace {

class NodeValuesTest : public NodeMapFixture {
  protected:
    NodeValuesTest() { port->hasRegisterCommands = false; }  // no byte order to be asked for

    /// "4294967295", or why not.
    std::string Bound(NxResult (NodeValues::*find)(NodeMap::Id, std::int64_t&),
                      const std::string& name) {
        NodeValues values = map->Access();
        std::int64_t bound = -1;
        result = (values.*find)(Node(name), bound);
        return result.IsOK() ? std::to_string(bound) : Why(name, result);
    }
    std::string Maximum(const std::string& name) { return Bound(&NodeValues::Maximum, name); }
    std::string Minimum(const std::string& name) { return Bound(&NodeValues::Minimum, name); }
    std::string Increment(const std::string& name) { return Bound(&NodeValues::Increment, name); }
    std::string Integer(const std::string& name) { return Bound(&NodeValues::Integer, name); }
    std::string WhyNoFloat(const std::string& name) {
        double value = 0;
        return Why(name, map->Access().Float(Node(name), value));
    }
    std::string WhyNoText(const std::string& name) {
        std::string text;
        return Why(name, map->Access().Text(Node(name), text));
    }

    static std::string Knife(const std::string& name, const std::string& variables,
                             const std::string& formula) {
        return "<IntSwissKnife Name=\"" + name + "\">" + variables + "<Formula>" + formula +
               "</Formula></IntSwissKnife>";
    }
    static std::string Variable(const std::string& name, const std::string& node) {
        return "<pVariable Name=\"" + name + "\">" + node + "</pVariable>";
    }
};

TEST_F(NodeValuesTest, ReadConstantsAsTheirNodeMeansThem) {
    Load(GenXml::Integer("Hex", "<Value>0x10</Value>") +
         GenXml::Integer("Fraction", "<Value>1.9</Value>") +
         "<Float Name=\"Float\"><Value>-0.5</Value></Float>"
         "<Boolean Name=\"True\"><Value>true</Value></Boolean>"
         "<Boolean Name=\"False\"><Value>false</Value></Boolean>"
         "<Boolean Name=\"TrueAsFive\"><Value>true</Value><OnValue>5</OnValue></Boolean>"
         "<Boolean Name=\"One\"><Value>1</Value></Boolean>"
         "<Boolean Name=\"Zero\"><Value>0</Value></Boolean>"
         "<Boolean Name=\"On\"><Value>5</Value><OnValue>5</OnValue></Boolean>"
         "<Boolean Name=\"Off\"><Value>1</Value><OnValue>5</OnValue></Boolean>"
         "<String Name=\"String\"><Value>some text</Value></String>");
    EXPECT_EQ(Text("Hex"), "16");
    EXPECT_EQ(Text("Fraction"), "1");
    EXPECT_EQ(Text("Float"), "-0.5");
    for (const char* name : {"True", "TrueAsFive", "One", "On"}) {
        EXPECT_EQ(Text(name), "true") << name;
        EXPECT_EQ(Integer(name), "1") << name;
    }
    for (const char* name : {"False", "Zero", "Off"}) {
        EXPECT_EQ(Text(name), "false") << name;
        EXPECT_EQ(Integer(name), "0") << name;
    }
    EXPECT_EQ(Text("String"), "some text");
}

TEST_F(NodeValuesTest, AreWhatTheNodesBehindGive) {
    port->StoreBig(0x100, 6);
    port->Store(0x200, std::string("Camera\0rest", 11));
    Load(GenXml::Register("R", 0x100) + "<Float Name=\"OfRegister\"><pValue>R</pValue></Float>" +
         GenXml::Integer("OfFloat", "<pValue>Float</pValue>") +
         "<Float Name=\"Float\"><pValue>Inner</pValue></Float>"
         "<Float Name=\"Inner\"><Value>-2.75</Value></Float>"
         "<String Name=\"S\"><pValue>Outer</pValue></String>"
         "<String Name=\"Outer\"><pValue>Text</pValue></String>" +
         GenXml::StringRegister("Text", 0x200, "11"));
    EXPECT_EQ(Text("OfRegister"), "6");
    EXPECT_EQ(Text("Float"), "-2.75");
    EXPECT_EQ(Text("OfFloat"), "-2");
    EXPECT_EQ(Text("S"), "Camera");
    for (const unsigned int address : {0x100U, 0x200U}) {
        port->failedReads[address] = NxResult(kNxTimeout, "nobody answers");
    }
    for (const char* name : {"OfRegister", "S"}) {
        EXPECT_EQ(Why(name), "nobody answers");
        EXPECT_EQ(result.GetCode(), kNxTimeout);
    }
}

TEST_F(NodeValuesTest, SayWhatIsWrongWithTheirNode) {
    const std::string wrong = "<Value>abc</Value>";
    Load(GenXml::Integer("None", "") + GenXml::Integer("Word", wrong) +
         GenXml::Integer("Huge", "<Value>1e30</Value>") +
         GenXml::Integer("True", "<Value>true</Value>") + "<Float Name=\"Float\">" + wrong +
         "</Float><Boolean Name=\"Flag\"><Value>1</Value><OnValue>x</OnValue></Boolean>"
         "<SwissKnife Name=\"Knife\"></SwissKnife><IntSwissKnife Name=\"IntKnife\"></IntSwissKnife>"
         "<Converter Name=\"Converter\"><pValue>One</pValue></Converter>"
         "<IntConverter Name=\"IntConverter\"><pValue>One</pValue></IntConverter>"
         "<Converter Name=\"NoInput\"><Value>1</Value><FormulaFrom>TO</FormulaFrom></Converter>" +
         GenXml::Integer("Index",
                         "<pIndex>One</pIndex><ValueIndexed Index=\"0\">5</ValueIndexed>"
                         "<ValueIndexed Index=\"x\">5</ValueIndexed>") +
         GenXml::Integer("Next", "<ValueDefault>5</ValueDefault>") +
         "<Float Name=\"NoFloat\"></Float><String Name=\"NoText\"></String>" +
         GenXml::Integer("Undefined", "<pValue>Nowhere</pValue>") +
         GenXml::Integer("LostIndex", "<pIndex>Nowhere</pIndex><ValueDefault>1</ValueDefault>") +
         GenXml::Integer("One", "<Value>1</Value>") +
         "<Command Name=\"Command\"><pValue>R</pValue></Command>" + GenXml::Register("R", 0x100));
    for (const char* name : {"Word", "Huge", "True", "Float", "Flag"}) {
        EXPECT_EQ(Why(name), "has a malformed number in its description") << name;
    }
    for (const char* name : {"Knife", "IntKnife", "Converter", "IntConverter"}) {
        EXPECT_EQ(Why(name), "has no formula") << name;
    }
    EXPECT_EQ(Why("None"), "has no value");
    EXPECT_EQ(WhyNoFloat("NoFloat"), "has no value");
    EXPECT_EQ(WhyNoText("NoText"), "has no value");
    EXPECT_EQ(Why("NoInput"), "is a converter without an input node");
    EXPECT_EQ(Why("Index"), "has no value for the index 1");
    EXPECT_EQ(Why("Command"), "is neither a string nor a number");
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    for (const char* name : {"Undefined", "LostIndex"}) {
        EXPECT_EQ(Why(name),
                  "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
                  "\"Nowhere\"");
        EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    }
}

TEST_F(NodeValuesTest, SayWhichNodeBehindIsOfTheWrongKind) {
    Load(GenXml::Integer("OfString", "<pValue>Text</pValue>") +
         "<String Name=\"OfInteger\"><pValue>One</pValue></String>"
         "<Float Name=\"FloatOfString\"><pValue>Text</pValue></Float>" +
         GenXml::StringRegister("Text", 0x100, "4") + GenXml::Integer("One", "<Value>1</Value>") +
         GenXml::Integer("OfHuge", "<pValue>Huge</pValue>") +
         "<Float Name=\"Huge\"><Value>1e30</Value></Float>" +
         GenXml::Integer("OfWord", "<pValue>Word</pValue>") +
         "<Float Name=\"Word\"><Value>x</Value></Float><Converter Name=\"Converted\">"
         "<FormulaFrom>TO</FormulaFrom><pValue>Word</pValue></Converter>");
    const std::string begin = "The GenICam feature ";
    EXPECT_EQ(Why("OfString"), begin + "Text of 192.0.2.7 on eth9 is not a number");
    EXPECT_EQ(Why("FloatOfString"), begin + "Text of 192.0.2.7 on eth9 is not a number");
    EXPECT_EQ(Why("OfInteger"), begin + "One of 192.0.2.7 on eth9 is not a string");
    const std::string malformed =
        begin + "Word of 192.0.2.7 on eth9 has a malformed number in its description";
    EXPECT_EQ(Why("OfWord"), malformed);
    EXPECT_EQ(Why("Converted"), malformed);
    EXPECT_EQ(Why("OfHuge"), begin + "Huge of 192.0.2.7 on eth9 has a value that is too large");
    EXPECT_EQ(Text("Huge"), "1e+30");
}

TEST_F(NodeValuesTest, NameTheEnumerationOfAnEntryWithoutAName) {
    Load(
        GenXml::Enumeration("E",
                            "<EnumEntry Name=\"Named\"></EnumEntry>"
                            "<EnumEntry><Symbolic>Unnamed</Symbolic></EnumEntry><Value>0</Value>") +
        "<StructReg Name=\"S\"><Address>0x100</Address><Length>4</Length>"
        "<AccessMode>RO</AccessMode><pPort>Device</pPort>"
        "<StructEntry Name=\"Part\"><LSB>32</LSB><MSB>32</MSB></StructEntry></StructReg>");
    EXPECT_EQ(Why("Named", map->WriteEntry("E", "Named")), "has an entry without a value");
    EXPECT_EQ(Why("E", map->WriteEntry("E", "Unnamed")), "has an entry without a value");
    EXPECT_EQ(Why("Part"), "cannot be a number: its register has 4 bytes");
    EXPECT_EQ(Why("E"), "has the value 0, which matches none of its entries");
}

TEST_F(NodeValuesTest, TakeTheDefaultOfAnIndexWhereverItStands) {
    Load(
        "<Integer Name=\"A\"><ValueDefault>-7</ValueDefault>"
        "<ValueIndexed Index=\"1\">10</ValueIndexed><ValueIndexed Index=\"1\">11</ValueIndexed>"
        "<pIndex>I</pIndex></Integer>"
        "<Integer Name=\"B\"><pIndex>I</pIndex><pValueDefault>D</pValueDefault></Integer>" +
        GenXml::Integer("I", "<Value>1</Value>") + GenXml::Integer("D", "<Value>9</Value>"));
    EXPECT_EQ(Text("A"), "10");
    EXPECT_EQ(Text("B"), "9");
    EXPECT_TRUE(map->WriteInteger("I", 2).IsOK());
    EXPECT_EQ(Text("A"), "-7");
    // What the description says for each index is not the user's to change.
    EXPECT_EQ(Access("A"), "R-");
    EXPECT_EQ(Access("B"), "RW");
    EXPECT_EQ(Why("A", Set("A", 5)), "is read-only");
    EXPECT_EQ(Text("A"), "-7");
}

TEST_F(NodeValuesTest, LimitTextsToOneMebibyte) {
    Load(GenXml::StringRegister("Longest", 0x100, "0x100000") +
         GenXml::StringRegister("TooLong", 0x100, "0x100001") +
         "<String Name=\"A\"><pValue>B</pValue></String>"
         "<String Name=\"B\"><pValue>A</pValue></String>");
    port->Store(0x100, "Camera");
    EXPECT_EQ(Text("Longest"), "Camera");
    EXPECT_EQ(Why("TooLong"),
              "192.0.2.7 on eth9 has a string of 1048577 bytes; the limit is 1 MiB");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(WhyNoText("A"), "depends on itself");
}

TEST_F(NodeValuesTest, HaveTheLimitsThatTheirNodesState) {
    Load(GenXml::Integer("Own", "<Value>5</Value><Min>-3</Min><Max>9</Max><Inc>2</Inc>") +
         GenXml::Integer("Linked",
                         "<Value>5</Value><Min>1</Min><pMin>Own</pMin><pMax>Own</pMax>"
                         "<pInc>Own</pInc>") +
         GenXml::Integer("Free", "<Value>5</Value>") +
         GenXml::Integer("Broken", "<Value>5</Value><Min>x</Min><Max>x</Max><Inc>x</Inc>"));
    EXPECT_EQ(Minimum("Own"), "-3");
    EXPECT_EQ(Maximum("Own"), "9");
    EXPECT_EQ(Increment("Own"), "2");
    for (const auto& bound : {Minimum("Linked"), Maximum("Linked"), Increment("Linked")}) {
        EXPECT_EQ(bound, "5");
    }
    EXPECT_EQ(Minimum("Free"), "0");
    EXPECT_EQ(Increment("Free"), "1");
    EXPECT_EQ(Maximum("Free"), "has no maximum");
    for (const auto& bound : {Minimum("Broken"), Maximum("Broken"), Increment("Broken")}) {
        EXPECT_EQ(bound, "has a malformed number in its description");
    }
}

TEST_F(NodeValuesTest, AreLimitedByTheBitsOfTheirRegister) {
    const auto reg = [](const std::string& name, const std::string& length,
                        const std::string& more) {
        return "<MaskedIntReg Name=\"" + name + "\"><pAddress>Nowhere</pAddress><Length>" + length +
               "</Length><pPort>Device</pPort>" + more + "</MaskedIntReg>";
    };
    // Where the register lies does not matter.
    Load(reg("Whole", "2", "") + reg("Signed", "2", "<Sign>Signed</Sign>") +
         reg("Field", "4", "<LSB>3</LSB><MSB>7</MSB>") + reg("Wide", "9", "") +
         GenXml::Integer("A", "<pValue>B</pValue>") +
         GenXml::Integer("B", "<pValue>Whole</pValue>") +
         GenXml::Enumeration("E", "<pValue>Whole</pValue>") +
         GenXml::Integer("Lost", "<pValue>Nowhere</pValue>") +
         "<Float Name=\"F\"><pValue>Whole</pValue></Float><IntReg Name=\"Endless\"></IntReg>");
    EXPECT_EQ(Maximum("Whole"), "65535");
    EXPECT_EQ(Maximum("Signed"), "32767");
    EXPECT_EQ(Maximum("Field"), "31");
    EXPECT_EQ(Maximum("A"), "65535");
    EXPECT_EQ(Maximum("Wide"), "cannot be a number: its register has 9 bytes");
    EXPECT_EQ(Maximum("Endless"), "is a register without a length");
    for (const char* name : {"E", "Lost", "F"}) {
        EXPECT_EQ(Maximum(name), "has no maximum") << name;
    }
}

TEST_F(NodeValuesTest, EndWhereALimitOrAFloatDependsOnItself) {
    Load(
        "<Float Name=\"F\"><pValue>G</pValue></Float><Float Name=\"G\"><pValue>F</pValue></Float>" +
        GenXml::Integer("A", "<Value>1</Value><pMax>K</pMax>") +
        Knife("K", Variable("A.Max", "A"), "A.Max") +
        // Its own value does not limit it.
        GenXml::Integer("B", "<Value>4</Value><pMax>B</pMax>"));
    EXPECT_EQ(Maximum("A"), "depends on itself");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(Maximum("B"), "4");
    EXPECT_EQ(WhyNoFloat("F"), "depends on itself");
}

TEST_F(NodeValuesTest, DependOnAHundredNodesAtMost) {
    Load(Chain("C", 101) + Chain("D", 60) +
         Knife("Sum", Variable("C", "C50") + Variable("D", "D0") + Variable("E", "D1"),
               "C + D + E"));
    EXPECT_EQ(Integer("C1"), "7");
    EXPECT_EQ(Integer("C0"),
              "The GenICam feature C100 of 192.0.2.7 on eth9 depends on too many other nodes");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    // One after the other there may be more.
    EXPECT_EQ(Integer("Sum"), "21");
}

TEST_F(NodeValuesTest, DependOnAThousandRegistersAtMost) {
    const auto load = [this](int count) {
        std::string entries;
        for (int i = 0; i < count; ++i) {
            entries +=
                GenXml::Entry("E" + std::to_string(i), i, "<pIsImplemented>R</pIsImplemented>");
        }
        Load(GenXml::Enumeration("E", entries + "<Value>0</Value>") + GenXml::Register("R", 0x100));
        port->StoreBig(0x100, 1);
        port->log.clear();
        std::vector<NodeMap::Id> found;
        result = map->ListEntries(Node("E"), found);
        return found.size();
    };
    EXPECT_EQ(load(1000), 1000U);
    EXPECT_EQ(load(1001), 0U);
    EXPECT_EQ(Why("R", result), "depends on too many registers");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(port->log.size(), 1000U);
}

TEST_F(NodeValuesTest, AreRefusedWhereTheyTakeTooManySteps) {
    std::string entries;
    for (int i = 0; i < 60000; ++i) {
        entries += "<EnumEntry Name=\"E\"><pIsImplemented>I</pIsImplemented></EnumEntry>";
    }
    Load(GenXml::Enumeration("E", entries) + GenXml::Integer("I", "<Value>1</Value>"));
    std::vector<NodeMap::Id> found;
    const NxResult refused = map->ListEntries(Node("E"), found);
    EXPECT_THAT(refused.GetDescription().GetAscii(),
                testing::EndsWith("depends on too many other nodes"));
    EXPECT_TRUE(found.empty());
}

TEST_F(NodeValuesTest, TakeStepsForTheElementsThatAreLookedThrough) {
    std::string variables;
    std::string sum = "0";
    for (int i = 0; i < 60; ++i) {
        variables += Variable("V" + std::to_string(i), "@");
        sum += " + V" + std::to_string(i);
    }
    const auto of = [&variables](const std::string& node) {
        std::string all = variables;
        for (std::size_t at = all.find('@'); at != std::string::npos; at = all.find('@')) {
            all.replace(at, 1, node);
        }
        return all;
    };
    const std::string values = Repeat("<ValueIndexed Index=\"1\">5</ValueIndexed>", 60000);
    Load(GenXml::Integer("Long", Repeat("<Inc>1</Inc>", 60000) + "<Value>1</Value>") +
         Knife("OfLong", of("Long"), sum.substr(0, sum.find(" + V20"))) +
         GenXml::Integer("Indexed", "<pIndex>Two</pIndex>" + values +
                                        "<ValueIndexed Index=\"2\">1</ValueIndexed>") +
         Knife("OfIndexed", of("Indexed"), sum) + GenXml::Integer("Two", "<Value>2</Value>") +
         Knife("LongItself", Repeat("<Inc>1</Inc>", 60000) + of("Two"), sum) +
         Knife("Short", of("Two"), sum));
    EXPECT_EQ(Integer("Short"), "120");
    EXPECT_EQ(Integer("Long"), "1");
    EXPECT_EQ(Integer("Indexed"), "1");
    for (const char* name : {"OfLong", "OfIndexed", "LongItself"}) {
        (void)Integer(name);
        EXPECT_FALSE(result.IsOK()) << name;
    }
}

}  // namespace
