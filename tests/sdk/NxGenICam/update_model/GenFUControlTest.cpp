#include <NxGenICam/GenFUControl.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/GenFUParser.h>

#include "ManifestCases.h"

using NxGenICamLib::GenFUControl;
using NxGenICamLib::GenFUParser;
using NyUtilsLib::Result;

namespace {

/// Answers from a table of features and writes down what it was asked to do.
class RecordingUpdater : public NxGenICamLib::IGenFUUpdater {
  public:
    Result ReadGenStringValue(const std::string& nodeName, std::string& value) override {
        calls.push_back("Read " + nodeName);
        const auto found = features.find(nodeName);
        if (found == features.end()) {
            return Result(25);
        }
        value = found->second;
        return {};
    }
    Result WriteGenStringValue(const std::string& nodeName, const std::string& value) override {
        calls.push_back("Write " + nodeName + "=" + value);
        return writeResult;
    }
    Result ExecuteGenCommand(const std::string& nodeName) override {
        calls.push_back("Execute " + nodeName);
        return executeResult;
    }
    Result GetGenEnumEntries(const std::string& nodeName, std::list<std::string>&) override {
        calls.push_back("Entries " + nodeName);
        return {};
    }
    Result Write(const std::string& fileName, const std::string& transport) override {
        calls.push_back("Upload " + fileName + " " + transport);
        return uploadResult;
    }
    Result Reset() override {
        calls.emplace_back("Reset");
        return resetResult;
    }

    std::map<std::string, std::string> features;
    std::vector<std::string> calls;
    Result writeResult;
    Result executeResult;
    Result uploadResult;
    Result resetResult;
};

class GenFUControlTest : public testing::Test {
  protected:
    Result Run(const std::string& manifest) {
        const Result built = GenFUParser(&mControl).Build(manifest);
        EXPECT_EQ(built.GetMessage(), "");
        return mControl.Run();
    }

    /// Two updates for two models, each with one file.
    static std::string TwoModels() {
        return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0">
<Procedure Id="a"><FileUpload Transport="TFTP"><FileName>a.dfw</FileName></FileUpload></Procedure>
<Procedure Id="b"><FileUpload Transport="GenICam"><FileName>b.dfw</FileName></FileUpload></Procedure>
<Update ProcedureId="a"><Condition Feature="DeviceModelName">AA</Condition>
  <Condition Feature="Revision">[12]</Condition></Update>
<Update ProcedureId="b"><Condition Feature="DeviceModelName">AA|BB</Condition></Update>
<Update ProcedureId="a"><Condition Feature="DeviceModelName">BB</Condition></Update>
</FirmwareUpdate>)";
    }

    RecordingUpdater mUpdater;
    GenFUControl mControl{&mUpdater};
};

}  // namespace

TEST_F(GenFUControlTest, RunsTheFirstUpdateWhoseConditionsAllHold) {
    mUpdater.features = {{"DeviceModelName", "AA"}, {"Revision", "2"}};
    EXPECT_EQ(Run(TwoModels()).GetCode(), 0U);
    EXPECT_EQ(mUpdater.calls.back(), "Upload a.dfw TFTP");

    mUpdater.features["Revision"] = "3";
    EXPECT_EQ(mControl.Run().GetCode(), 0U);
    EXPECT_EQ(mUpdater.calls.back(), "Upload b.dfw GenICam");

    mUpdater.features["DeviceModelName"] = "BB";
    EXPECT_EQ(mControl.Run().GetCode(), 0U);
    EXPECT_EQ(mUpdater.calls.back(), "Upload b.dfw GenICam");
}

TEST_F(GenFUControlTest, NamesTheModelWhenNoUpdateSuits) {
    mUpdater.features = {{"DeviceModelName", "AAA"}, {"Revision", "1"}};
    const Result result = Run(TwoModels());
    EXPECT_EQ(result.GetCode(), kNxNoUpdate);
    EXPECT_EQ(result.GetMessage(), "No update in this package is for AAA");
}

TEST_F(GenFUControlTest, TakesAFeatureThatCannotBeReadForAConditionThatDoesNotHold) {
    mUpdater.features = {{"DeviceModelName", "AA"}};
    EXPECT_EQ(Run(TwoModels()).GetCode(), 0U);
    EXPECT_EQ(mUpdater.calls.back(), "Upload b.dfw GenICam");
}

TEST_F(GenFUControlTest, TellsWhichFeatureCouldNotBeReadWhenNoUpdateSuits) {
    const Result result = Run(TwoModels());
    EXPECT_EQ(result.GetCode(), 25U);
    EXPECT_EQ(result.GetMessage(),
              "No update in this package is for this device: reading \"DeviceModelName\" failed "
              "with code 25: the device does not have this feature, or it cannot be read");
}

TEST_F(GenFUControlTest, KeepsControlCharactersOfTheModelFromTheTerminal) {
    mUpdater.features = {{"DeviceModelName", "A\x1B[2J\nB\u009b\u202e\u2028"}, {"Revision", "1"}};
    EXPECT_EQ(Run(TwoModels()).GetMessage(), "No update in this package is for A?[2J?B\?\?\?");
}

TEST_F(GenFUControlTest, DoesTheStepsInOrder) {
    mUpdater.features = {{"DeviceModelName", "X"}, {"F", "x"}};
    EXPECT_EQ(Run(ReplaceInManifest("<DeviceReset/>",
                                    "<FeatureExecute><FeatureName>Go</FeatureName>"
                                    "</FeatureExecute>\n<DeviceReset/>"))
                  .GetCode(),
              0U);
    EXPECT_EQ(mUpdater.calls,
              (std::vector<std::string>{"Read DeviceModelName", "Upload a.dfw TFTP", "Read F",
                                        "Write F=v", "Execute Go", "Reset"}));
}

TEST_F(GenFUControlTest, GivesTheAssertsMessageWhenTheFeatureDoesNotMatch) {
    mUpdater.features = {{"DeviceModelName", "X"}, {"F", "xx"}};
    const Result result = Run(ReplaceInManifest(">m<", ">Ask the factory.<"));
    EXPECT_EQ(result.GetCode(), kNxAssertFailed);
    EXPECT_EQ(result.GetMessage(), "Ask the factory.");
    EXPECT_EQ(mUpdater.calls.back(), "Read F");
}

TEST_F(GenFUControlTest, EndsWithTheCodeAndNameOfTheStepThatFails) {
    mUpdater.features = {{"DeviceModelName", "X"}};
    const std::string manifest = ReplaceInManifest(
        "<DeviceReset/>",
        "<FeatureExecute><FeatureName>Go</FeatureName></FeatureExecute>\n<DeviceReset/>");

    mUpdater.uploadResult = Result(1);
    Result result = Run(manifest);
    EXPECT_EQ(result.GetCode(), 1U);
    EXPECT_EQ(result.GetMessage(),
              "Step 1 of procedure \"p\", FileUpload of \"a.dfw\" by TFTP, failed with code 1: the "
              "file was not transferred, or the device did not accept it");
    EXPECT_EQ(mUpdater.calls.back(), "Upload a.dfw TFTP");

    mUpdater.uploadResult = Result();
    result = mControl.Run();
    EXPECT_EQ(result.GetCode(), 25U);
    EXPECT_EQ(
        result.GetMessage(),
        "Step 2 of procedure \"p\", FeatureAssert of \"F\", failed with code 25: the device does "
        "not have this feature, or it cannot be read");

    mUpdater.features["F"] = "x";
    mUpdater.writeResult = Result(1540);
    result = mControl.Run();
    EXPECT_EQ(result.GetCode(), 1540U);
    EXPECT_EQ(
        result.GetMessage(),
        "Step 3 of procedure \"p\", FeatureWrite of \"F\", failed with code 1540: the updater "
        "does not provide this operation");

    mUpdater.writeResult = Result();
    mUpdater.executeResult = Result(1540, "no such thing");
    result = mControl.Run();
    EXPECT_EQ(result.GetMessage(),
              "Step 4 of procedure \"p\", FeatureExecute of \"Go\", failed with code 1540: no such "
              "thing");

    mUpdater.executeResult = Result();
    mUpdater.resetResult = Result(16);
    result = mControl.Run();
    EXPECT_EQ(result.GetCode(), 16U);
    EXPECT_EQ(result.GetMessage(),
              "Step 5 of procedure \"p\", DeviceReset, failed with code 16: no transfer is "
              "running, so there is no device to reset");

    mUpdater.resetResult = Result(77);
    EXPECT_EQ(mControl.Run().GetMessage(),
              "Step 5 of procedure \"p\", DeviceReset, failed with code 77");
}

TEST_F(GenFUControlTest, GivesUpOnAPatternThatTakesTooLong) {
    mUpdater.features = {{"DeviceModelName", "X"}, {"F", std::string(4000, 'a')}};
    const Result result = Run(ReplaceInManifest(">x<", ">(a|aa)+c?[bd]<"));
    EXPECT_EQ(result.GetCode(), kNxAssertFailed);
    EXPECT_EQ(
        result.GetMessage(),
        "Step 2 of procedure \"p\", FeatureAssert of \"F\": matching its pattern takes too long");
}

TEST_F(GenFUControlTest, ForgetsTheModelBuiltBefore) {
    mUpdater.features = {{"DeviceModelName", "X"}, {"F", "x"}};
    EXPECT_EQ(Run(PlainManifest()).GetCode(), 0U);
    EXPECT_EQ(Run(TwoModels()).GetCode(), kNxNoUpdate);
    EXPECT_EQ(GenFUParser(&mControl).Build("<a/>").GetCode(), kNxBadManifest);
}

TEST_F(GenFUControlTest, FindsNoUpdateBeforeAnythingWasBuilt) {
    mUpdater.features = {{"DeviceModelName", "X"}};
    EXPECT_EQ(mControl.Run().GetMessage(), "No update in this package is for X");
}

TEST_F(GenFUControlTest, RefusesPiecesWithoutTheirWhole) {
    EXPECT_EQ(mControl.AddDeviceReset().GetMessage(), "a step must belong to a procedure");
    EXPECT_EQ(mControl.AddInfo("a", "b").GetMessage(), "an <Info> must belong to an update");
    EXPECT_EQ(mControl.AddCondition("a", "b").GetMessage(), "a condition must belong to an update");
    EXPECT_EQ(mControl.AddUpdate("p").GetMessage(), "unknown procedure id \"p\"");
    EXPECT_EQ(mControl.AddProcedure("p").GetCode(), 0U);
    EXPECT_EQ(mControl.AddProcedure("p").GetMessage(), "duplicate procedure id \"p\"");
    EXPECT_EQ(mControl.AddFeatureAssert("a", "(", "m").GetMessage(),
              "invalid regular expression: missing closing parenthesis (byte 2)");
    EXPECT_EQ(mControl.AddCondition("a", "(").GetMessage(),
              "invalid regular expression: missing closing parenthesis (byte 2)");
}

TEST_F(GenFUControlTest, HasRunAsTheFirstOperationAfterItsDestructors) {
    // The update job of an installed program calls it by that place.
    mUpdater.features = {{"DeviceModelName", "X"}};
    NxGenICamLib::IGenFUModel* model = &mControl;
    EXPECT_EQ(static_cast<void*>(model), static_cast<void*>(&mControl));
    const auto* const table = *reinterpret_cast<void* const* const*>(model);
    using RunOperation = Result (*)(void*);
    const auto run = reinterpret_cast<RunOperation>(table[2]);
    EXPECT_EQ(run(model).GetMessage(), "No update in this package is for X");
}
