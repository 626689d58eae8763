#include "node_map/DescriptionReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "GenXml.h"

using testing::HasSubstr;
using testing::StrEq;
using namespace std::string_literals;

namespace {

const std::string kBegin = "<RegisterDescription>";
const std::string kEnd = "</RegisterDescription>";

class DescriptionReaderTest : public testing::Test {
  protected:
    std::string Read(const std::string& xml) {
        table = NodeTable();
        const NxResult result = ReadDescription(xml, table, schema);
        EXPECT_EQ(result.GetCode(), result.IsOK() ? kNxOk : kNxBadDescription);
        return result.GetDescription().GetAscii();
    }
    void Load(const std::string& nodes) {
        ASSERT_THAT(Read(kBegin + nodes + kEnd), StrEq(kNothing));
    }
    static std::string Repeat(const std::string& part, int times) {
        std::string text;
        for (int i = 0; i < times; ++i) {
            text += part;
        }
        return text;
    }
    [[nodiscard]] std::string Property(const std::string& name, NodeTag tag) const {
        const NodeTable::Id node = table.Find(name);
        for (std::size_t i = 0; node != NodeTable::kNone && i < table.PropertyCount(node); ++i) {
            if (table.PropertyAt(node, i).tag == tag) {
                return std::string(table.PropertyAt(node, i).text);
            }
        }
        return "none";
    }

    const std::string kNothing = NxResult().GetDescription().GetAscii();
    NodeTable table;
    DescriptionSchema schema;
};

TEST_F(DescriptionReaderTest, LooksIntoNoExtension) {
    Load(
        "<Extension><Integer Name=\"Inside\"><Value>1</Value></Integer></Extension>"
        "<Integer Name=\"A\"><Extension Name=\"A\"><Value>9</Value><EnumEntry Name=\"E\"/>"
        "<Extension><pValue>A</pValue></Extension></Extension><Value>2</Value></Integer>");
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(Property("A", NodeTag::kValue), "2");
    EXPECT_EQ(Property("A", NodeTag::kPValue), "none");
}

TEST_F(DescriptionReaderTest, LooksIntoNoForeignNamespace) {
    ASSERT_THAT(
        Read(
            "<RegisterDescription xmlns=\"urn:genicam\" xmlns:v=\"urn:other\">"
            "<v:Integer Name=\"V\"/><w:Integer Name=\"W\"/>"
            "<Integer v:Name=\"No\" Name=\"A\"><v:Value>9</v:Value><Value xmlns=\"urn:x\">8</Value>"
            "<Value>2</Value></Integer></RegisterDescription>"),
        StrEq(kNothing));
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(Property("A", NodeTag::kValue), "2");
}

TEST_F(DescriptionReaderTest, FindsNodesInGroups) {
    Load(
        "<Group Comment=\"x\"><Group><Integer Name=\"A\"/></Group><Integer Name=\"B\"/></Group>"
        "<Integer Name=\"C\"/>");
    for (const char* name : {"A", "B", "C"}) {
        EXPECT_NE(table.Find(name), NodeTable::kNone) << name;
    }
}

TEST_F(DescriptionReaderTest, SkipsWhatStandsInTheWrongPlace) {
    Load(
        "<EnumEntry Name=\"E\"/><StructEntry Name=\"S\"/><Value>1</Value>"
        "<Integer Name=\"A\"><Integer Name=\"B\"/><EnumEntry Name=\"E\"/><Value>1<Value>2</Value>"
        "</Value><IntSwissKnife Name=\"K\"/></Integer>");
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(Property("A", NodeTag::kValue), "1");
    Load(
        "<Enumeration Name=\"E\"><EnumEntry Name=\"a\"/><IntSwissKnife Name=\"K\"/>"
        "<EnumEntry Name=\"b\"><IntSwissKnife Name=\"K\"/></EnumEntry></Enumeration>");
    EXPECT_EQ(table.LastEntry(table.Find("E")), table.Find("E") + 2);
}

TEST_F(DescriptionReaderTest, ReadsWhateverIsNotUnicodeAsLatinOne) {
    for (const char* encoding : {"", "encoding=\"utf-8\"", "encoding=\"ISO-8859-1\"",
                                 "encoding=\"IBM037\"", "encoding=\"no-such-thing\""}) {
        ASSERT_THAT(Read("<?xml version=\"1.0\" "s + encoding + "?>" + kBegin +
                         "<String Name=\"A\"><Value>gr\xFC\xDF</Value></String>" + kEnd),
                    StrEq(kNothing))
            << encoding;
        EXPECT_EQ(Property("A", NodeTag::kValue), "gr\u00FC\u00DF") << encoding;
    }
    Load("<String Name=\"A\"><Value>gr\u00FC\u00DF</Value></String>");
    EXPECT_EQ(Property("A", NodeTag::kValue), "gr\u00FC\u00DF");
}

TEST_F(DescriptionReaderTest, ReadsUtf16OfEitherByteOrder) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + kBegin +
                             "<String Name=\"A\"><Value>x</Value></String>" + kEnd;
    for (const bool isLittle : {true, false}) {
        for (const bool hasMark : {true, false}) {
            std::string wide = hasMark ? isLittle ? "\xFF\xFE" : "\xFE\xFF" : "";
            for (const char c : text) {
                const std::string unit{c == 'x' ? '\xFC' : c, '\0'};
                wide += isLittle ? unit : std::string(unit.rbegin(), unit.rend());
            }
            // Every "x", also in the names of the declaration, became another letter.
            std::string repaired = wide;
            for (std::size_t at = repaired.find('\xFC'); at < 40; at = repaired.find('\xFC')) {
                repaired[at] = 'x';
            }
            ASSERT_THAT(Read(repaired), StrEq(kNothing)) << isLittle << hasMark;
            EXPECT_EQ(Property("A", NodeTag::kValue), "\u00FC");
        }
    }
}

TEST_F(DescriptionReaderTest, EndsWithTheRootElement) {
    for (const char* rest : {"\xFF\xFF<<<", "</x>", "<!DOCTYPE x>", "  <RegisterDescription>",
                             "<!-- --><Integer Name=\"B\"/>"}) {
        ASSERT_THAT(Read(kBegin + "<Integer Name=\"A\"/>" + kEnd + rest), StrEq(kNothing)) << rest;
        EXPECT_EQ(table.Count(), 1U);
    }
}

TEST_F(DescriptionReaderTest, TakesFormulasInThePlaceOfNames) {
    Load(
        "<IntReg Name=\"R\"><Address>4</Address><IntSwissKnife Name=\"K\"><Formula>1 + 1</Formula>"
        "</IntSwissKnife><Length>4</Length></IntReg>");
    const NodeTable::Property place = table.PropertyAt(table.Find("R"), 1);
    EXPECT_EQ(place.tag, NodeTag::kPAddress);
    EXPECT_EQ(place.inlineNode, table.Find("K"));
    EXPECT_EQ(Property("K", NodeTag::kFormula), "1 + 1");
    EXPECT_EQ(Property("R", NodeTag::kLength), "4");
}

TEST_F(DescriptionReaderTest, TakesTheFirstOfTwoNodesOfOneName) {
    Load(
        "<Integer Name=\"A\"><Value>1</Value></Integer><Integer Name=\"A\"><Value>2</Value>"
        "</Integer>");
    EXPECT_EQ(Property("A", NodeTag::kValue), "1");
}

TEST_F(DescriptionReaderTest, ReadsTextsAndAttributesAsXmlMeansThem) {
    Load(
        "<Integer Name=\" A&amp;B \"><Value> <![CDATA[1]]>&#50;<!-- x -->3\n</Value>"
        "<pIndex Offset=\"4\">I</pIndex><pIndex pOffset=\"S\">J</pIndex></Integer>");
    EXPECT_EQ(Property("A&B", NodeTag::kValue), "123");
    const NodeTable::Id node = table.Find("A&B");
    EXPECT_EQ(table.PropertyAt(node, 1).attribute, "4");
    EXPECT_EQ(table.PropertyAt(node, 2).tag, NodeTag::kPIndexWithStep);
    EXPECT_EQ(table.PropertyAt(node, 2).attribute, "S");
}

TEST_F(DescriptionReaderTest, KeepsThePropertiesOfAnEnumerationAndItsEntriesApart) {
    Load(
        "<Enumeration Name=\"E\"><EnumEntry Name=\"a\"><Value>1</Value></EnumEntry>"
        "<EnumEntry Name=\"b\"><Value>2</Value></EnumEntry><pValue>R</pValue></Enumeration>");
    const NodeTable::Id node = table.Find("E");
    EXPECT_EQ(table.LastEntry(node), node + 2);
    EXPECT_EQ(table.PropertyCount(node), 1U);
    for (const NodeTable::Id entry : {node + 1, node + 2}) {
        ASSERT_EQ(table.PropertyCount(entry), 1U);
        EXPECT_EQ(table.PropertyAt(entry, 0).text, entry == node + 1 ? "1" : "2");
        EXPECT_EQ(table.Parent(entry), node);
    }
    // Another node may have the name of an entry.
    EXPECT_EQ(table.Find("b"), NodeTable::kNone);
}

TEST_F(DescriptionReaderTest, ReadsTheSchema) {
    (void)Read(
        "<RegisterDescription SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\"><Port/>"
        "</RegisterDescription>");
    EXPECT_TRUE(schema.IsBelowOneOne());
    schema = {};
    const auto isBelow = [this](const std::string& version) {
        schema = {};
        (void)Read("<RegisterDescription " + version + "><Port/></RegisterDescription>");
        return schema.IsBelowOneOne();
    };
    EXPECT_TRUE(isBelow("SchemaMinorVersion=\"0\""));
    EXPECT_TRUE(isBelow("SchemaMajorVersion=\"0\" SchemaMinorVersion=\"5\""));
    for (const char* version :
         {"", "SchemaMinorVersion=\"many\"", "SchemaMinorVersion=\"0x\"", "SchemaMinorVersion=\"\"",
          "SchemaMinorVersion=\"2\"", "SchemaMajorVersion=\"2\" SchemaMinorVersion=\"0\"",
          "SchemaMinorVersion=\"99999999999\""}) {
        EXPECT_FALSE(isBelow(version)) << version;
    }
}

TEST_F(DescriptionReaderTest, SaysWhyItRefuses) {
    std::string attributes;
    for (int i = 0; i < 101; ++i) {
        attributes += " a" + std::to_string(i) + "=''";
    }
    const std::pair<std::string, const char*> cases[] = {
        {"", "it is empty"},
        {std::string((16U << 20U) + 1, ' '), "it is larger than 16 MiB"},
        {"<Other/>", "it is not a register description"},
        {"<!DOCTYPE x>" + kBegin + kEnd, "it has a document type declaration"},
        {kBegin + kEnd, "it has no nodes"},
        {kBegin, "it is truncated"},
        {kBegin + "\n<a></b>" + kEnd, "it is truncated or not well-formed XML (line 2)"},
        {kBegin + "&lol;" + kEnd, "it is truncated or not well-formed XML (line 1)"},
        {kBegin + "<x" + attributes + "/>" + kEnd,
         "it has a tag with more than 100 attributes or 1 MiB"},
        {kBegin + "<x y='" + std::string(1U << 20U, 'y') + "'/>" + kEnd,
         "it has a tag with more than 100 attributes or 1 MiB"},
    };
    for (const auto& [xml, why] : cases) {
        EXPECT_THAT(Read(xml), HasSubstr(why)) << xml.substr(0, 100);
    }
    Load("<Port/><!--" + std::string(3U << 20U, '"') + "--><x><![CDATA[<" + Repeat("a=''", 200) +
         "]]></x>");
}

TEST_F(DescriptionReaderTest, ReadsElementsUpToTwoHundredAndFiftySixDeep) {
    for (const std::string& name : {"Group"s, "x"s}) {
        const auto nested = [&name](int depth) {
            return "<Port/>" + Repeat("<" + name + ">", depth) + Repeat("</" + name + ">", depth);
        };
        Load(nested(255));
        EXPECT_THAT(Read(kBegin + nested(256) + kEnd),
                    StrEq("it has elements nested more than 256 deep"));
    }
    const std::string mixed = Repeat("<Group>", 200) + Repeat("<x>", 55);
    EXPECT_THAT(Read(kBegin + mixed + "</y>"), HasSubstr("not well-formed"));
    EXPECT_THAT(Read(kBegin + mixed + "<x>"), HasSubstr("256 deep"));
}

TEST_F(DescriptionReaderTest, ReadsAMillionElements) {
    const std::string most = "<Port/>" + Repeat("<x/>", 999998);  // and the root
    Load(most);
    EXPECT_THAT(Read(kBegin + most + "<x/>" + kEnd), StrEq("it has more than 1,000,000 elements"));
}

TEST_F(DescriptionReaderTest, ReadsTwentyThousandNames) {
    std::string names = "<Port/>";
    for (int i = 0; i < 20001; ++i) {
        names += "<n" + std::to_string(i) + "/>";
        if (i == 19900) {
            Load(names);
        }
    }
    EXPECT_THAT(Read(kBegin + names + kEnd), StrEq("it has more than 20,000 different names"));
}

TEST_F(DescriptionReaderTest, ReadsSixteenMebibytes) {
    const std::string text = kBegin + "<Port/>" + kEnd;
    const std::string rest((16U << 20U) - text.size(), ' ');
    EXPECT_THAT(Read(text + rest), StrEq(kNothing));
    EXPECT_THAT(Read(text + rest + " "), StrEq("it is larger than 16 MiB"));
}

TEST_F(DescriptionReaderTest, RefusesWhatItHasNoRoomFor) {
    const std::string most = Repeat("<Min/>", 300000);
    const std::string text(8U << 20U, '1');
    for (const std::string& nodes :
         {Repeat("<Port/>", 100001), "<Integer>" + most + "<Min/></Integer>",
          "<IntReg>" + most + "<IntSwissKnife/></IntReg>",
          "<Integer><Min>" + text + "1</Min></Integer>",
          "<Integer><Min>" + text + "</Min><Max>1</Max></Integer>"}) {
        EXPECT_THAT(Read(kBegin + nodes + kEnd),
                    StrEq("it has more than 100,000 nodes, 300,000 properties or 8 MiB of text"))
            << nodes.substr(0, 50);
    }
    Load("<Integer><Min>" + text + "</Min></Integer>");
    Load("<Integer>" + most + "</Integer>");
}

TEST_F(DescriptionReaderTest, TakesPrefixesForWhatTheyStandFor) {
    ASSERT_THAT(Read("<g:RegisterDescription xmlns:g=\"urn:genicam\" xmlns:h=\"urn:genicam\">"
                     "<g:Integer Name=\"A\"/><h:Integer w:Name=\"No\" Name=\"B\"/>"
                     "<Integer Name=\"C\"/></g:RegisterDescription>"),
                StrEq(kNothing));
    EXPECT_EQ(table.Count(), 2U);
    EXPECT_NE(table.Find("A"), NodeTable::kNone);
    EXPECT_NE(table.Find("B"), NodeTable::kNone);
    // Without a namespace, what has an undeclared prefix is foreign all the same.
    Load("<w:Integer Name=\"A\"/><Integer Name=\"B\"><w:Value>1</w:Value></Integer>");
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(table.PropertyCount(0), 0U);
}

TEST_F(DescriptionReaderTest, TakesALongNameForNone) {
    const std::string name(1001, 'n');
    Load("<Integer Name=\"" + name + "\"/><Integer Name=\"" + name.substr(1) + "\"/>");
    EXPECT_EQ(table.Find(name), NodeTable::kNone);
    EXPECT_NE(table.Find(name.substr(1)), NodeTable::kNone);
}

}  // namespace
