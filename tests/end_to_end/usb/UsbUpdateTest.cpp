#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SimulatedCamera.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

using testing::HasSubstr;

const std::string kSuccess =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
    "Resetting device\nFirmware upload complete.\n";

void ExpectSuccess(const ProcessResult& result) {
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(WithoutLabels(result.out), kSuccess);
}

std::string VersionsOf(UsbCamera& camera) {
    const ProcessResult result = camera.Run({Program("mirsko-devices"), "--json"});
    std::string versions;
    const auto inventory = nlohmann::json::parse(result.out);
    for (const auto& interface : inventory["interfaces"]) {
        for (const auto& device : interface["devices"]) {
            versions += device.value("version", "?") + " ";
        }
    }
    return versions;
}

}  // namespace

TEST(UsbUpdateTest, WritesTheFirmwareIntoTheCamera) {
    const std::string body = RandomBytes(1000003, 1);
    UsbCamera camera;
    EXPECT_EQ(VersionsOf(camera), "1.0 ");
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_EQ(camera.State()["stored_version"], "2.1");
    // File access cannot reset the device; the new firmware runs once it was switched on again.
    EXPECT_EQ(camera.State()["resets"], 0);
    EXPECT_EQ(VersionsOf(camera), "2.1 ");
    EXPECT_TRUE(camera.Events("u3v_command_repeated").empty());
    EXPECT_TRUE(camera.Events("u3v_bad_command").empty());
}

// Its name is longer than the 32 bytes that GigE Vision discovery carries.
TEST(UsbUpdateTest, UpdatesTheModelThatAPayloadIsRestrictedTo) {
    const std::string name = "zelka_qrm_lanx_fk02_tc3mn03_128kd-2.1.dfw";
    const std::string body = RandomBytes(5000, 3);
    UsbCamera camera({"--model", "zELKA-QRm-LanX-FK02-TC3MN03-128kD"});
    ExpectSuccess(camera.Update({"--u3v", camera.Write(name, MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);

    UsbCamera other({"--model", "zELKA-QRm-LanX-FK02-TC3MN03-64kD"});
    const ProcessResult refused = other.Update({"--u3v", other.Write(name, MakePayload(body))});
    EXPECT_EQ(refused.exitStatus, 103);
    EXPECT_EQ(refused.out + refused.err, "");
    EXPECT_EQ(other.Firmware(), "");
}

TEST(UsbUpdateTest, LabelsTheProgressOfTheTransfer) {
    UsbCamera camera({"--max-command", "1024", "--max-ack", "1024"});
    const std::string payload = MakePayload(RandomBytes(2 * 1024 * 1024, 2));
    const ProcessResult result = camera.Update({"--u3v", camera.Write("camera.dfw", payload)});
    EXPECT_THAT(result.out,
                testing::ContainsRegex("\r[0-9]+/2048 KBs transferred \\([0-9]+%\\)\r"));
    ExpectSuccess(result);
}

TEST(UsbUpdateTest, TakesTheUsbCameraThoughALocalInterfaceIsNamed) {
    SimulatedCamera network({});
    UsbCamera camera;
    const std::string body = RandomBytes(50000, 3);
    ExpectSuccess(
        camera.Update({kLoopback, "--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_EQ(network.Firmware(), "");
}

TEST(UsbUpdateTest, TakesTheFirstCameraInTheOrderOfBusAndPort) {
    UsbCamera camera({"--plug", "4-1", "--plug", "2-10", "--plug", "2-2", "--plug", "2-1.3",
                      "--controllers", "3"});
    const std::string body = RandomBytes(50000, 4);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(4), body);
    for (const int other : {1, 2, 3}) {
        EXPECT_EQ(camera.Firmware(other), "") << other;
    }
}

TEST(UsbUpdateTest, EndsWithStatus100WhenNoCameraIsPluggedIn) {
    UsbCamera camera({"--nothing-plugged-in", "--keyboard"});
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload("x"))});
    EXPECT_EQ(result.exitStatus, 100);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Error: must specify --localinterface or --u3v\n");
    EXPECT_TRUE(camera.Events("usb_opened").empty()) << "foreign devices are not opened";
}

TEST(UsbUpdateTest, ListsBothBusesOfAControllerAsOne) {
    UsbCamera camera({"--controllers", "2", "--plug", "3-1", "--plug", "4-1", "--plug", "1-2"});
    const ProcessResult result = camera.Run({Program("mirsko-devices"), "--json"});
    std::vector<std::string> found;
    const auto inventory = nlohmann::json::parse(result.out);
    for (const auto& interface : inventory["interfaces"]) {
        if (interface["kind"] != "network adapter") {
            std::string line = interface["name"];
            for (const auto& device : interface["devices"]) {
                line += " " + device.value("serial", "?");
            }
            found.push_back(line);
        }
    }
    EXPECT_THAT(
        found, testing::ElementsAre("0000:01:00.0 SIM-0001-3", "0000:02:00.0 SIM-0001 SIM-0001-2"));
}

TEST(UsbUpdateTest, GivesTheCameraItsNewName) {
    UsbCamera camera;
    const ProcessResult result = camera.Update(
        {"--u3v", "--deviceid=left-eye", camera.Write("camera.dfw", MakePayload("firmware"))});
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("Setting new device ID\n"));
    EXPECT_EQ(camera.State()["device_id"], "left-eye");
    EXPECT_EQ(camera.Firmware(), "firmware");
}

TEST(UsbUpdateTest, ReadsAZippedDescriptionAndSelectorDependentRegisters) {
    UsbCamera camera({"--zipped-xml", "--selector-dependent"});
    const std::string body = RandomBytes(50000, 5);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);
}

TEST(UsbUpdateTest, FailsOnACameraWithoutFileAccessToItsFirmware) {
    for (const char* profile : {"no-file-access", "backup-load", "selector-without-dfw"}) {
        SCOPED_TRACE(profile);
        UsbCamera camera({"--profile", profile});
        const ProcessResult result = camera.Update(
            {"--u3v", "--deviceid=new", camera.Write("camera.dfw", MakePayload("x"))});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "Writing payload file to device failed!\n");
        EXPECT_EQ(camera.Firmware(), "");
        EXPECT_EQ(camera.State()["transfers"], 0);
    }
}

TEST(UsbUpdateTest, WaitsForWhatTheCameraAnnouncesAsPending) {
    UsbCamera camera({"--pending-every", "9", "--pending-time", "250"});
    const std::string body = RandomBytes(20000, 6);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_FALSE(camera.Events("u3v_pending_ack").empty());
    EXPECT_TRUE(camera.Events("u3v_command_repeated").empty());
}

TEST(UsbUpdateTest, SendsFewCommandsWhereOnlyAcknowledgesAreShort) {
    UsbCamera camera({"--max-command", "65548", "--max-ack", "1024", "--buffer-size", "65536"});
    const std::string body = RandomBytes(300000, 9);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_EQ(camera.Firmware(), body);
    const auto commandsAt = [&camera](const std::string& event) {
        return camera.Events(event).at(0)["commands"].get<int>();
    };
    // 10 of them carry the data; writes as short as the acks would take 300.
    EXPECT_LE(commandsAt("file_close") - commandsAt("file_open"), 40);
}

struct Limits {
    unsigned int command;
    unsigned int ack;
    unsigned int buffer;
};

class UsbLimitsTest : public testing::TestWithParam<Limits> {};

TEST_P(UsbLimitsTest, EveryByteArrives) {
    const Limits& limits = GetParam();
    UsbCamera camera({"--max-command", std::to_string(limits.command), "--max-ack",
                      std::to_string(limits.ack), "--buffer-size", std::to_string(limits.buffer)});
    // Neither a whole number of buffers, nor of commands, nor of registers.
    const std::string body = RandomBytes(200001, limits.command + limits.buffer);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_TRUE(camera.Firmware() == body);
    EXPECT_TRUE(camera.Events("u3v_bad_command").empty());
}

static std::vector<Limits> AllLimits() {
    std::vector<Limits> all = {
        {1024, 1024, 1000}, {65548, 65548, 16384}, {65548, 1024, 65536}, {1024, 65548, 65536}};
    const std::pair<unsigned int, unsigned int> transfers[] = {
        {1024, 1024}, {1044, 1036}, {4108, 4108}, {16404, 16396}, {65548, 65548}};
    for (const auto& [command, ack] : transfers) {
        for (const unsigned int buffer : {512U, 4096U, 65536U}) {
            all.push_back({command, ack, buffer});
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(, UsbLimitsTest, testing::ValuesIn(AllLimits()), [](const auto& tested) {
    return std::to_string(tested.param.command) + "and" + std::to_string(tested.param.ack) +
           "with" + std::to_string(tested.param.buffer);
});
