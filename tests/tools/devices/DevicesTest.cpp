// mirsko-devices, the tool that lists interfaces and devices.
#include <gmock/gmock.h>

#include "Process.h"
#include "SimulatedCamera.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

ProcessResult ListDevices(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), Program("mirsko-devices"));
    return Process::Run(std::move(arguments));
}

/// A computer without USB, whatever the one that runs the test has.
class DevicesTest : public testing::Test {
  protected:
    DevicesTest() {
        EXPECT_EQ(Process::Run({"mount", "-t", "tmpfs", "none", "/sys"}).exitStatus, 0);
    }
};

const std::string kLoopbackLine = "lo  127.0.0.1  --localinterface=00:00:00:00:00:00\n";

}  // namespace

TEST_F(DevicesTest, ListsAnInterfaceWithoutDevices) {
    const ProcessResult result = ListDevices();
    EXPECT_EQ(result.out, kLoopbackLine + "    no devices\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, SaysOfEachDeviceWhatTellsItFromOthers) {
    SimulatedCamera camera({"--profile", "file-access", "--no-tftp", "--user-name", "left"});
    SimulatedCamera loader({"--profile", "loader", "--no-tftp", "--address", "127.0.0.2",
                            "--serial", "SIM-0002", "--mac", "02:4d:53:00:00:02"});
    const ProcessResult result = ListDevices();
    EXPECT_THAT(result.out, StartsWith(kLoopbackLine));
    EXPECT_THAT(result.out, HasSubstr("\n    Mirsko Simulated Camera, serial SIM-0001, version "
                                      "1.0, ID left (GigE Vision, 127.0.0.1%lo)\n"));
    EXPECT_THAT(result.out, HasSubstr("\n    Mirsko Simulated Camera, serial SIM-0002, version "
                                      "1.0 (loader, 127.0.0.2%lo)\n"));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3) << result.out;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

struct Choice {
    const char* profile;
    const char* expected;
};

class TransportChoiceTest : public DevicesTest, public testing::WithParamInterface<Choice> {};

TEST_P(TransportChoiceTest, NamesTheTransportThatTheUpdaterTakes) {
    SimulatedCamera camera({"--profile", GetParam().profile});
    const ProcessResult result = ListDevices({"--transport"});
    EXPECT_THAT(result.out, HasSubstr(std::string("\n        transport: ") + GetParam().expected));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    TemporaryFolder folder;
    const std::string path = folder.Write("fw.dfw", MakePayload("new firmware"));
    const ProcessResult update = RunUpdater({kLoopback, "--noreset", path});
    EXPECT_THAT(update.out, HasSubstr("Firmware upload complete."));
    EXPECT_EQ(camera.HasEvent("file_open"),
              std::string(GetParam().expected).starts_with("GenICam"));
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, TransportChoiceTest,
    testing::Values(Choice{"file-access", "GenICam file access\n"},
                    Choice{"single-file", "GenICam file access\n"},
                    Choice{"main-load", "GenICam file access\n"},
                    Choice{"no-file-access",
                           "TFTP; 127.0.0.1 on lo has no GenICam file access: it has no feature "
                           "FileOperationSelector\n"},
                    Choice{"backup-load", "TFTP; the device is running its backup load\n"},
                    Choice{
                        "selector-without-dfw",
                        "TFTP; 127.0.0.1 on lo has no entry RemoteUpdateDfw in its FileSelector"},
                    Choice{"loader", "TFTP; Cannot control "}),
    [](const auto& choice) {
        std::string name = choice.param.profile;
        std::erase(name, '-');
        return name;
    });

TEST_F(DevicesTest, TellsHowUsbDevicesAreSelected) {
    UsbCamera camera;
    const ProcessResult result = camera.Run({Program("mirsko-devices")});
    EXPECT_THAT(result.out, HasSubstr("0000:01:00.0  --u3v\n"
                                      "    Mirsko Simulated Camera, serial SIM-0001, version 1.0 "
                                      "(USB3 Vision, u3v:"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, LeavesOutAVersionThatCannotBeRead) {
    UsbCamera camera({"--access-denied"});
    const ProcessResult result = camera.Run({Program("mirsko-devices")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, testing::HasSubstr("serial "));
    EXPECT_THAT(result.out, testing::Not(testing::HasSubstr("version")));
}

TEST_F(DevicesTest, FindsADeviceThatAnswersLate) {
    SimulatedCamera camera({"--no-tftp", "--discovery-delay", "600"});
    EXPECT_EQ(DeviceField("serial"), "SIM-0001");
}

TEST_F(DevicesTest, FindsADeviceThatMissesTheFirstCommands) {
    SimulatedCamera camera({"--no-tftp", "--discoveries-lost", "7"});
    EXPECT_EQ(DeviceField("serial"), "SIM-0001");
}

TEST_F(DevicesTest, ListsADeviceOnceHoweverOftenItAnswers) {
    SimulatedCamera camera({"--no-tftp", "--duplicate", "100"});
    const ProcessResult result = ListDevices();
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2) << result.out;
}

TEST_F(DevicesTest, ExplainsItselfAndItsExitStatuses) {
    const ProcessResult result = ListDevices({"--help"});
    EXPECT_THAT(result.out,
                AllOf(StartsWith("Lists this computer's interfaces and the devices on each.\n"),
                      HasSubstr("Exit status: 0 the list is complete, 1 no interface could be "
                                "searched, 2 usage error."),
                      HasSubstr("--json")));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, EndsWithStatus1WhenNoInterfaceCanBeSearched) {
    ASSERT_EQ(Process::Run({"ip", "link", "set", "lo", "down"}).exitStatus, 0);
    const ProcessResult result = ListDevices();
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(ListDevices({"--json"}).out, "[]\n");
}

TEST_F(DevicesTest, EndsWithStatus2OnWrongUse) {
    for (const char* wrong : {"--xml", "device"}) {
        const ProcessResult result = ListDevices({wrong});
        EXPECT_EQ(result.out, "") << wrong;
        EXPECT_THAT(result.err, HasSubstr(wrong));
        EXPECT_EQ(result.exitStatus, 2) << wrong;
    }
}

TEST_F(DevicesTest, EndsWithStatus1WhenTheListCannotBePrinted) {
    const ProcessResult result =
        Process::Run({"sh", "-c", Program("mirsko-devices") + " >/dev/full"});
    EXPECT_EQ(result.exitStatus, 1);
}
