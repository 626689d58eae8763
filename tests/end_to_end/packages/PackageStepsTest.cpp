// The real binary and packages whose manifests ask for more than uploads, with a simulated camera.
#include <gtest/gtest.h>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

const std::string kDone =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
    "Resetting device\nFirmware upload complete.\n";
const std::string kFailed = "Starting update...\n\nUpdate failed.\n";
const std::string kUpload = Upload("a.dfw", "GenICam");

std::string Assert(const FeaturePattern& pattern) {
    return "<FeatureAssert><FeatureName>" + pattern.feature + "</FeatureName><AssertPattern>" +
           pattern.pattern + "</AssertPattern><Message>Ask the factory.</Message></FeatureAssert>";
}

class PackageStepsTest : public testing::Test {
  protected:
    ProcessResult Run(const std::string& steps, const FeaturePattern& condition = {}) {
        return RunUpdater(
            {kLoopback,
             mFolder.Write("package.zip", MakeZip({{"Manifest.xml", MakeManifest(steps, condition)},
                                                   {"a.dfw", MakePayload(mBody)}}))});
    }

    void ExpectUpdate(const ProcessResult& result) {
        EXPECT_EQ(WithoutLabels(result.out), kDone);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_TRUE(mCamera.Firmware() == mBody);
    }

    /// The run must end before anything is transferred.
    void ExpectRefusal(const ProcessResult& result, const std::string& err) {
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, err);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(mCamera.Firmware(), "");
    }

    SimulatedCamera mCamera{{"--profile", "file-access"}};
    TemporaryFolder mFolder;
    const std::string mBody = RandomBytes(50000, 1);
};

}  // namespace

TEST_F(PackageStepsTest, AFeatureThatTheCameraLacksCannotBeAsserted) {
    ExpectRefusal(Run(Assert({"NoSuchFeature", ".*"}) + kUpload),
                  "Step 1 of procedure \"p\", FeatureAssert of \"NoSuchFeature\", failed with code "
                  "25: the device does not have this feature, or it cannot be read\n");
}

TEST_F(PackageStepsTest, AConditionOnAFeatureThatTheCameraLacksDoesNotHold) {
    ExpectRefusal(Run(kUpload, {"NoSuchFeature", ".*"}),
                  "No update in this package is for Simulated Camera: reading \"NoSuchFeature\" "
                  "failed with code 25: the device does not have this feature, or it cannot be "
                  "read\n");
}

TEST_F(PackageStepsTest, NoUpdateForTheModelIsSaid) {
    ExpectRefusal(Run(kUpload, {"DeviceModelName", "Other"}),
                  "No update in this package is for Simulated Camera\n");
}

TEST_F(PackageStepsTest, AFeatureWriteIsNotProvided) {
    ExpectRefusal(Run("<FeatureWrite><FeatureName>DeviceUserID</FeatureName><Value>x</Value>"
                      "</FeatureWrite>" +
                      kUpload),
                  "Step 1 of procedure \"p\", FeatureWrite of \"DeviceUserID\", failed with code "
                  "1540: the updater does not provide this operation\n");
    EXPECT_EQ(DeviceField("user_name"), "");
}

TEST_F(PackageStepsTest, AFeatureExecuteIsNotProvided) {
    ExpectRefusal(
        Run("<FeatureExecute><FeatureName>DeviceReset</FeatureName></FeatureExecute>" + kUpload),
        "Step 1 of procedure \"p\", FeatureExecute of \"DeviceReset\", failed with code "
        "1540: the updater does not provide this operation\n");
    EXPECT_EQ(mCamera.State().value("resets", 0), 0);
}

TEST_F(PackageStepsTest, ADeviceResetBeforeAnyUploadEndsTheRun) {
    ExpectRefusal(Run("<DeviceReset/>" + kUpload),
                  "Step 1 of procedure \"p\", DeviceReset, failed with code 16: no transfer is "
                  "running, so there is no device to reset\n");
    EXPECT_EQ(mCamera.State().value("resets", 0), 0);
}

TEST_F(PackageStepsTest, ADeviceResetAfterAnUploadEndsTheRunToo) {
    const ProcessResult result = Run(kUpload + "<DeviceReset/>");
    EXPECT_EQ(WithoutLabels(result.out), kDone);
    EXPECT_EQ(result.err,
              "Step 2 of procedure \"p\", DeviceReset, failed with code 16: no transfer is "
              "running, so there is no device to reset\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(mCamera.Firmware() == mBody);
}

TEST_F(PackageStepsTest, AnAssertThatDoesNotMatchIsToldInItsOwnWords) {
    ExpectRefusal(Run(Assert({"DeviceModelName", "Other"}) + kUpload), "Ask the factory.\n");
}

TEST_F(PackageStepsTest, AnAssertOnAnyFeatureIsAnsweredWithTheModelName) {
    // The simulated camera's own answer would be "Mirsko".
    ExpectRefusal(Run(Assert({"DeviceVendorName", "Mirsko"}) + kUpload), "Ask the factory.\n");
    ExpectUpdate(Run(Assert({"DeviceVendorName", "Simulated Camera"}) + kUpload));
}

TEST_F(PackageStepsTest, AConditionOnAnyFeatureIsAnsweredWithTheModelName) {
    ExpectRefusal(Run(kUpload, {"DeviceVendorName", "Mirsko"}),
                  "No update in this package is for Simulated Camera\n");
    ExpectUpdate(Run(kUpload, {"DeviceVendorName", "Simulated Camera"}));
}

TEST_F(PackageStepsTest, TheFirstUploadThatFailsEndsTheRun) {
    const ProcessResult result = Run(Upload("b.dfw", "GenICam") + kUpload);
    EXPECT_EQ(WithoutLabels(result.out), kFailed);
    EXPECT_EQ(mCamera.Firmware(), "");
}
