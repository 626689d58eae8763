#include "node_map/NodeFormula.h"

#include <NxBase/NxResultCodes.h>

#include "NodeMapFixture.h"

namespace {

class NodeFormulaTest : public NodeMapFixture {
  protected:
    NodeFormulaTest() { port->hasRegisterCommands = false; }  // no byte order to be asked for

    static std::string Variable(const std::string& name, const std::string& node) {
        return "<pVariable Name=\"" + name + "\">" + node + "</pVariable>";
    }
    static std::string Knife(const std::string& name, const std::string& variables,
                             const std::string& formula, const std::string& kind = "") {
        return "<" + kind + "SwissKnife Name=\"" + name + "\">" + variables + "<Formula>" +
               formula + "</Formula></" + kind + "SwissKnife>";
    }
    static std::string IntKnife(const std::string& name, const std::string& variables,
                                const std::string& formula) {
        return Knife(name, variables, formula, "Int");
    }
};

TEST_F(NodeFormulaTest, KeepsFractionsOfConstantsInASwissKnifeOnly) {
    const std::string constant = "<Constant Name=\"C\">2.5</Constant>";
    Load(Knife("Float", constant, "C * 2") + IntKnife("Integer", constant, "C * 2") +
         Knife("Hex", "<Constant Name=\"C\">0x10</Constant>", "C / 32") +
         Knife("Word", "<Constant Name=\"C\">x</Constant>", "C"));
    EXPECT_EQ(Text("Float"), "5");
    EXPECT_EQ(Text("Integer"), "4");
    EXPECT_EQ(Text("Hex"), "0.5");
    EXPECT_EQ(Why("Word"), "has a malformed number in its description");
}

TEST_F(NodeFormulaTest, AsksForAVariableOnce) {
    int asked = 0;
    port->onRead = [&](std::uint64_t) { port->StoreBig(0x100, static_cast<unsigned>(++asked)); };
    Load(IntKnife("K", Variable("R", "R") + "<Expression Name=\"X\">R * 100</Expression>",
                  "R * 10 + R + X + X") +
         GenXml::Register("R", 0x100));
    EXPECT_EQ(Text("K"), "211");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(Text("K"), "422");
}

TEST_F(NodeFormulaTest, KnowsThePropertiesOfItsVariables) {
    const std::string limits = "<Min>-3</Min><Max>9</Max><Inc>2</Inc>";
    Load(GenXml::Integer("A", "<Value>5</Value>" + limits) +
         GenXml::Enumeration("E", GenXml::Entry("Off", 3) + GenXml::Entry("On", 8) +
                                      "<EnumEntry Name=\"Empty\"></EnumEntry><Value>3</Value>") +
         GenXml::Integer("Behind", "<Value>77</Value>") +
         IntKnife("Value", Variable("V.Value", "A"), "V.Value") +
         IntKnife("Enum", Variable("V.Enum", "E"), "V.Enum") +
         Knife("Max", Variable("V.Max", "A"), "V.Max / 2") +
         IntKnife("Min", Variable("V.Min", "A"), "V.Min") +
         IntKnife("Inc", Variable("V.Inc", "A"), "V.Inc") +
         IntKnife("Entry", Variable("V.Entry.On", "E"), "V.Entry.On") +
         IntKnife("Last", Variable("V.Entry.Empty", "E"), "V.Entry.Empty") +
         IntKnife("Beyond", Variable("V.Entry.Behind", "E"), "V.Entry.Behind") +
         IntKnife("Absent", Variable("V.Entry.A", "A"), "V.Entry.A") +
         IntKnife("Other", Variable("V.Other", "A"), "V.Other") +
         IntKnife("NoMin", Variable("V.Min", "Behind"), "V.Min") +
         IntKnife("NoMax", Variable("V.Max", "Behind"), "V.Max") +
         GenXml::Integer("Broken", "<Value>1</Value><Min>x</Min><Inc>x</Inc>") +
         IntKnife("BrokenMin", Variable("V.Min", "Broken"), "V.Min") +
         IntKnife("BrokenInc", Variable("V.Inc", "Broken"), "V.Inc") +
         IntKnife("Lost", Variable("V.Max", "Nowhere"), "V.Max"));
    EXPECT_EQ(Text("Value"), "5");
    EXPECT_EQ(Text("Enum"), "3");
    EXPECT_EQ(Text("Max"), "4.5");
    EXPECT_EQ(Text("Min"), "-3");
    EXPECT_EQ(Text("Inc"), "2");
    EXPECT_EQ(Text("Entry"), "8");
    const auto of = [](const std::string& node, const std::string& reason) {
        return "The GenICam feature " + node + " of 192.0.2.7 on eth9 " + reason;
    };
    const std::string lacks = "does not have a property that a formula uses";
    EXPECT_EQ(Why("Beyond"), of("E", lacks));
    EXPECT_EQ(Why("Absent"), of("A", lacks));
    EXPECT_EQ(Why("Other"), of("A", lacks));
    EXPECT_EQ(Why("NoMin"), of("Behind", lacks));
    EXPECT_EQ(Why("NoMax"), of("Behind", "has no maximum"));
    for (const char* name : {"BrokenMin", "BrokenInc"}) {
        EXPECT_EQ(Why(name), of("Broken", "has a malformed number in its description"));
    }
    EXPECT_EQ(Why("Last"), of("Empty", "has an entry without a value"));
    EXPECT_EQ(Why("Lost"),
              "The GenICam description of 192.0.2.7 on eth9 refers to an undefined node "
              "\"Nowhere\"");
}

TEST_F(NodeFormulaTest, SaysOnceWhereAndWhyItFails) {
    Load(IntKnife("Zero", "", "1 / 0") +
         IntKnife("Outer", Variable("Z", "Zero") + Variable("R", "R"), "R + Z") +
         IntKnife("Expressed", "<Expression Name=\"X\">1 / 0</Expression>", "X + 1") +
         IntKnife("Circle",
                  "<Expression Name=\"X\">Y</Expression><Expression Name=\"Y\">X"
                  "</Expression>",
                  "X") +
         IntKnife("Twice",
                  "<Expression Name=\"X\">Y + Y</Expression><Expression Name=\"Y\">3"
                  "</Expression>",
                  "X + Y") +
         IntKnife("Absent", Variable("A", "R") + "<Value Name=\"B\">1</Value>", "B") +
         IntKnife("Next", Variable("B", "R"), "B") +
         IntKnife("Named", "<ValueIndexed Index=\"B\">1</ValueIndexed>" + Variable("B", "Twice"),
                  "B") +
         GenXml::Register("R", 0x100));
    const std::string zero = "has a formula that cannot be evaluated: it divides by zero";
    EXPECT_EQ(Why("Zero"), zero);
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    EXPECT_EQ(Why("Outer"), "The GenICam feature Zero of 192.0.2.7 on eth9 " + zero);
    EXPECT_EQ(Why("Expressed"), zero);
    EXPECT_EQ(Why("Circle"), "depends on itself");
    EXPECT_EQ(result.GetCode(), kNxBadDescription);
    EXPECT_EQ(Text("Twice"), "9");
    EXPECT_EQ(Text("Named"), "9");
    EXPECT_TRUE(Why("Absent").starts_with("has a formula that cannot be evaluated: "));
    port->failedReads[0x100] = NxResult(kNxTimeout, "nobody answers");
    EXPECT_EQ(Why("Outer"), "nobody answers");
    EXPECT_EQ(result.GetCode(), kNxTimeout);
}

TEST_F(NodeFormulaTest, TakesWhatIsConvertedBeforeAVariableOfThatName) {
    Load(
        "<IntConverter Name=\"C\"><pVariable Name=\"TO\">One</pVariable>"
        "<pVariable Name=\"FROM\">One</pVariable><FormulaTo>FROM + 10</FormulaTo>"
        "<FormulaFrom>TO - 10</FormulaFrom><pValue>Local</pValue></IntConverter>" +
        GenXml::Integer("One", "<Value>1</Value>") + GenXml::Integer("Local", "<Value>30</Value>"));
    EXPECT_EQ(Text("C"), "20");
    EXPECT_TRUE(map->WriteInteger("C", 5).IsOK());
    EXPECT_EQ(Text("Local"), "15");
}

}  // namespace
