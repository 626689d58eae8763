// mirsko-update with four cameras, one of which has a fault: the other three are updated, and the
// fourth is named with its reason.
#include <gmock/gmock.h>

#include "CameraGroup.h"

namespace {

struct Fault {
    std::string name;
    std::vector<std::string> options;  ///< of the third camera
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

const std::vector<std::string> kTftp{"--profile", "loader"};

std::vector<std::string> ByTftp(std::vector<std::string> options) {
    options.insert(options.begin(), kTftp.begin(), kTftp.end());
    return options;
}

const std::vector<Fault> kFaults{
    {"Unplugged", {"--fault", "vanish@byte=20000"}},
    {"Silent", {"--fault", "mute@byte=20000"}},
    {"SilentAtTheStatus", {"--fault", "mute@status=2"}},
    {"Restarted", {"--fault", "reboot@byte=20000"}},
    {"ControlLost", {"--fault", "lose-control@byte=20000"}},
    {"OperationFails", {"--fault", "fail@byte=20000"}},
    {"FlashFails", {"--fail-flash"}},
    {"CrcMisjudged", {"--misjudge-crc"}},
    {"OtherFamily", {"--family", "Other"}},
    {"ControlRefused", {"--refuse-control"}},
    {"TftpServerMissing", {"--profile", "no-file-access", "--no-tftp"}},
    {"TftpError", ByTftp({"--tftp-error-at", "20000"})},
    {"TftpGarbage", ByTftp({"--tftp-first-answer", "garbage"})},
    {"TftpRestarted", ByTftp({"--fault", "reboot@byte=20000"})},
    {"TftpFlashFails", ByTftp({"--fail-flash"})},
};

}  // namespace

class PassingFaultTest : public CameraGroup {};

TEST_F(PassingFaultTest, KeepsNoCameraFromBeingUpdated) {
    Add({"--fault", "pause@byte=20000"});
    Add({"--loss", "3", "--duplicate", "5", "--reorder", "5", "--busy", "5"});
    Add(ByTftp({"--tftp-loss", "3", "--tftp-duplicate", "5", "--tftp-reorder", "5"}));
    Add({"--fault", "fail@status"});
    const ProcessResult result = Update({"--all", Payload("fw.dfw")});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    for (int number = 1; number <= 4; ++number) {
        EXPECT_TRUE(IsUpdated(number)) << LineOf(result, number);
    }
}

class FaultyCameraTest : public CameraGroup, public testing::WithParamInterface<Fault> {};

TEST_P(FaultyCameraTest, IsTheOnlyOneThatFailsAndIsNamedWithItsReason) {
    Add();
    Add(kTftp);
    Add(GetParam().options);
    Add();
    const ProcessResult result = Update({"--all", "--wait", "30", Payload("fw.dfw")});
    EXPECT_TRUE(IsUpdated(1)) << LineOf(result, 1);
    EXPECT_TRUE(IsUpdated(2)) << LineOf(result, 2);
    EXPECT_TRUE(IsUpdated(4)) << LineOf(result, 4);
    const std::string line = LineOf(result, 3);
    EXPECT_THAT(line, testing::ContainsRegex("^(failed|refused): .+"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.exitStatus, 1);
    std::printf("%s: %s\n", GetParam().name.c_str(), line.c_str());
}

INSTANTIATE_TEST_SUITE_P(, FaultyCameraTest, testing::ValuesIn(kFaults),
                         [](const auto& tested) { return tested.param.name; });
