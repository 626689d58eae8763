// The real binary and packages of several steps, with a simulated camera that is away for a while
// after each reset that the updater asks for.
#include <gtest/gtest.h>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

const std::string kOneUpload =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
    "Resetting device\nFirmware upload complete.\n";

class PackageRestartTest : public testing::TestWithParam<int> {
  protected:
    ProcessResult Run(const std::string& steps) {
        return RunUpdater(
            {kLoopback,
             mFolder.Write("package.zip",
                           MakeZip({{"Manifest.xml", MakeManifest(steps)},
                                    {"a.dfw", MakePayload(mFirst)},
                                    {"b.dfw", MakePayload(mSecond, {.minorNumber = 2})}}))});
    }

    void ExpectBothUploads(const std::string& first, const std::string& second) {
        const ProcessResult result = Run(Upload("a.dfw", first) + Upload("b.dfw", second));
        EXPECT_EQ(WithoutLabels(result.out), kOneUpload + kOneUpload);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.exitStatus, 0);
        const auto flashed = mCamera.Events("flashed");
        ASSERT_EQ(flashed.size(), 2U);
        EXPECT_EQ(flashed[0].value("version", ""), "2.1");
        EXPECT_EQ(flashed[1].value("version", ""), "2.2");
        EXPECT_TRUE(mCamera.Firmware() == mSecond);
        const int resets = (first == "TFTP" ? 1 : 0) + (second == "TFTP" ? 1 : 0);
        EXPECT_EQ(mCamera.State().value("resets", 0), resets);
    }

    SimulatedCamera mCamera{
        {"--profile", "file-access", "--reboot-time", std::to_string(GetParam())}};
    TemporaryFolder mFolder;
    const std::string mFirst = RandomBytes(50000, 1);
    const std::string mSecond = RandomBytes(40000, 2);
};

}  // namespace

TEST_P(PackageRestartTest, UploadsByFileAccessTwice) {
    ExpectBothUploads("GenICam", "GenICam");
}

TEST_P(PackageRestartTest, UploadsByFileAccessAndThenByTftp) {
    ExpectBothUploads("GenICam", "TFTP");
}

TEST_P(PackageRestartTest, UploadsByTftpAndThenByFileAccess) {
    ExpectBothUploads("TFTP", "GenICam");
}

TEST_P(PackageRestartTest, UploadsByTftpTwice) {
    ExpectBothUploads("TFTP", "TFTP");
}

TEST_P(PackageRestartTest, ReadsAFeatureAfterAnUploadByTftp) {
    const ProcessResult result =
        Run(Upload("a.dfw", "TFTP") +
            "<FeatureAssert><FeatureName>DeviceModelName</FeatureName><AssertPattern>Simulated "
            "Camera</AssertPattern><Message>Ask the factory.</Message></FeatureAssert>" +
            Upload("b.dfw", "GenICam"));
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload + kOneUpload);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(mCamera.Firmware() == mSecond);
}

INSTANTIATE_TEST_SUITE_P(RestartTimes, PackageRestartTest, testing::Values(0, 300, 600, 1000, 3000),
                         [](const auto& time) {
                             return std::to_string(time.param) + "Milliseconds";
                         });
