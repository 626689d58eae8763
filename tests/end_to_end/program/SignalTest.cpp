// The real binary, ended by a signal in the middle of an update.
#include <csignal>
#include <string>

#include <gmock/gmock.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

class SignalTest : public testing::TestWithParam<int> {};

TEST_P(SignalTest, EndsTheUpdaterAtOnceAndTheNextUpdateSucceeds) {
    SimulatedCamera camera({"--profile", "file-access", "--latency", "3000", "--no-tftp"});
    const TemporaryFolder folder;
    const std::string body = RandomBytes(400000, 1);
    const std::string firmware = folder.Write("camera.dfw", MakePayload(body));
    // Whoever runs the tests may ignore the signal, and a program inherits that.
    Process updater(
        {"env", "--default-signal", Program("MirskoFirmwareUpdater"), kLoopback, firmware});
    ASSERT_TRUE(WaitUntil([&updater] {
        return updater.OutputSoFar().find(" KBs transferred") != std::string::npos;
    }));
    updater.Signal(GetParam());
    const ProcessResult ended = updater.Wait(std::chrono::seconds(5));
    EXPECT_EQ(ended.signal, GetParam());
    EXPECT_TRUE(camera.Firmware().empty()) << "half of it is nothing";

    // The device keeps control for the program that is gone until its heartbeat runs out.
    const ProcessResult next = RunUpdater({kLoopback, firmware});
    EXPECT_EQ(next.err, "");
    EXPECT_THAT(next.out, testing::EndsWith("\nFirmware upload complete.\n"));
    EXPECT_TRUE(camera.Firmware() == body);
}

INSTANTIATE_TEST_SUITE_P(, SignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& tested) {
                             return std::string("Signal") + std::to_string(tested.param);
                         });
