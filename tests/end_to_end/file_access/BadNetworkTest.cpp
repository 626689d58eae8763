// The real binary over a network that loses, doubles and reorders datagrams, and with devices that
// fail in the middle.
#include <gtest/gtest.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

class BadNetworkTest : public testing::TestWithParam<std::vector<std::string>> {};

struct Failure {
    std::string name;
    std::vector<std::string> options;
    std::string reason;
};

void PrintTo(const Failure& failure, std::ostream* stream) {
    *stream << failure.name;
}

class FailingDeviceTest : public testing::TestWithParam<Failure> {};

std::vector<std::string> WithProfile(std::vector<std::string> options) {
    options.insert(options.end(), {"--profile", "file-access", "--no-tftp"});
    return options;
}

}  // namespace

TEST_P(BadNetworkTest, WritesEveryByte) {
    SimulatedCamera camera(WithProfile(GetParam()));
    const TemporaryFolder folder;
    const std::string body = RandomBytes(200000, 5);
    const ProcessResult result = RunUpdater({kLoopback, folder.Write("c.dfw", MakePayload(body))});
    EXPECT_TRUE(WithoutLabels(result.out).ends_with("Firmware upload complete.\n")) << result.out;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(camera.Firmware() == body);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadNetworkTest,
    testing::Values(std::vector<std::string>{"--seed", "1", "--loss", "1"},
                    std::vector<std::string>{"--seed", "2", "--loss", "5"},
                    std::vector<std::string>{"--seed", "3", "--loss", "20"},
                    std::vector<std::string>{"--seed", "4", "--duplicate", "20"},
                    std::vector<std::string>{"--seed", "5", "--reorder", "20"},
                    std::vector<std::string>{"--seed", "6", "--loss", "10", "--duplicate", "10",
                                             "--reorder", "10"}));

TEST_P(FailingDeviceTest, EndsSoonWithAClearLine) {
    SimulatedCamera camera(WithProfile(GetParam().options));
    const TemporaryFolder folder;
    const ProcessResult result = RunUpdater(
        {kLoopback, "--deviceid=new", folder.Write("c.dfw", MakePayload(RandomBytes(400000, 6)))});
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_LT(result.duration, kSoon);
    EXPECT_EQ(WithoutLabels(result.out),
              "Starting update...\n\nSetting new device ID\nUpdate failed.\n");
    const std::string end = "\nWriting payload file to device failed!\n";
    ASSERT_TRUE(result.err.ends_with(end)) << result.err;
    const std::string line = result.err.substr(0, result.err.size() - end.size());
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    EXPECT_NE(line.find("127.0.0.1"), std::string::npos) << line;
    EXPECT_NE(line.find(GetParam().reason), std::string::npos) << line;
    EXPECT_EQ(camera.Firmware(), "");
}

INSTANTIATE_TEST_SUITE_P(
    All, FailingDeviceTest,
    testing::Values(Failure{"RefusesControl", {"--refuse-control"}, "TFTP server"},
                    Failure{"FallsMute", {"--mute-at", "100000"}, "does not respond"},
                    Failure{"Restarts", {"--reboot-at", "100000"}, "the device restarted"},
                    Failure{"IsUnplugged", {"--vanish-at", "100000"}, "does not respond"},
                    Failure{"LosesControl",
                            {"--lose-control-at", "100000"},
                            "Lost control of 127.0.0.1 on lo: another application took control "
                            "(GVCP ACCESS_DENIED 0x8006)"}),
    [](const auto& failure) { return failure.param.name; });
