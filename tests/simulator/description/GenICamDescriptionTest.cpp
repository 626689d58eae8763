#include "simulator/description/GenICamDescription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaseName.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/description/StoredDescription.h"

using simulator::Bus;
using simulator::DescribeDevice;
using simulator::DeviceOptions;
using simulator::Profile;
using simulator::RegisterLayout;
using simulator::StoredDescription;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string Node(const std::string& kind, const std::string& name) {
    return "<" + kind + " Name=\"" + name + "\"";
}

}  // namespace

class GenICamDescriptionTest
    : public testing::TestWithParam<std::tuple<Profile, RegisterLayout, Bus>> {
  protected:
    GenICamDescriptionTest() {
        mOptions.profile = std::get<0>(GetParam());
        mOptions.layout = std::get<1>(GetParam());
        mOptions.model = "<Model> & \"more\"";
        mText = DescribeDevice(mOptions, std::get<2>(GetParam()));
    }

    DeviceOptions mOptions;
    std::string mText;
};

TEST_P(GenICamDescriptionTest, IsWellFormedAndRefersToNodesThatExistOnly) {
    const TemporaryFolder folder;
    const std::string file = folder.Write("description.xml", mText);
    const ProcessResult result = Process::Run({"xmllint", "--noout", file});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    const std::string references =
        "//*[contains('|pFeature|pValue|pSelected|pAddress|pPort|pVariable|pLength|pIndex|pMin|"
        "pMax|pInc|pIsAvailable|pIsLocked|pCommandValue|', concat('|', local-name(), '|'))]"
        "[not(string(.)=//@Name)] | //@pOffset[not(string(.)=//@Name)]";
    EXPECT_EQ(Process::Run({"xmllint", "--xpath", "count(" + references + ")", file}).out, "0\n");
    const std::string twice = "count(/*/*[@Name=preceding-sibling::*/@Name])";
    EXPECT_EQ(Process::Run({"xmllint", "--xpath", twice, file}).out, "0\n");
}

TEST_P(GenICamDescriptionTest, OffersWhatItsProfileSays) {
    const auto [profile, layout, bus] = GetParam();
    const bool selector =
        profile == Profile::kFileAccess || profile == Profile::kSelectorWithoutDfw;
    const bool files = profile != Profile::kNoFileAccess && profile != Profile::kLoader;
    const auto expect = [this](bool present, const std::string& text) {
        EXPECT_EQ(mText.find(text) != std::string::npos, present) << text;
    };
    expect(selector, Node("Enumeration", "FileSelector"));
    expect(profile == Profile::kFileAccess, Node("EnumEntry", "RemoteUpdateDfw"));
    expect(selector, Node("EnumEntry", "StatusTxt"));
    expect(files, Node("Enumeration", "FileOperationSelector"));
    expect(files, Node("Command", "FileOperationExecute"));
    expect(files, Node("Enumeration", "FileOpenMode"));
    expect(files, Node("Register", "FileAccessBuffer"));
    expect(files, Node("Integer", "FileAccessOffset"));
    expect(files, Node("Integer", "FileAccessLength"));
    expect(files, Node("Enumeration", "FileOperationStatus"));
    expect(files, Node("Integer", "FileOperationResult"));
    expect(profile != Profile::kSingleFile, Node("Enumeration", "DeviceFirmwareLoad"));
    expect(files && layout == RegisterLayout::kSelectorDependent,
           Node("IntSwissKnife", "FileBlockAddress"));
    expect(bus == Bus::kGigEVision, Node("Enumeration", "GevCCP"));
    expect(bus == Bus::kGigEVision || layout == RegisterLayout::kLegacyEndian, "BigEndian");
    expect((bus == Bus::kUsb3Vision && layout != RegisterLayout::kLegacyEndian) ||
               layout == RegisterLayout::kLittleEndian,
           "LittleEndian");
}

TEST_P(GenICamDescriptionTest, NamesABackupLoadFirstInTheBackupLoadProfileOnly) {
    const std::size_t load = mText.find(Node("Enumeration", "DeviceFirmwareLoad"));
    if (load == std::string::npos) {
        EXPECT_EQ(std::get<0>(GetParam()), Profile::kSingleFile);
        return;
    }
    const std::size_t name = mText.find("<DisplayName>", load);
    const std::string display = mText.substr(name, mText.find('\n', name) - name);
    if (std::get<0>(GetParam()) == Profile::kBackupLoad) {
        EXPECT_THAT(display, HasSubstr(" BackupLoad "));
    } else {
        EXPECT_THAT(display, Not(HasSubstr("BackupLoad")));
    }
}

namespace {

std::string NameOfCase(const testing::TestParamInfo<GenICamDescriptionTest::ParamType>& parameter) {
    const auto [profile, layout, bus] = parameter.param;
    return CaseName(std::string(NameOf(profile)) + "_" + simulator::kLayoutNames.NameOf(layout) +
                    (bus == Bus::kGigEVision ? "_gige" : "_usb"));
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    EveryProfile, GenICamDescriptionTest,
    testing::Combine(testing::Values(Profile::kFileAccess, Profile::kSingleFile,
                                     Profile::kNoFileAccess, Profile::kBackupLoad,
                                     Profile::kMainLoad, Profile::kSelectorWithoutDfw),
                     testing::Values(RegisterLayout::kPlain, RegisterLayout::kSelectorDependent),
                     testing::Values(Bus::kGigEVision, Bus::kUsb3Vision)),
    NameOfCase);

INSTANTIATE_TEST_SUITE_P(EveryLayout, GenICamDescriptionTest,
                         testing::Combine(testing::Values(Profile::kFileAccess, Profile::kMainLoad),
                                          testing::ValuesIn(simulator::kLayoutNames.Values()),
                                          testing::Values(Bus::kGigEVision, Bus::kUsb3Vision)),
                         NameOfCase);

TEST(ZippedDescriptionTest, UnpacksToTheSameTextWithAnIndependentUnzip) {
    DeviceOptions options;
    options.zippedXml = true;
    const auto [name, zipped, first, second] = StoredDescription::Of(options, Bus::kGigEVision);
    EXPECT_EQ(name, "Mirsko_Simulated_Camera.zip");
    const TemporaryFolder folder;
    const std::string file = folder.Write(
        "description.zip", {reinterpret_cast<const char*>(zipped.data()), zipped.size()});
    EXPECT_EQ(Process::Run({"unzip", "-tq", file}).exitStatus, 0);
    EXPECT_EQ(Process::Run({"unzip", "-p", file, "Mirsko_Simulated_Camera.xml"}).out,
              DescribeDevice(options, Bus::kGigEVision));
    EXPECT_LT(zipped.size(), DescribeDevice(options, Bus::kGigEVision).size() / 3);
}
