// mirsko-devices, the tool that lists interfaces and devices.
#include <csignal>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "GvcpClient.h"
#include "Process.h"
#include "SimulatedCamera.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

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

/// What --json printed; a test failure when it is not JSON.
json Inventory(const ProcessResult& result) {
    json inventory = json::parse(result.out, nullptr, false);
    EXPECT_FALSE(inventory.is_discarded()) << result.out << result.err;
    return inventory;
}

std::vector<std::string> CodesOf(const json& inventory) {
    std::vector<std::string> codes;
    for (const json& finding : inventory.value("findings", json::array())) {
        codes.push_back(finding["code"]);
    }
    return codes;
}

std::string TextOf(const json& inventory, const std::string& code) {
    for (const json& finding : inventory.value("findings", json::array())) {
        if (finding["code"] == code) {
            return finding["text"];
        }
    }
    return "";
}

void Shell(const std::string& script) {
    const ProcessResult result = Process::Run({"sh", "-ec", script});
    EXPECT_EQ(result.exitStatus, 0) << script << result.err;
}

}  // namespace

TEST_F(DevicesTest, ListsAnInterfaceWithoutDevices) {
    const ProcessResult result = ListDevices();
    EXPECT_EQ(result.out,
              "INTERFACE  DEVICE      KIND  SERIAL  VERSION  ID  ADDRESS  ACCESS  UPDATER OPTION\n"
              "lo         no devices  -     -       -        -   -        -       "
              "--localinterface=00:00:00:00:00:00\n"
              "\n0 devices, 1 interface (1 usable)\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, SaysOfEachDeviceWhatTellsItFromOthers) {
    SimulatedCamera camera({"--profile", "file-access", "--no-tftp", "--user-name", "left"});
    SimulatedCamera loader({"--profile", "loader", "--no-tftp", "--address", "127.0.0.2",
                            "--serial", "SIM-0002", "--mac", "02:4d:53:00:00:02"});
    const ProcessResult result = ListDevices();
    EXPECT_THAT(
        result.out,
        StartsWith("INTERFACE  DEVICE                   KIND         SERIAL    VERSION  ID    "
                   "ADDRESS    ACCESS   UPDATER OPTION\n"));
    EXPECT_THAT(result.out,
                HasSubstr("\nlo         Mirsko Simulated Camera  GigE Vision  SIM-0001  1.0      "
                          "left  127.0.0.1  free     --localinterface=00:00:00:00:00:00\n"));
    EXPECT_THAT(result.out,
                HasSubstr("\nlo         Mirsko Simulated Camera  loader       SIM-0002  1.0      "
                          "-     127.0.0.2  unknown  --localinterface=00:00:00:00:00:00\n"));
    EXPECT_THAT(result.out, HasSubstr("\n2 devices, 1 interface (1 usable)\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, SaysThatTheUpdaterTakesWhicheverOfSeveralCamerasAnswersFirst) {
    SimulatedCamera camera({"--no-tftp"});
    EXPECT_THAT(CodesOf(Inventory(ListDevices({"--json"}))), testing::IsEmpty());
    SimulatedCamera second({"--no-tftp", "--address", "127.0.0.2", "--serial", "SIM-0002", "--mac",
                            "02:4d:53:00:00:02"});
    const json inventory = Inventory(ListDevices({"--json"}));
    EXPECT_THAT(CodesOf(inventory), ElementsAre("several-devices"));
    EXPECT_EQ(TextOf(inventory, "several-devices"),
              "2 devices on lo: the updater takes the one that answers first; connect only one, or "
              "use mirsko-update");
    EXPECT_THAT(ListDevices().out, HasSubstr("\n\nNote: 2 devices on lo: "));
}

TEST_F(DevicesTest, PrintsAJsonObjectWithItsFormatAndTheOptionToPass) {
    SimulatedCamera camera({"--no-tftp"});
    const json inventory = Inventory(ListDevices({"--json"}));
    EXPECT_EQ(inventory["format"], 1);
    const json& interface = inventory["interfaces"][0];
    EXPECT_EQ(interface["option"], "--localinterface=00:00:00:00:00:00");
    EXPECT_EQ(interface["state"], "usable");
    EXPECT_EQ(interface["subnet"], "127.0.0.0/8");
    const json& device = interface["devices"][0];
    EXPECT_EQ(device["option"], interface["option"]);
    EXPECT_EQ(device["access"], "free");
    EXPECT_EQ(device["accessReason"], "");
    EXPECT_EQ(device["subnetMask"], "255.0.0.0");
}

TEST_F(DevicesTest, SaysWhyAnInterfaceCannotBeUsed) {
    Shell(
        "ip link add dark type veth peer name off\n"
        "ip link add bare type veth peer name other\n"
        "ip addr add 192.168.1.1/24 dev dark; ip link set dark up\n"
        "ip link set bare up; ip link set other up; ip addr add 192.168.2.1/24 dev other\n");
    EXPECT_TRUE(WaitUntil([] {
        return Process::Run({"sh", "-c", "ip -br link show bare | grep -q ' UP '"}).exitStatus == 0;
    }));
    const json inventory = Inventory(ListDevices({"--json"}));
    EXPECT_THAT(CodesOf(inventory),
                UnorderedElementsAre("no-link", "interface-down", "no-address"));
    EXPECT_EQ(TextOf(inventory, "no-link"),
              "dark has no link: check the cable, and that the camera has power");
    EXPECT_EQ(TextOf(inventory, "interface-down"),
              "off is down: switch it on (ip link set off up)");
    EXPECT_EQ(TextOf(inventory, "no-address"),
              "bare has no IPv4 address: give it one in the cameras' subnet (ip addr add "
              "ADDRESS/MASK dev bare)");
    Shell("ip link del dark; ip link del bare");
}

TEST_F(DevicesTest, SaysThatAnotherProgramControlsACamera) {
    SimulatedCamera camera({"--no-tftp"});
    for (const std::uint32_t privilege : {2U, 1U}) {
        GvcpClient other;
        ASSERT_EQ(other.Write(0xa00, privilege), 0U);
        ASSERT_EQ(other.Write(0x938, 60000), 0U);  // ms without a heartbeat
        const json inventory = Inventory(ListDevices({"--json"}));
        EXPECT_EQ(inventory["interfaces"][0]["devices"][0]["access"], "in use");
        EXPECT_THAT(TextOf(inventory, "in-use"), AllOf(HasSubstr("another program controls it"),
                                                       testing::EndsWith("; close that program")));
        ASSERT_EQ(other.Write(0xa00, 0), 0U);
    }
    EXPECT_EQ(Inventory(ListDevices({"--json"}))["interfaces"][0]["devices"][0]["access"], "free");
}

TEST_F(DevicesTest, SaysThatACameraAnswersNothingButDiscovery) {
    SimulatedCamera camera({"--no-tftp", "--mute-after", "0"});
    const json inventory = Inventory(ListDevices({"--json"}));
    EXPECT_EQ(inventory["interfaces"][0]["devices"][0]["access"], "no reply");
    EXPECT_THAT(CodesOf(inventory), ElementsAre("no-reply"));
}

TEST_F(DevicesTest, SaysThatAUsbCameraIsHeldOrMayNotBeOpened) {
    UsbCamera held({"--interface-busy"});
    json inventory = Inventory(held.Run({Program("mirsko-devices"), "--json"}));
    EXPECT_THAT(CodesOf(inventory), ElementsAre("in-use"));
    EXPECT_THAT(TextOf(inventory, "in-use"), HasSubstr("another program holds its control"));
    UsbCamera denied({"--access-denied"});
    inventory = Inventory(denied.Run({Program("mirsko-devices"), "--json"}));
    EXPECT_THAT(CodesOf(inventory), ElementsAre("access-denied"));
    EXPECT_THAT(TextOf(inventory, "access-denied"), HasSubstr("70-mirsko-u3v.rules"));
}

TEST_F(DevicesTest, ReportsEachChangeUntilItIsInterrupted) {
    Process watch({Program("mirsko-devices"), "--watch", "--json"});
    const auto reports = [&watch](const std::string& event) {
        return WaitUntil(
            [&] { return watch.OutputSoFar().find("\"event\":\"" + event) != std::string::npos; });
    };
    {
        SimulatedCamera camera({"--no-tftp"});
        EXPECT_TRUE(reports("appeared"));
        GvcpClient other;
        ASSERT_EQ(other.Write(0xa00, 2), 0U);
        ASSERT_EQ(other.Write(0x938, 60000), 0U);  // ms without a heartbeat
        EXPECT_TRUE(reports("changed"));
    }
    EXPECT_TRUE(reports("disappeared"));
    const ProcessResult result = watch.Terminate();
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_EQ(result.err, "");
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        const json report = json::parse(line, nullptr, false);
        EXPECT_EQ(report.value("format", 0), 1) << line;
        EXPECT_EQ(report["interface"], "lo");
        EXPECT_EQ(report["device"]["serial"], "SIM-0001");
    }
}

TEST_F(DevicesTest, WaitsForADevice) {
    Process wait({Program("mirsko-devices"), "--wait", "60", "--serial", "SIM-0002"});
    SimulatedCamera camera({"--no-tftp"});
    SimulatedCamera second({"--no-tftp", "--address", "127.0.0.2", "--serial", "SIM-0002", "--mac",
                            "02:4d:53:00:00:02"});
    const ProcessResult result = wait.Wait(std::chrono::seconds(60));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("SIM-0002"));
    const ProcessResult none = ListDevices({"--wait", "0", "--serial", "SIM-0003"});
    EXPECT_EQ(none.exitStatus, 1);
    EXPECT_EQ(none.err, "No device with serial number SIM-0003 was found in time\n");
}

struct Choice {
    const char* profile;
    const char* expected;
};

class TransportChoiceTest : public DevicesTest, public testing::WithParamInterface<Choice> {};

TEST_P(TransportChoiceTest, NamesTheTransportThatTheUpdaterTakes) {
    SimulatedCamera camera({"--profile", GetParam().profile});
    const ProcessResult result = ListDevices({"--transport"});
    const std::string expected = GetParam().expected;
    EXPECT_THAT(result.out,
                testing::ContainsRegex("  " + expected.substr(0, expected.find_first_of(";\n")) +
                                       " +--localinterface="));
    if (expected.find(';') != std::string::npos) {
        EXPECT_THAT(result.out, HasSubstr("\nTransport of 127.0.0.1%lo: " + expected));
    }
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
    EXPECT_THAT(result.out,
                testing::ContainsRegex("\n0000:01:00\\.0  Mirsko Simulated Camera  USB3 Vision  "
                                       "SIM-0001  1\\.0      -   u3v:[0-9A-F]*  free    --u3v\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, LeavesOutAVersionThatCannotBeRead) {
    UsbCamera camera({"--access-denied"});
    const ProcessResult result = camera.Run({Program("mirsko-devices")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("  SIM-0001  -        -   u3v:@2-1  denied  --u3v\n"));
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
    EXPECT_THAT(ListDevices().out, HasSubstr("\n1 device, 1 interface (1 usable)\n"));
}

TEST_F(DevicesTest, ExplainsItselfAndItsExitStatuses) {
    const ProcessResult result = ListDevices({"--help"});
    EXPECT_THAT(result.out,
                AllOf(StartsWith("Lists this computer's interfaces and the devices on each, "),
                      HasSubstr("Exit status: 0 the list is complete, 1 no interface could be "
                                "searched, "),
                      HasSubstr("--json"), HasSubstr("--watch"), HasSubstr("--wait SECONDS"),
                      HasSubstr("force-ip"), HasSubstr("persistent-ip")));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, NamesTheArgumentsOfItsSubcommandsInWordsOfTheirOwn) {
    for (const char* command : {"force-ip", "persistent-ip"}) {
        const ProcessResult result = ListDevices({command, "--help"});
        EXPECT_THAT(result.out, HasSubstr("\n  MAC  "));
        EXPECT_THAT(result.out, Not(AnyOf(HasSubstr("TEXT"), HasSubstr("REQUIRED"))));
    }
}

TEST_F(DevicesTest, PrintsItsVersion) {
    const ProcessResult result = ListDevices({"--version"});
    EXPECT_THAT(result.out, testing::MatchesRegex("mirsko-devices [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DevicesTest, EndsWithStatus1WhenNoInterfaceCanBeSearched) {
    ASSERT_EQ(Process::Run({"ip", "link", "set", "lo", "down"}).exitStatus, 0);
    const ProcessResult result = ListDevices();
    EXPECT_THAT(result.out, HasSubstr("\nlo         down    "));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.exitStatus, 1);
    const ProcessResult asJson = ListDevices({"--json"});
    EXPECT_EQ(Inventory(asJson)["interfaces"][0]["state"], "down");
    EXPECT_EQ(asJson.exitStatus, 1);
}

TEST_F(DevicesTest, EndsWithStatus2OnWrongUse) {
    for (const std::vector<std::string>& wrong :
         std::vector<std::vector<std::string>>{{"--xml"},
                                               {"device"},
                                               {"--wait", "1", "--watch"},
                                               {"--serial", "7"},
                                               {"--wait", "soon"},
                                               {"force-ip"},
                                               {"force-ip", "02:4d:53:00:00:01"}}) {
        const ProcessResult result = ListDevices(wrong);
        EXPECT_EQ(result.out, "") << wrong[0];
        EXPECT_NE(result.err, "") << wrong[0];
        EXPECT_EQ(result.exitStatus, 2) << wrong[0];
    }
}

TEST_F(DevicesTest, EndsWithStatus1WhenTheListCannotBePrinted) {
    const ProcessResult result =
        Process::Run({"sh", "-c", Program("mirsko-devices") + " >/dev/full"});
    EXPECT_EQ(result.exitStatus, 1);
}
