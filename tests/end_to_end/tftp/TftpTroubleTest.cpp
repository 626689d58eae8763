#include "TftpUpdateFixture.h"

#include "NetworkPair.h"

namespace {

using std::chrono::seconds;

// What goes wrong on the way, and the update succeeds none the less.
struct Trouble {
    std::string name;
    bool windows;  // whether the server grants windows of more than one block
    std::vector<std::string> options;
};

void PrintTo(const Trouble& trouble, std::ostream* stream) {
    *stream << trouble.name;
}

class TftpTroubleTest : public TftpUpdateFixture, public testing::WithParamInterface<Trouble> {};

TEST_P(TftpTroubleTest, DeliversTheSameBytesInBoundedTime) {
    // Ethernet's packet size, unlike loopback's, makes the client ask for windows of many blocks.
    const NetworkPair network({NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}});
    for (const char* seed : {"1", "2", "3"}) {
        std::vector<std::string> options = GetParam().options;
        options.insert(options.end(), {"--profile", "loader", "--seed", seed, "--interface", "far0",
                                       "--address", "169.254.0.2"});
        SimulatedCamera camera(options, &network);
        const ProcessResult result = RunUpdater(
            {"--localinterface=" + NetworkPair::NearMac(0), "--noreset", Payload(6, 400000)},
            seconds(40));
        ExpectUpdated(result);
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_EQ(Written(camera), std::vector<std::uint64_t>{body.size() + 64});
        const nlohmann::json transfer = camera.Events("tftp").at(0);
        EXPECT_EQ(transfer["window_size"] > 1, GetParam().windows) << transfer;
    }
}

// Records are a single block, so that the first and the last acknowledgement are the same one.
class TftpRecordTroubleTest : public TftpUpdateFixture,
                              public testing::WithParamInterface<Trouble> {};

TEST_P(TftpRecordTroubleTest, DeliversTheNewIdAndTheResetOnce) {
    for (const char* seed : {"1", "2", "3", "4", "5", "6"}) {
        SCOPED_TRACE(seed);
        std::vector<std::string> options = GetParam().options;
        options.insert(options.end(), {"--profile", "loader", "--seed", seed, "--flash-time", "0",
                                       "--reboot-time", "0"});
        SimulatedCamera camera(options);
        const ProcessResult result =
            RunUpdater({kLoopback, "--deviceid=left camera", Payload(7, 3000)}, seconds(40));
        ExpectRenamedAndReset(result);
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_TRUE(WaitUntil([&] { return camera.Events("power_on").size() == 2; }));
        EXPECT_EQ(camera.State()["resets"], 1);
        EXPECT_EQ(camera.State()["device_id"], "left camera");
        EXPECT_EQ(camera.State()["running_version"], "2.1");
        EXPECT_EQ(Written(camera), (std::vector<std::uint64_t>{body.size() + 64, 64 + 11, 64}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Network, TftpRecordTroubleTest,
    testing::Values(Trouble{"Loss", false, {"--tftp-loss", "20"}},
                    Trouble{"Duplication", false, {"--tftp-duplicate", "50"}},
                    Trouble{"Reordering", false, {"--tftp-reorder", "30", "--tftp-delay", "5"}},
                    Trouble{"LateCopies", false, {"--tftp-late-copy", "50", "--tftp-delay", "20"}},
                    Trouble{"LostLastAck", false, {"--tftp-lost-last-acks", "1"}},
                    Trouble{"Everything",
                            false,
                            {"--tftp-loss", "10", "--tftp-duplicate", "20", "--tftp-reorder", "10",
                             "--tftp-late-copy", "20"}}),
    [](const auto& trouble) { return trouble.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Network, TftpTroubleTest,
    testing::Values(
        Trouble{"None", true, {}}, Trouble{"Loss", true, {"--tftp-loss", "3"}},
        Trouble{"LossInLockStep", false, {"--tftp-loss", "3", "--tftp-max-windowsize", "0"}},
        Trouble{"Duplication", true, {"--tftp-duplicate", "20"}},
        Trouble{"DuplicationInLockStep",
                false,
                {"--tftp-duplicate", "20", "--tftp-max-windowsize", "0"}},
        Trouble{"Reordering", true, {"--tftp-reorder", "5", "--tftp-delay", "5"}},
        Trouble{"LateCopies", true, {"--tftp-late-copy", "20", "--tftp-delay", "2"}},
        Trouble{"VeryLateCopies", true, {"--tftp-late-copy", "20", "--tftp-delay", "200"}},
        Trouble{"LateCopiesInLockStep",
                false,
                {"--tftp-late-copy", "20", "--tftp-delay", "2", "--tftp-max-windowsize", "0"}},
        Trouble{"Everything",
                true,
                {"--tftp-loss", "2", "--tftp-duplicate", "5", "--tftp-reorder", "2",
                 "--tftp-late-copy", "5", "--tftp-delay", "3"}},
        Trouble{"LostLastAck", true, {"--tftp-lost-last-acks", "1"}},
        Trouble{"ForeignPort", true, {"--tftp-foreign-port"}},
        Trouble{"NoOptions", false, {"--tftp-options", "ignore"}},
        Trouble{"OptionsRejected", false, {"--tftp-options", "reject"}},
        Trouble{"BlockSizeOnly",
                false,
                {"--tftp-max-windowsize", "0", "--tftp-no-tsize", "--tftp-no-timeout"}},
        Trouble{"WindowSizeOnly",
                true,
                {"--tftp-max-blksize", "0", "--tftp-no-tsize", "--tftp-no-timeout"}}),
    [](const auto& trouble) { return trouble.param.name; });

class TftpFaultyNetworkTest : public TftpUpdateFixture {};

TEST_F(TftpFaultyNetworkTest, RejectsForgedPacketsFromAnotherPort) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-foreign-port", "--tftp-max-blksize", "1428"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    EXPECT_GT(camera.Events("tftp").at(0)["rejected_forgeries"], 0);
}

TEST_F(TftpFaultyNetworkTest, SendsNoDataTwiceOnRepeatedAcknowledgements) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-duplicate", "100", "--tftp-max-blksize",
                            "1428", "--tftp-max-windowsize", "0"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    // Each DATA packet arrives twice by the fault itself, and three or four times were they sent on
    // repeated ACKs; the camera may be so slow that a few are sent again for its silence.
    const std::uint64_t blocks = (body.size() + 64) / 1428 + 1;
    EXPECT_LE(camera.Events("tftp").at(0)["duplicates"], blocks + blocks / 10);
}

TEST_F(TftpFaultyNetworkTest, ClaimsNoSuccessWhenTheLastBlockIsNeverAcknowledged) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-lost-last-acks", "1000"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(100));
    EXPECT_EQ(WithoutLabels(result.out), kStart + kFailed);
    EXPECT_EQ(result.err,
              "Cannot send RemoteUpdateDfw to 127.0.0.1 on lo: its TFTP server stopped responding "
              "after 261856 of 300064 bytes; the rest was sent but never acknowledged; "
              "GenICam file access was not possible: Cannot control 127.0.0.1%lo: it is in its "
              "boot loader, which accepts firmware by TFTP only\n" +
                  kWritingFailed);
    EXPECT_EQ(camera.State()["resets"], 0);
}

}  // namespace
