#include <NxGenICam/GenFUParser.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <thread>

#include <NxBase/NxResultCodes.h>

#include "ManifestCases.h"
#include "Process.h"
#include "RecordingBuilder.h"
#include "TemporaryFolder.h"
#include "update_model/ManifestSchema.h"

using NxGenICamLib::GenFUParser;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class GenFUParserTest : public testing::Test {
  protected:
    void ExpectRefused(const std::vector<ManifestCase>& cases) {
        for (const ManifestCase& one : cases) {
            SCOPED_TRACE(one.name);
            const NyUtilsLib::Result result = mParser.Build(one.text);
            EXPECT_EQ(result.GetCode(), kNxBadManifest);
            EXPECT_THAT(result.GetMessage(), StartsWith("Manifest.xml:" + one.error));
            EXPECT_THAT(result.GetMessage(), Not(HasSubstr("\n")));
            EXPECT_TRUE(mBuilder.calls.empty());
        }
    }

    RecordingBuilder mBuilder;
    GenFUParser mParser{&mBuilder};
};

bool HasParserError(const std::string& said, const std::string& file) {
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(file + ":") && line.find(": parser error : ") != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// Those of the cases, by name, that xmllint finds valid against the schema. Fails the test when
/// xmllint gives no verdict on one of them.
std::vector<std::string> ValidBySchema(const std::vector<ManifestCase>& cases) {
    const TemporaryFolder folder;
    std::vector<std::string> command = {
        "xmllint", "--noout", "--schema",
        std::string(MIRSKO_SOURCE_FOLDER) + "/sdk/share/FirmwareUpdate.xsd"};
    for (const ManifestCase& one : cases) {
        command.push_back(folder.Write(std::string(one.name) + ".xml", one.text));
    }
    const std::string said = Process::Run(command).err;
    EXPECT_EQ(said.find("Schemas parser error"), std::string::npos) << said;
    std::vector<std::string> valid;
    for (std::size_t index = 0; index < cases.size(); ++index) {
        const std::string& file = command[index + 4];
        if (said.find(file + " validates\n") != std::string::npos) {
            valid.emplace_back(cases[index].name);
        } else if (said.find(file + " fails to validate\n") == std::string::npos) {
            EXPECT_TRUE(HasParserError(said, file)) << cases[index].name << "\n" << said;
        }
    }
    return valid;
}

std::vector<std::string> Names(const std::vector<ManifestCase>& cases) {
    std::vector<std::string> names;
    for (const ManifestCase& one : cases) {
        names.emplace_back(one.name);
    }
    return names;
}

}  // namespace

TEST_F(GenFUParserTest, RefusesWhatIsNotWellFormed) {
    ExpectRefused(MalformedXml());
}

TEST_F(GenFUParserTest, RefusesWhatBreaksTheGrammar) {
    ExpectRefused(MalformedManifests());
}

TEST_F(GenFUParserTest, RefusesBadPatterns) {
    ExpectRefused(MalformedPatterns());
}

TEST_F(GenFUParserTest, RefusesMoreElementsThanAllowed) {
    ExpectRefused(OverfullManifests());
}

TEST_F(GenFUParserTest, RefusesWhatASchemaCannotSee) {
    ExpectRefused(BeyondTheSchema());
}

TEST_F(GenFUParserTest, TakesEveryGoodManifest) {
    for (const ManifestCase& one : GoodManifests()) {
        SCOPED_TRACE(one.name);
        const NyUtilsLib::Result result = mParser.Build(one.text);
        EXPECT_EQ(result.GetCode(), 0U);
        EXPECT_EQ(result.GetMessage(), "");
    }
}

TEST_F(GenFUParserTest, AgreesWithTheSchemaOnEveryMalformedManifest) {
    for (const auto& cases : {MalformedXml(), MalformedManifests(), OverfullManifests()}) {
        EXPECT_EQ(ValidBySchema(cases), std::vector<std::string>());
    }
}

TEST_F(GenFUParserTest, AgreesWithTheSchemaOnEveryGoodManifest) {
    EXPECT_EQ(ValidBySchema(GoodManifests()), Names(GoodManifests()));
}

TEST_F(GenFUParserTest, IsStricterThanTheSchemaOnlyWhereASchemaCannotSee) {
    for (const auto& cases : {MalformedPatterns(), BeyondTheSchema()}) {
        EXPECT_EQ(ValidBySchema(cases), Names(cases));
    }
}

TEST_F(GenFUParserTest, DrivesTheBuilderInTheOrderOfTheManifest) {
    ASSERT_EQ(mParser.Build(PlainManifest()).GetCode(), 0U);
    EXPECT_EQ(mBuilder.calls, (std::vector<std::string>{
                                  "Clear", "Procedure p", "FileUpload a.dfw||TFTP",
                                  "FeatureAssert F|x|m", "FeatureWrite F|v", "DeviceReset",
                                  "Update p", "Info Version|1.0", "Condition DeviceModelName|X"}));
}

TEST_F(GenFUParserTest, HandsTextsOnAsTheGrammarNormalizesThem) {
    ASSERT_EQ(mParser
                  .Build(ReplaceInManifest(
                      "<DeviceReset/>",
                      "<FileUpload Transport=\"GenICam\"><DeviceFileName> Remote &#x41; "
                      "</DeviceFileName><FileName>\n b <![CDATA[ &]]><!-- --> \t.dfw\n</FileName>"
                      "</FileUpload>\n<FeatureWrite><Value>  &lt;v&gt; </Value>"
                      "<FeatureName> G </FeatureName></FeatureWrite>"))
                  .GetCode(),
              0U);
    EXPECT_EQ(mBuilder.calls[5], "FileUpload b & .dfw|Remote A|GenICam");
    EXPECT_EQ(mBuilder.calls[6], "FeatureWrite G|  <v> ");
}

TEST_F(GenFUParserTest, NamesThePlaceWhereTheBuilderRefuses) {
    mBuilder.refused = "FeatureWrite";
    const NyUtilsLib::Result result = mParser.Build(PlainManifest());
    EXPECT_EQ(result.GetCode(), kNxBadManifest);
    EXPECT_EQ(result.GetMessage(), "Manifest.xml:5: not today");
    EXPECT_EQ(mBuilder.calls.back(), "FeatureAssert F|x|m");
}

TEST_F(GenFUParserTest, OnlyChecksWithoutABuilder) {
    GenFUParser parser(nullptr);
    EXPECT_EQ(parser.Build(PlainManifest()).GetCode(), 0U);
    EXPECT_EQ(
        parser.Build("<a/>").GetMessage(),
        "Manifest.xml:1: the root element must be <FirmwareUpdate> without a namespace, not <a>");
}

TEST_F(GenFUParserTest, RefusesElementsNestedTooDeep) {
    constexpr int kDepth = 300;
    std::string text = "<FirmwareUpdate>";
    for (int depth = 0; depth < kDepth; ++depth) {
        text += "<a>";
    }
    for (int depth = 0; depth < kDepth; ++depth) {
        text += "</a>";
    }
    EXPECT_THAT(mParser.Build(text + "</FirmwareUpdate>").GetMessage(),
                AllOf(StartsWith("Manifest.xml:1:"), HasSubstr("depth")));
}

TEST_F(GenFUParserTest, RefusesManyAttributes) {
    std::string text = "<FirmwareUpdate";
    for (int number = 0; number < 17; ++number) {
        text += " a" + std::to_string(number) + "='1'";
    }
    EXPECT_EQ(mParser.Build(text + "/>").GetMessage(),
              "Manifest.xml:1: more than 16 attributes of one element");
}

TEST_F(GenFUParserTest, CountsLinesWithCarriageReturnsOnce) {
    std::string text;
    for (const char character : PlainManifest()) {
        text += character == '\n' ? "\r\n" : std::string(1, character);
    }
    EXPECT_EQ(mParser.Build(text).GetCode(), 0U);
    text.insert(text.find("<Condition"), "<x/>");
    EXPECT_EQ(
        mParser.Build(text).GetMessage(),
        "Manifest.xml:10: <x> is not expected here: <Update> holds up to 32 <Info>, then 1 to 32 "
        "<Condition>");
}

TEST_F(GenFUParserTest, TakesTheInstalledExample) {
    const std::string text =
        ReadFile(std::string(MIRSKO_SOURCE_FOLDER) + "/sdk/share/example-package/Manifest.xml");
    EXPECT_EQ(mParser.Build(text).GetMessage(), "");
    EXPECT_EQ(ValidBySchema({{"Example", text, ""}}), std::vector<std::string>{"Example"});
}

TEST_F(GenFUParserTest, ShowsNoControlCharactersOfTheManifest) {
    std::string message =
        mParser.Build(ReplaceInManifest("<DeviceReset/>", "<caf\u00e9/>")).GetMessage();
    EXPECT_THAT(message, StartsWith("Manifest.xml:6: <caf\u00e9> is not expected here: "));
    message = mParser
                  .Build(ReplaceInManifest("SchemaMajorVersion=\"1\"",
                                           "SchemaMajorVersion=\"\u009b\u202e&#10;2\""))
                  .GetMessage();
    EXPECT_EQ(
        message,
        "Manifest.xml:1: \"SchemaMajorVersion\" of <FirmwareUpdate> is \"\?\?\?2\", but must be "
        "\"1\"");
}

TEST_F(GenFUParserTest, HasTheSchemaThatIsInstalled) {
    EXPECT_EQ(NxGenICamLib::ManifestSchema(),
              ReadFile(std::string(MIRSKO_SOURCE_FOLDER) + "/sdk/share/FirmwareUpdate.xsd"));
}

TEST_F(GenFUParserTest, PrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const auto& cases : {MalformedXml(), MalformedManifests(), MalformedPatterns(),
                              BeyondTheSchema(), GoodManifests()}) {
        for (const ManifestCase& one : cases) {
            (void)mParser.Build(one.text);
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(GenFUParserTest, ReadsNoFileThatAManifestNames) {
    const TemporaryFolder folder;
    const std::string secret = folder.Write("secret.txt", "secret");
    const std::string message =
        mParser
            .Build(ReplaceInManifest("<FirmwareUpdate S",
                                     "<!DOCTYPE FirmwareUpdate [<!ENTITY m SYSTEM \"" + secret +
                                         "\">]><FirmwareUpdate S"))
            .GetMessage();
    EXPECT_EQ(message, "Manifest.xml:1: a document type declaration is not allowed");
}

TEST_F(GenFUParserTest, IsUsedByManyThreadsAtOnce) {
    const std::string bad = MalformedManifests().back().text;
    const std::string expected = mParser.Build(bad).GetMessage();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&bad, &expected] {
            for (int time = 0; time < 20; ++time) {
                GenFUParser parser(nullptr);
                EXPECT_EQ(parser.Build(PlainManifest()).GetMessage(), "");
                EXPECT_EQ(parser.Build(bad).GetMessage(), expected);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(GenFUParserTest, BearsTextsThatAreAllMarkup) {
    const std::string begin = PlainManifest().substr(0, PlainManifest().find("<Procedure"));
    for (const std::string& unit :
         {std::string("<a/>"), std::string("<Procedure Id='p'/>"), std::string("<Update/>"),
          std::string("<!---->"), std::string("<?a?>"), std::string("&#65;")}) {
        std::string text = begin;
        while (text.size() + unit.size() + 20 < 256U << 10U) {
            text += unit;
        }
        EXPECT_EQ(mParser.Build(text + "</FirmwareUpdate>").GetCode(), kNxBadManifest) << unit;
    }
    std::string attributes = "<FirmwareUpdate";
    for (int number = 0; attributes.size() < 262000; ++number) {
        attributes += " a" + std::to_string(number) + "=''";
    }
    EXPECT_EQ(mParser.Build(attributes + "/>").GetMessage(),
              "Manifest.xml:1: more than 16 attributes of one element");
}
