// The real binary with fewer file descriptors than it needs: each number from the first one that
// lets it start.
#include <gmock/gmock.h>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "UsbCamera.h"
#include "ZipBuilder.h"

namespace {

constexpr int kFirst = 3;  // the standard streams take three
constexpr int kLast = 40;  // more than any needs
constexpr int kNoLibrary = 127;
constexpr int kNoDevice = 100;

std::vector<std::string> UpdaterWith(int descriptors, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"prlimit", "--nofile=" + std::to_string(descriptors),
                                         Program("MirskoFirmwareUpdater")});
    return arguments;
}

bool IsComplete(const ProcessResult& result) {
    return result.out.ends_with("\nFirmware upload complete.\n");
}

/// Fails unless it ended by itself, with a reason that blames nobody else.
void ExpectAClearEnd(const ProcessResult& result) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0);
    EXPECT_THAT(result.exitStatus, testing::AnyOf(0, kNoDevice, kNoLibrary));
    EXPECT_THAT(result.out, testing::Not(testing::HasSubstr("complete")));
    EXPECT_THAT(result.err, testing::EndsWith("\n"));
    EXPECT_THAT(result.err, testing::Not(testing::HasSubstr("check its cable")));
}

class FewDescriptorsTest : public testing::Test {
  protected:
    std::string PackageFor(const std::string& transport) {
        return mFolder.Write(transport + ".zip",
                             MakeZip({{"Manifest.xml", MakeManifest(Upload("fw.dfw", transport))},
                                      {"fw.dfw", mPayload}}));
    }

    void ExpectClearEndsUpToAnUpdate(const std::vector<std::string>& options,
                                     const std::string& file) {
        SimulatedCamera camera(options);
        for (int descriptors = kFirst; descriptors <= kLast; ++descriptors) {
            SCOPED_TRACE(descriptors);
            const ProcessResult result =
                Process::Run(UpdaterWith(descriptors, {kLoopback, "--noreset", file}));
            if (IsComplete(result)) {
                EXPECT_EQ(result.err, "");
                EXPECT_EQ(camera.Firmware(), mBody);
                return;
            }
            ExpectAClearEnd(result);
            EXPECT_EQ(camera.Firmware(), "");
        }
        FAIL() << "not even with " << kLast;
    }

    TemporaryFolder mFolder;
    const std::string mBody = RandomBytes(5000, 1);
    const std::string mPayload = MakePayload(mBody);
    const std::string mFile = mFolder.Write("camera.dfw", mPayload);
};

}  // namespace

TEST_F(FewDescriptorsTest, EndFileAccessClearly) {
    ExpectClearEndsUpToAnUpdate({"--zipped-xml"}, mFile);
}

TEST_F(FewDescriptorsTest, EndTftpClearly) {
    ExpectClearEndsUpToAnUpdate({"--zipped-xml", "--profile", "no-file-access"}, mFile);
}

TEST_F(FewDescriptorsTest, EndAPackageClearly) {
    ExpectClearEndsUpToAnUpdate({"--zipped-xml"}, PackageFor("GenICam"));
}

TEST_F(FewDescriptorsTest, EndAPackageForTftpClearly) {
    ExpectClearEndsUpToAnUpdate({"--zipped-xml"}, PackageFor("TFTP"));
}

TEST_F(FewDescriptorsTest, EndUsb3VisionClearly) {
    for (const std::string& file : {mFile, PackageFor("GenICam")}) {
        UsbCamera camera;
        int descriptors = kFirst + 1;  // one for the library that stands in for the kernel
        ProcessResult result;
        do {
            SCOPED_TRACE(file + " " + std::to_string(descriptors));
            result = camera.Run(UpdaterWith(descriptors, {"--u3v", file}));
            if (!IsComplete(result)) {
                ExpectAClearEnd(result);
                EXPECT_EQ(camera.Firmware(), "");
            }
        } while (!IsComplete(result) && ++descriptors <= kLast);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(camera.Firmware(), mBody);
    }
}
