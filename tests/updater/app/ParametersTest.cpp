#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Parameters.h"

namespace {

Parameters Parse(const std::vector<const char*>& arguments) {
    std::vector<const char*> argv = {"MirskoFirmwareUpdater"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    Parameters parameters;
    parameters.ParseParam(static_cast<int>(argv.size()), argv.data());
    return parameters;
}

std::string Text(const NxString& text) {
    return text.GetAscii();
}

void ExpectDefaults(const Parameters& parameters) {
    EXPECT_FALSE(parameters.help);
    EXPECT_FALSE(parameters.u3v);
    EXPECT_FALSE(parameters.noReset);
    EXPECT_EQ(Text(parameters.localInterface), "");
    EXPECT_EQ(Text(parameters.deviceId), "");
    EXPECT_EQ(Text(parameters.firmwareFile), "");
}

}  // namespace

TEST(ParametersTest, NoArgumentsKeepAllDefaults) {
    ExpectDefaults(Parse({}));
}

TEST(ParametersTest, AnArgumentCountOfZeroOrLessKeepsAllDefaults) {
    for (const int count : {0, -1}) {
        Parameters parameters;
        parameters.ParseParam(count, nullptr);
        ExpectDefaults(parameters);
    }
}

TEST(ParametersTest, UpperCaseOptionsAreRecognised) {
    EXPECT_TRUE(Parse({"--HELP"}).help);
    EXPECT_TRUE(Parse({"--U3V"}).u3v);
    EXPECT_TRUE(Parse({"--NoReset"}).noReset);
    EXPECT_EQ(Text(Parse({"--LocalInterface=1"}).localInterface), "1");
    EXPECT_EQ(Text(Parse({"--DEVICEID=X"}).deviceId), "x");
}

TEST(ParametersTest, AnUpperCaseExtensionAsksForHelpAndStops) {
    const Parameters parameters = Parse({"--u3v", "fw.DFW", "--noreset"});
    EXPECT_TRUE(parameters.u3v);
    EXPECT_TRUE(parameters.help);
    EXPECT_FALSE(parameters.noReset);
    EXPECT_EQ(Text(parameters.firmwareFile), "");
    EXPECT_TRUE(Parse({"fw.Zip"}).help);
}

TEST(ParametersTest, AMacAddressIsStoredInLowerCase) {
    EXPECT_EQ(Text(Parse({"--localinterface=00-11-22-AA-BB-CC"}).localInterface),
              "00-11-22-aa-bb-cc");
}

TEST(ParametersTest, ADeviceIdIsStoredInLowerCase) {
    EXPECT_EQ(Text(Parse({"--deviceid=Cam-A"}).deviceId), "cam-a");
}

TEST(ParametersTest, AnUnknownOptionAsksForHelpAndHidesWhatFollows) {
    const Parameters parameters = Parse({"--foo", "--u3v", "fw.dfw"});
    EXPECT_TRUE(parameters.help);
    EXPECT_FALSE(parameters.u3v);
    EXPECT_EQ(Text(parameters.firmwareFile), "");
}

TEST(ParametersTest, FlagsSetBeforeAnUnknownOptionStaySet) {
    const Parameters parameters = Parse({"--u3v", "--foo"});
    EXPECT_TRUE(parameters.u3v);
    EXPECT_TRUE(parameters.help);
}

TEST(ParametersTest, HelpDoesNotStopParsing) {
    const Parameters parameters = Parse({"--help", "--u3v", "fw.dfw"});
    EXPECT_TRUE(parameters.help);
    EXPECT_TRUE(parameters.u3v);
    EXPECT_EQ(Text(parameters.firmwareFile), "fw.dfw");
}

TEST(ParametersTest, HelpAfterTheFirmwareFileLeavesTheFileSet) {
    const Parameters parameters = Parse({"fw.dfw", "--help"});
    EXPECT_TRUE(parameters.help);
    EXPECT_EQ(Text(parameters.firmwareFile), "fw.dfw");
}

TEST(ParametersTest, ABareExtensionIsAFirmwareFile) {
    for (const char* name : {"dfw", "zip"}) {
        const Parameters parameters = Parse({name});
        EXPECT_FALSE(parameters.help);
        EXPECT_EQ(Text(parameters.firmwareFile), name);
    }
}

TEST(ParametersTest, ADotInADirectoryNameIsTheLastDot) {
    EXPECT_TRUE(Parse({"fw.old/firmware"}).help);
}

TEST(ParametersTest, OnlyTheTextAfterTheLastDotCounts) {
    const Parameters parameters = Parse({"pkg.tar.zip"});
    EXPECT_FALSE(parameters.help);
    EXPECT_EQ(Text(parameters.firmwareFile), "pkg.tar.zip");
}

TEST(ParametersTest, AFileWhoseSecondCharacterIsADashIsAnOption) {
    const Parameters parameters = Parse({"a-b.dfw"});
    EXPECT_TRUE(parameters.help);
    EXPECT_EQ(Text(parameters.firmwareFile), "");
    EXPECT_EQ(Text(Parse({"./a-b.dfw"}).firmwareFile), "./a-b.dfw");
}

TEST(ParametersTest, AnEmptyLocalInterfaceStaysEmpty) {
    const Parameters parameters = Parse({"--localinterface="});
    EXPECT_FALSE(parameters.help);
    EXPECT_EQ(Text(parameters.localInterface), "");
}

TEST(ParametersTest, AnEmptyValueReplacesAnEarlierOne) {
    EXPECT_EQ(Text(Parse({"--deviceid=a", "--deviceid="}).deviceId), "");
}

TEST(ParametersTest, AnEmptyArgumentAsksForHelp) {
    const Parameters parameters = Parse({"", "--u3v"});
    EXPECT_TRUE(parameters.help);
    EXPECT_FALSE(parameters.u3v);
}

TEST(ParametersTest, AOneCharacterArgumentAsksForHelp) {
    EXPECT_TRUE(Parse({"-"}).help);
    EXPECT_TRUE(Parse({"x"}).help);
}

TEST(ParametersTest, AKeywordInAnotherOptionsValueCounts) {
    const Parameters parameters = Parse({"--deviceid=a", "--deviceid=line-u3v"});
    EXPECT_TRUE(parameters.u3v);
    EXPECT_EQ(Text(parameters.deviceId), "a");
    const Parameters help = Parse({"--localinterface=x-help"});
    EXPECT_TRUE(help.help);
    EXPECT_EQ(Text(help.localInterface), "");
    EXPECT_TRUE(Parse({"--deviceid=x-noreset"}).noReset);
}

TEST(ParametersTest, ALongerWordThatContainsAKeywordCounts) {
    EXPECT_TRUE(Parse({"--helpme"}).help);
    EXPECT_TRUE(Parse({"--noresetnow"}).noReset);
    EXPECT_TRUE(Parse({"--x-u3v-y"}).u3v);
}

TEST(ParametersTest, TheKeywordsAreLookedForInAFixedOrder) {
    const Parameters parameters = Parse({"--deviceid=-localinterface=-noreset-u3v-help"});
    EXPECT_TRUE(parameters.help);
    EXPECT_FALSE(parameters.u3v);
    EXPECT_FALSE(parameters.noReset);
    const Parameters flag = Parse({"--noreset-u3v"});
    EXPECT_TRUE(flag.u3v);
    EXPECT_FALSE(flag.noReset);
    const Parameters value = Parse({"--deviceid=-localinterface=x"});
    EXPECT_EQ(Text(value.localInterface), "-localinterface=x");
    EXPECT_EQ(Text(value.deviceId), "");
}

TEST(ParametersTest, TheValueIsAllThatFollowsTheFirstEqualsSign) {
    EXPECT_EQ(Text(Parse({"--deviceid=a=b"}).deviceId), "a=b");
    EXPECT_EQ(Text(Parse({"--x=y-deviceid=b"}).deviceId), "y-deviceid=b");
}

TEST(ParametersTest, ASingleDashIsAFileNameAndAsksForHelp) {
    for (const char* argument : {"-help", "-u3v"}) {
        const Parameters parameters = Parse({argument, "--noreset"});
        EXPECT_TRUE(parameters.help);
        EXPECT_FALSE(parameters.u3v);
        EXPECT_FALSE(parameters.noReset);
    }
}

TEST(ParametersTest, AnOptionThatNeedsAValueWithoutEqualsSignAsksForHelp) {
    EXPECT_TRUE(Parse({"--localinterface"}).help);
    EXPECT_TRUE(Parse({"--deviceid"}).help);
}

TEST(ParametersTest, TheFirstCharacterOfAnOptionIsNeverLookedAt) {
    EXPECT_TRUE(Parse({"x-u3v"}).u3v);
    EXPECT_EQ(Text(Parse({"/-deviceid=7"}).deviceId), "7");
    EXPECT_EQ(Text(Parse({"=-deviceid=7"}).deviceId), "7");
    EXPECT_EQ(Text(Parse({"=-localinterface=7"}).localInterface), "7");
}

TEST(ParametersTest, TheLastOfRepeatedOptionsWins) {
    const Parameters parameters =
        Parse({"--localinterface=1", "--deviceid=a", "--localinterface=2", "--deviceid=b"});
    EXPECT_EQ(Text(parameters.localInterface), "2");
    EXPECT_EQ(Text(parameters.deviceId), "b");
}

TEST(ParametersTest, AFlagOnceSetStaysSet) {
    const Parameters parameters = Parse({"--u3v", "--u3v", "--noreset", "--noreset"});
    EXPECT_TRUE(parameters.u3v);
    EXPECT_TRUE(parameters.noReset);
}

TEST(ParametersTest, TheLastOfSeveralFirmwareFilesWins) {
    EXPECT_EQ(Text(Parse({"a.dfw", "b.zip"}).firmwareFile), "b.zip");
}

TEST(ParametersTest, BothSelectionOptionsMayBeSet) {
    const Parameters parameters = Parse({"--u3v", "--localinterface=1"});
    EXPECT_TRUE(parameters.u3v);
    EXPECT_EQ(Text(parameters.localInterface), "1");
    EXPECT_FALSE(parameters.help);
}

TEST(ParametersTest, NeitherMacAddressNorDeviceIdIsChecked) {
    const Parameters parameters = Parse({"--localinterface=no mac!", "--deviceid= ~ "});
    EXPECT_FALSE(parameters.help);
    EXPECT_EQ(Text(parameters.localInterface), "no mac!");
    EXPECT_EQ(Text(parameters.deviceId), " ~ ");
}

TEST(ParametersTest, TheFirmwareFileIsKeptAsGiven) {
    EXPECT_EQ(Text(Parse({"Some Folder/FW-1.dfw"}).firmwareFile), "Some Folder/FW-1.dfw");
    EXPECT_EQ(Text(Parse({"b\xff\xe9.dfw"}).firmwareFile), "b\xff\xe9.dfw");
}

TEST(ParametersTest, BytesAboveAsciiAreNotChangedByTheLowercasing) {
    EXPECT_EQ(Text(Parse({"--deviceid=\xC3\x84X"}).deviceId), "\xC3\x84x");
}
