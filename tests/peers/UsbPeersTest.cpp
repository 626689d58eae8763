#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "UsbCamera.h"

// Programs that share no code with ours look at the simulated USB3 Vision camera.

using testing::HasSubstr;

TEST(UsbPeersTest, LsusbListsTheCameraAndTheHubs) {
    UsbCamera camera({"--plug", "2-1", "--keyboard"});
    const ProcessResult result = camera.Run({"lsusb"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("Bus 002 Device 002: ID fff0:0001 Mirsko Simulated Camera"));
    EXPECT_THAT(result.out, HasSubstr("Bus 001 Device 002: ID fff0:0003 Keys Keyboard"));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 4);
}

TEST(UsbPeersTest, LsusbReadsTheDescriptors) {
    UsbCamera camera;
    const ProcessResult result = camera.Run({"lsusb", "-v", "-d", "fff0:0001"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("bDeviceClass          239"));
    EXPECT_THAT(result.out, HasSubstr("iSerial                 3 SIM-0001"));
    EXPECT_THAT(result.out, HasSubstr("bInterfaceSubClass      5"));
    EXPECT_THAT(result.out, HasSubstr("bEndpointAddress     0x01  EP 1 OUT"));
    EXPECT_THAT(result.out, HasSubstr("wMaxPacketSize     0x0400  1x 1024 bytes"));
}

TEST(UsbPeersTest, ArvToolListsTheCamera) {
    UsbCamera camera;
    const ProcessResult result = camera.Run({"arv-tool-0.8"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, testing::MatchesRegex("Mirsko-FFF0[0-9A-F]{8}-SIM-0001 \\(USB3\\)\n"));
}

TEST(UsbPeersTest, ArvToolReadsTheDescriptionAndWritesAFeature) {
    for (const char* zipped : {"", "--zipped-xml"}) {
        UsbCamera camera(*zipped == '\0' ? std::vector<std::string>()
                                         : std::vector<std::string>{zipped});
        const ProcessResult features = camera.Run({"arv-tool-0.8", "features"});
        EXPECT_THAT(features.out, HasSubstr("'FileOperationExecute'")) << zipped;
        const ProcessResult result = camera.Run(
            {"arv-tool-0.8", "control", "DeviceModelName", "DeviceUserID=peer", "DeviceUserID"});
        EXPECT_THAT(result.out, HasSubstr("DeviceModelName = Simulated Camera\n"));
        EXPECT_THAT(result.out, HasSubstr("DeviceUserID = peer\n"));
        EXPECT_EQ(camera.State()["device_id"], "peer");
    }
}

TEST(UsbPeersTest, ArvToolRepeatsACommandWhoseAcknowledgeIsLate) {
    // Shows that the simulated camera notices what our own channel must not do.
    UsbCamera camera({"--late-every", "5", "--late-by", "700", "--response-time", "100"});
    (void)camera.Run({"arv-tool-0.8", "features"});
    EXPECT_FALSE(camera.Events("u3v_command_repeated").empty());
}

TEST(UsbPeersTest, ArvToolRepeatsCommandsThatAProtocolErrorKeptFromTheCamera) {
    UsbCamera camera({"--protocol-error-every", "12", "--max-ack", "1024"});
    const ProcessResult features = camera.Run({"arv-tool-0.8", "features"});
    EXPECT_THAT(features.out, HasSubstr("'FileOperationExecute'"));
    EXPECT_GT(camera.Events("usb_protocol_error").size(), 1U);
    EXPECT_TRUE(camera.Events("u3v_command_repeated").empty()) << "none of them had arrived";
}

TEST(UsbPeersTest, AStallOfACommandLastsUntilItIsClearedWhichArvToolDoesNot) {
    UsbCamera camera({"--stall-every", "12", "--max-ack", "1024"});
    const ProcessResult features = camera.Run({"arv-tool-0.8", "features"});
    EXPECT_THAT(features.out, testing::Not(HasSubstr("'FileOperationExecute'")));
    EXPECT_EQ(camera.Events("usb_stalled").size(), 1U);
    EXPECT_TRUE(camera.Events("usb_stall_cleared").empty());
}

TEST(UsbPeersTest, ACommandsExitStatusIsHandedOn) {
    UsbCamera camera;
    EXPECT_EQ(camera.Run({"sh", "-c", "exit 7"}).exitStatus, 7);
    EXPECT_EQ(camera.Run({"sh", "-c", "kill -9 $$"}).exitStatus, 128 + 9);
    const ProcessResult missing = camera.Run({"/nonexistent"});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_EQ(missing.err, "cannot start /nonexistent: No such file or directory\n");
}
