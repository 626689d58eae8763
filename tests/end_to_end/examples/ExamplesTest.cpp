// The examples of the documents, run as their readers would run them.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kScript = MIRSKO_EXAMPLES "/update-camera.sh";
const std::string kDevice = "127.0.0.1%lo";

class ExamplesTest : public testing::Test {
  protected:
    static ProcessResult RunScript(const std::string& file) {
        const auto programs = std::filesystem::path(Program("mirsko-simulator")).parent_path();
        return Process::Run({"env", "PATH=" + programs.string() + ":" + std::getenv("PATH"), "sh",
                             kScript, "00:00:00:00:00:00", file},
                            std::chrono::minutes(4));
    }
    static ProcessResult RunExample(const std::string& name, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), MIRSKO_EXAMPLE_PROGRAMS "/example-" + name);
        return Process::Run(std::move(arguments), std::chrono::minutes(4));
    }
    static void ExpectFailure(const ProcessResult& result, const std::string& err) {
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, err);
    }

    const TemporaryFolder mFolder;
    const std::string mBody = RandomBytes(50000, 1);
    const std::string mPayload = mFolder.Write("camera.dfw", MakePayload(mBody));
};

}  // namespace

TEST_F(ExamplesTest, TheScriptReportsASuccess) {
    const SimulatedCamera camera({});
    const ProcessResult result = RunScript(mPayload);
    EXPECT_EQ(result.out, "updated\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(camera.Firmware(), mBody);
}

TEST_F(ExamplesTest, TheScriptReportsThatTheDeviceRejectedThePayload) {
    const SimulatedCamera camera({"--family", "Other"});
    const ProcessResult result = RunScript(mPayload);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("not updated (status 0): Update failed.\nStatus error: "));
    EXPECT_EQ(camera.Firmware(), "");
}

TEST_F(ExamplesTest, TheScriptReportsWhatWasNotStarted) {
    ExpectFailure(RunScript(mPayload),
                  "not updated (status 100): nothing was started\n"
                  "Error: must specify --localinterface or --u3v\n");
    ExpectFailure(RunScript("camera.bin"),
                  "not updated (status 0): wrong arguments, or a file that is not .dfw or .zip in "
                  "lower case\n");
    const SimulatedCamera camera({});
    ExpectFailure(RunScript("missing.dfw"), "not updated (status 101): nothing was started\n");
}

TEST_F(ExamplesTest, TheScriptReportsAPackageThatFailsAfterItsFirstFile) {
    const SimulatedCamera camera({});
    const std::string manifest = MakeManifest(Upload("a.dfw") + "<DeviceReset/>");
    const ProcessResult result = RunScript(mFolder.Write(
        "p.zip", MakeZip({{"Manifest.xml", manifest}, {"a.dfw", MakePayload(mBody)}})));
    ExpectFailure(result,
                  "not updated (status 0): Firmware upload complete.\n"
                  "Step 2 of procedure \"p\", DeviceReset, failed with code 16: no transfer is "
                  "running, so there is no device to reset\n");
}

TEST_F(ExamplesTest, DevicesAreListed) {
    const SimulatedCamera camera({});
    const ProcessResult result = RunExample("list-devices", {});
    EXPECT_EQ(result.out, kDevice + ": Simulated Camera, serial number SIM-0001, version 1.0\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(ExamplesTest, AFeatureIsRead) {
    const SimulatedCamera camera({});
    const ProcessResult result = RunExample("read-feature", {kDevice, "DeviceModelName"});
    EXPECT_EQ(result.out, "Simulated Camera\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    ExpectFailure(RunExample("read-feature", {kDevice, "Nonsense"}),
                  "127.0.0.1 on lo has no GenICam feature Nonsense\n");
}

TEST_F(ExamplesTest, AFileIsWritten) {
    const SimulatedCamera camera({});
    const ProcessResult result = RunExample("write-file", {kDevice, mPayload});
    EXPECT_THAT(result.out, EndsWith("Status: Firmware applied: MirskoSim 2.1\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(camera.Firmware(), mBody);
}

TEST_F(ExamplesTest, AFileIsNotWrittenWithoutFileAccess) {
    const SimulatedCamera camera({"--profile", "no-file-access"});
    const ProcessResult result = RunExample("write-file", {kDevice, mPayload});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, StartsWith("127.0.0.1 on lo has no GenICam file access: "));
}

TEST_F(ExamplesTest, APayloadIsSentByTftp) {
    SimulatedCamera camera({"--profile", "no-file-access"});
    const ProcessResult result = RunExample("send-by-tftp", {kDevice, mPayload});
    EXPECT_EQ(result.out, "Sending MirskoSim 2.1\nStatus: Firmware applied: MirskoSim 2.1\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(camera.Firmware(), mBody);
    EXPECT_TRUE(WaitUntil([&] { return camera.State()["resets"] == 1; }));
}

TEST_F(ExamplesTest, ADamagedPayloadIsNotSent) {
    const std::string damaged = mFolder.Write("damaged.dfw", MakePayload(mBody) + "x");
    const ProcessResult result = RunExample("send-by-tftp", {kDevice, damaged});
    ExpectFailure(result, damaged +
                              " is not a firmware payload: its body has 50001 bytes, but its "
                              "header says 50000\n");
}
