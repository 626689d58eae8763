#include "TftpUpdateFixture.h"

#include <gmock/gmock.h>

#include "NetworkPair.h"

namespace {

using std::chrono::seconds;
using testing::EndsWith;
using testing::StartsWith;

class TftpUpdateTest : public TftpUpdateFixture {};

// A device that the updater is to reach by TFTP, and why.
struct Fallback {
    std::string name;
    std::vector<std::string> options;
};

void PrintTo(const Fallback& fallback, std::ostream* stream) {
    *stream << fallback.name;
}

class TftpFallbackTest : public TftpUpdateTest, public testing::WithParamInterface<Fallback> {};

TEST_P(TftpFallbackTest, UpdatesNamesAndResetsTheDevice) {
    std::vector<std::string> options = GetParam().options;
    options.insert(options.end(), {"--flash-time", "200", "--reboot-time", "300"});
    SimulatedCamera camera(options);
    const ProcessResult result = RunUpdater({kLoopback, "--deviceid=left camera", Payload()});
    ExpectRenamedAndReset(result);
    EXPECT_TRUE(camera.Firmware() == body);
    // The payload, the device-ID record and the reset record.
    EXPECT_EQ(Written(camera), (std::vector<std::uint64_t>{body.size() + 64, 64 + 11, 64}));

    ASSERT_TRUE(WaitUntil([&] { return camera.Events("power_on").size() == 2; }));
    EXPECT_EQ(DeviceField("deviceId"), "left camera");
    EXPECT_EQ(DeviceField("version"), "2.1");
    EXPECT_EQ(camera.State()["resets"], 1);
}

INSTANTIATE_TEST_SUITE_P(
    Devices, TftpFallbackTest,
    testing::Values(Fallback{"NoFileAccess", {"--profile", "no-file-access"}},
                    Fallback{"BackupLoadOnly", {"--profile", "backup-load"}},
                    Fallback{"FileSelectorWithoutRemoteUpdateDfw",
                             {"--profile", "selector-without-dfw"}},
                    Fallback{"Loader", {"--profile", "loader"}},
                    Fallback{"ControlRefused", {"--profile", "file-access", "--refuse-control"}}),
    [](const auto& fallback) { return fallback.param.name; });

TEST_F(TftpUpdateTest, TakesNoDeviceThatOffersFileAccess) {
    for (const char* profile : {"file-access", "main-load", "single-file"}) {
        SimulatedCamera camera({"--profile", profile});
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
        EXPECT_FALSE(camera.HasEvent("tftp")) << profile;
    }
}

TEST_F(TftpUpdateTest, LeavesTheDeviceRunningWithNoReset) {
    SimulatedCamera camera({"--profile", "no-file-access"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    EXPECT_TRUE(camera.Firmware() == body);
    EXPECT_EQ(camera.State()["running_version"], "1.0");
    EXPECT_EQ(camera.State()["stored_version"], "2.1");
    EXPECT_EQ(camera.State()["resets"], 0);
    EXPECT_EQ(DeviceField("version"), "1.0");
    camera.PowerCycle();
    EXPECT_EQ(DeviceField("version"), "2.1");
}

TEST_F(TftpUpdateTest, AcceptsTheOtherWordingOfSuccess) {
    SimulatedCamera camera({"--profile", "no-file-access", "--non-volatile-wording"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
}

TEST_F(TftpUpdateTest, SendsAFileWithoutHeaderAsItStands) {
    SimulatedCamera camera({"--profile", "no-file-access"});
    for (const std::size_t size : {0U, 1U, 512U, 1468U, 65464U, 130928U}) {
        const std::string file = folder.Write("odd.dfw", std::string(size, 'x'));
        const ProcessResult result = RunUpdater({kLoopback, file});
        EXPECT_EQ(WithoutLabels(result.out),
                  kStart + "Validating update... Please wait...\n" + kFailed);
        EXPECT_THAT(result.err, StartsWith("Status error: Payload rejected: ")) << size;
        ASSERT_TRUE(WaitUntil([&] { return !Written(camera).empty(); }));
        EXPECT_EQ(Written(camera).back(), size);
    }
}

TEST_F(TftpUpdateTest, SendsPayloadsOfExactMultiplesOfTheBlockSize) {
    for (const char* blockSize : {"512", "1024", "1428"}) {
        SimulatedCamera camera({"--profile", "loader", "--tftp-max-blksize", blockSize});
        const std::size_t total = std::stoul(blockSize) * 100;
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(2, total - 64)}));
        EXPECT_TRUE(camera.Firmware() == body) << blockSize;
    }
}

// Block by block, which takes minutes on a computer at a load of 20: one test for each number that
// may follow 65,535.
class TftpRolloverTest : public TftpUpdateFixture, public testing::WithParamInterface<const char*> {
  protected:
    static constexpr seconds kLimit{250};
};

TEST_P(TftpRolloverTest, SendsOver65535Blocks) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-max-blksize", "64", "--tftp-rollover", GetParam()});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(3, 64 * 140000)}, kLimit));
    EXPECT_TRUE(camera.Firmware() == body);
    EXPECT_EQ(camera.Events("tftp").at(0)["block_size"], 64);
}

TEST_P(TftpRolloverTest, SendsOver65535BlocksToAServerWithoutOptions) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-options", "ignore", "--tftp-rollover", GetParam()});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(4, 512 * 65700)}, kLimit));
    EXPECT_TRUE(camera.Firmware() == body);
}

INSTANTIATE_TEST_SUITE_P(To, TftpRolloverTest, testing::Values("0", "1"),
                         [](const auto& next) { return std::string("Block") + next.param; });

TEST_F(TftpUpdateTest, ReachesTheDeviceThroughTheNamedInterface) {
    // Both interfaces are on one link-local network, and so is a device with the same address
    // behind each.
    const NetworkPair network(
        {{"169.254.0.1/16", "169.254.9.9/16"}, {"169.254.0.2/16", "169.254.9.9/16"}});
    SimulatedCamera first({"--profile", "loader", "--interface", "far0", "--address", "169.254.9.9",
                           "--serial", "first"},
                          &network);
    SimulatedCamera second({"--profile", "loader", "--interface", "far1", "--address",
                            "169.254.9.9", "--serial", "second"},
                           &network);
    ExpectUpdated(
        RunUpdater({"--localinterface=" + NetworkPair::NearMac(1), "--noreset", Payload()}));
    EXPECT_TRUE(second.Firmware() == body);
    EXPECT_FALSE(first.HasEvent("tftp"));
}

TEST_F(TftpUpdateTest, JudgesTheFirst1024BytesOfAnOversizedStatus) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-status-size", "100000"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_THAT(WithoutLabels(result.out), EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(camera.Firmware() == body);
}

}  // namespace
