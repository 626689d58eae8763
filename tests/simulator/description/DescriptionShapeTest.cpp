#include "simulator/description/DescriptionShape.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaseName.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/description/GenICamDescription.h"
#include "simulator/description/StoredDescription.h"

using simulator::Bus;
using simulator::DescribeDevice;
using simulator::DescriptionShape;
using simulator::DescriptionShapes;
using simulator::DeviceOptions;
using simulator::RegisterLayout;
using simulator::StoredDescription;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

DeviceOptions Shaped(DescriptionShapes shapes) {
    DeviceOptions options;
    options.description = std::move(shapes);
    return options;
}

StoredDescription Stored(DescriptionShapes shapes, bool zipped = false) {
    DeviceOptions options = Shaped(std::move(shapes));
    options.zippedXml = zipped;
    return StoredDescription::Of(options, Bus::kGigEVision);
}

std::string TextOf(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string XPath(const std::string& file, const std::string& expression) {
    return Process::Run({"xmllint", "--xpath", expression, file}).out;
}

DescriptionShapes Everything() {
    const auto all = simulator::kShapeNames.Values();
    return {all.begin(), all.end()};
}

class DescriptionShapeTest : public testing::TestWithParam<DescriptionShape> {};

}  // namespace

TEST_P(DescriptionShapeTest, IsWellFormedInEveryLayout) {
    const TemporaryFolder folder;
    for (const Bus bus : {Bus::kGigEVision, Bus::kUsb3Vision}) {
        for (const RegisterLayout layout : simulator::kLayoutNames.Values()) {
            for (const DescriptionShapes& shapes : {DescriptionShapes{GetParam()}, Everything()}) {
                DeviceOptions options = Shaped(shapes);
                options.layout = layout;
                const std::string file =
                    folder.Write("description.xml", DescribeDevice(options, bus));
                const ProcessResult result = Process::Run({"xmllint", "--noout", file});
                EXPECT_EQ(result.exitStatus, 0)
                    << simulator::kLayoutNames.NameOf(layout) << result.err;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, DescriptionShapeTest,
                         testing::ValuesIn(simulator::kShapeNames.Values()),
                         [](const testing::TestParamInfo<DescriptionShape>& shape) {
                             return CaseName(simulator::kShapeNames.NameOf(shape.param));
                         });

TEST(DescriptionShapesTest, HaveANameEach) {
    EXPECT_EQ(simulator::kShapeNames.Values().size(), 8U);
    for (const DescriptionShape shape : simulator::kShapeNames.Values()) {
        EXPECT_EQ(simulator::kShapeNames.ValueNamed(simulator::kShapeNames.NameOf(shape)), shape);
    }
    EXPECT_FALSE(simulator::kShapeNames.ValueNamed("odd").has_value());
}

TEST(DescriptionShapesTest, PutAnExtensionIntoEveryNodeAndChangeNothingElse) {
    const TemporaryFolder folder;
    const std::string plain = folder.Write("plain.xml", TextOf(Stored({}).bytes));
    const std::string file =
        folder.Write("extended.xml", TextOf(Stored({DescriptionShape::kExtensions}).bytes));
    const std::string inside = "[not(ancestor-or-self::*[local-name()='Extension'])]";
    EXPECT_EQ(XPath(file, "count(/*/*[local-name()!='Port'][not(*[1][local-name()='Extension'])])"),
              "0\n");
    EXPECT_EQ(XPath(file, "count(//*[local-name()='EnumEntry']" + inside +
                              "[not(*[1][local-name()='Extension'])])"),
              "0\n");
    EXPECT_EQ(XPath(file, "count(//*" + inside + ")"), XPath(plain, "count(//*)"));
    EXPECT_EQ(XPath(file, "count(//*[local-name()='Extension']/*[@Name=../../@Name])"),
              XPath(file, "2 * count(//*[local-name()='Extension'])"))
        << "the node's own name";
}

TEST(DescriptionShapesTest, AddNodesThatNobodyAsksFor) {
    const std::size_t usual = Stored({}).bytes.size();
    const std::size_t large = Stored({DescriptionShape::kLarge}).bytes.size();
    EXPECT_GE(large, usual + 1'200'000);
    EXPECT_LT(large, usual + 1'210'000);
    DeviceOptions options;
    options.additionalNodeBytes = 50'000;
    const std::size_t larger = StoredDescription::Of(options, Bus::kGigEVision).bytes.size();
    EXPECT_GE(larger, usual + 50'000);
    EXPECT_LT(larger, usual + 51'000);
    const std::string odd = TextOf(Stored({DescriptionShape::kHarmlessOddities}).bytes);
    for (const char* text : {"<Formula>1 % ZERO</Formula>", "<pValue>NoSuchNode</pValue>",
                             "<HyperRegister", "<pFeature>NoSuchFeature</pFeature>"}) {
        EXPECT_THAT(odd, HasSubstr(text));
    }
}

TEST(DescriptionShapesTest, SayWhichSchemaTheyAreOf) {
    EXPECT_THAT(TextOf(Stored({}).bytes), HasSubstr(" SchemaMinorVersion=\"1\" "));
    const std::string old = TextOf(Stored({DescriptionShape::kSchema10}).bytes);
    EXPECT_THAT(old, HasSubstr(" SchemaMinorVersion=\"0\" "));
    EXPECT_THAT(old, HasSubstr(" xmlns=\"http://www.genicam.org/GenApi/Version_1_0\" "));
    EXPECT_THAT(old, testing::Not(HasSubstr("Version_1_1")));
}

TEST(DescriptionShapesTest, LeaveTheRestOfAnOlderTextBehindTheNewOne) {
    const std::string usual = TextOf(Stored({}).bytes);
    const std::string padded = TextOf(Stored({DescriptionShape::kPadding}).bytes);
    EXPECT_THAT(padded, StartsWith(usual + std::string(37, '\0') + "    <pValue>OldReg"));
    EXPECT_EQ(padded.back(), '\0');
    const TemporaryFolder folder;
    for (const bool odd : {false, true}) {
        const StoredDescription zipped =
            odd ? Stored({DescriptionShape::kPadding, DescriptionShape::kOddZip})
                : Stored({DescriptionShape::kPadding}, true);
        const std::string file = folder.Write("padded.zip", TextOf(zipped.bytes));
        EXPECT_EQ(Process::Run({"unzip", "-p", file}).out, padded) << odd;
    }
}

TEST(DescriptionShapesTest, HaveAnOddZipThatPythonReads) {
    const StoredDescription zipped = Stored({DescriptionShape::kOddZip});
    EXPECT_EQ(zipped.fileName, "Mirsko_Simulated_Camera.zip");
    EXPECT_EQ(zipped.bytes.back(), 0xff);
    EXPECT_EQ(zipped.bytes[6], 8) << "a data descriptor";
    const TemporaryFolder folder;
    const std::string file = folder.Write("odd.zip", TextOf(zipped.bytes));
    const ProcessResult result = Process::Run(
        {"python3", "-c",
         "import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); print(z.namelist(), z.testzip(), "
         "len(z.infolist()[0].extra))",
         file});
    EXPECT_EQ(result.out, "['Mirsko_Simulated_Camera.xml'] None 13\n") << result.err;
}

TEST(DescriptionShapesTest, NameTheDescriptionInOddUrls) {
    const std::string size = [] {
        std::ostringstream hex;
        hex << std::hex << Stored({}).bytes.size();
        return hex.str();
    }();
    EXPECT_EQ(Stored({}).firstUrl, "Local:Mirsko_Simulated_Camera.xml;100000;" + size);
    EXPECT_EQ(Stored({}).secondUrl, "");
    EXPECT_EQ(Stored({DescriptionShape::kBlanks}).firstUrl,
              "local: GenICam/Mirsko Simulated Camera.xml; 00100000; " +
                  std::string(8 - size.size(), '0') + size + "?SchemaVersion=1.1.0");
    const StoredDescription second = Stored({DescriptionShape::kSecondUrl});
    EXPECT_EQ(second.firstUrl, "Local:Mirsko_Simulated_Camera_old.xml;e0000000;4000");
    EXPECT_EQ(second.secondUrl, Stored({}).firstUrl);
    DeviceOptions options = Shaped({DescriptionShape::kSecondUrl});
    options.secondUrlOnly = true;
    EXPECT_EQ(WhyUnusable(options),
              "--second-url-only and the description quirk second-url are mutually exclusive");
}
