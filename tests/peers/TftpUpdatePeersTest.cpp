#include <memory>

#include <gmock/gmock.h>

#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "TftpServerProcess.h"
#include "Updater.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

const std::string kStart = "Starting update...\n\n";
const std::string kValid =
    "Validating update... Please wait...\n"
    "Update is valid.\n";

/// A GigE Vision camera without file access, none of which is ours: discovery, control channel and
/// GenICam by Aravis's fake camera, port 69 by a TFTP server of others.
class TftpUpdatePeersTest : public testing::TestWithParam<TftpServerProcess::Kind> {
  protected:
    TftpUpdatePeersTest() {
        SetStatus("Firmware applied: camera 2.1");
        server = std::make_unique<TftpServerProcess>(GetParam(), "127.0.0.1", ServerFolder());
        camera = std::make_unique<Process>(
            std::vector<std::string>{"arv-fake-gv-camera-0.8", "--interface", "127.0.0.1"});
        EXPECT_TRUE(WaitUntil([] { return !DeviceField("model").empty(); }));
    }

    [[nodiscard]] std::string ServerFolder() const { return (folder.Path() / "server").string(); }
    void SetStatus(const std::string& text) const { (void)folder.Write("server/status", text); }
    /// What the server has in the place of the device's flash: the last that was sent.
    [[nodiscard]] std::string Received() const {
        return ReadFile(folder.Path() / "server" / "RemoteUpdateDfw");
    }

    void ExpectDelivered(const std::string& content) const {
        const ProcessResult result =
            RunUpdater({kLoopback, "--noreset", folder.Write("camera.dfw", content)});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kValid + "Firmware upload complete.\n");
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(Received() == content) << content.size();
    }

    TemporaryFolder folder;
    std::unique_ptr<TftpServerProcess> server;
    std::unique_ptr<Process> camera;
};

TEST_P(TftpUpdatePeersTest, GetsPayloadsOfAllSizesByteForByte) {
    ASSERT_EQ(Process::Run({"ip", "link", "set", "lo", "mtu", "1500"}).exitStatus, 0);
    // 0 bytes, and around one and many of the blocks that fit Ethernet.
    for (const std::size_t size : {0U, 1U, 1467U, 1468U, 1469U, 146800U, 1000000U}) {
        ExpectDelivered(RandomBytes(size, static_cast<unsigned int>(size)));
    }
}

TEST_P(TftpUpdatePeersTest, GetsOver65535BlocksByteForByte) {
    ASSERT_EQ(Process::Run({"ip", "link", "set", "lo", "mtu", "576"}).exitStatus, 0);
    const std::size_t blockSize = 576 - 20 - 8 - 4;
    ExpectDelivered(RandomBytes(blockSize * 66000, 1));
}

TEST_P(TftpUpdatePeersTest, GetsTheDeviceIdRecord) {
    const std::string payload = folder.Write("camera.dfw", Payload{.body = "firmware"}.Encode());
    const ProcessResult result =
        RunUpdater({kLoopback, "--noreset", "--deviceid=left camera", payload});
    EXPECT_EQ(WithoutLabels(result.out),
              kStart + kValid + "Setting new device ID\nFirmware upload complete.\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Received(), (Payload{.kind = 2, .body = "left camera"}.Encode()));
}

TEST_P(TftpUpdatePeersTest, GetsTheResetRecord) {
    const std::string payload = folder.Write("camera.dfw", Payload{.body = "firmware"}.Encode());
    const ProcessResult result = RunUpdater({kLoopback, payload});
    EXPECT_EQ(WithoutLabels(result.out),
              kStart + kValid + "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Received(), (Payload{.kind = 3}.Encode()));
}

TEST_P(TftpUpdatePeersTest, IsAskedForItsStatusAndBelieved) {
    SetStatus("Flash verification failed at 0x1000");
    const std::string payload = folder.Write("camera.dfw", Payload{.body = "firmware"}.Encode());
    const ProcessResult result = RunUpdater({kLoopback, payload});
    EXPECT_EQ(WithoutLabels(result.out),
              kStart + "Validating update... Please wait...\nUpdate failed.\n");
    EXPECT_EQ(result.err,
              "Status error: Flash verification failed at 0x1000\n"
              "Writing payload file to device failed!\n");
    EXPECT_EQ(Received(), (Payload{.body = "firmware"}.Encode())) << "no reset record";
}

TEST_P(TftpUpdatePeersTest, MayHaveNoStatus) {
    std::filesystem::remove(folder.Path() / "server" / "status");
    const std::string payload = folder.Write("camera.dfw", Payload{.body = "firmware"}.Encode());
    const ProcessResult result = RunUpdater({kLoopback, payload});
    EXPECT_EQ(result.err, "Status error: \nWriting payload file to device failed!\n");
}

TEST_P(TftpUpdatePeersTest, MayRefuseThePayload) {
    std::filesystem::create_directory(folder.Path() / "server" / "RemoteUpdateDfw");
    const std::string payload = folder.Write("camera.dfw", Payload{.body = "firmware"}.Encode());
    const ProcessResult result = RunUpdater({kLoopback, payload});
    EXPECT_EQ(WithoutLabels(result.out), kStart + "Update failed.\n");
    EXPECT_THAT(result.err, testing::AllOf(StartsWith("Cannot send RemoteUpdateDfw to "),
                                           testing::HasSubstr("ERROR "),
                                           EndsWith("\nWriting payload file to device failed!\n")));
}

INSTANTIATE_TEST_SUITE_P(Servers, TftpUpdatePeersTest,
                         testing::Values(TftpServerProcess::Kind::kTftpdHpa,
                                         TftpServerProcess::Kind::kAtftpd),
                         [](const auto& kind) { return NameOf(kind.param); });

}  // namespace
