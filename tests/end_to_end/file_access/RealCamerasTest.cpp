// The real binary, and cameras that lay out and describe their registers as real ones do.
#include <gmock/gmock.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

using Options = std::vector<std::string>;

std::string NameOf(const testing::TestParamInfo<Options>& options) {
    std::string name;
    for (const std::string& option : options.param) {
        for (const char c : option) {
            if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
                name += c;
            }
        }
    }
    return name;
}

void ExpectSuccess(const ProcessResult& result) {
    EXPECT_EQ(WithoutLabels(result.out),
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

class RealGigEVisionCameraTest : public testing::TestWithParam<Options> {};
class RealUsb3VisionCameraTest : public testing::TestWithParam<Options> {};

}  // namespace

// Without TFTP, so that only file access can succeed.
TEST_P(RealGigEVisionCameraTest, IsUpdatedByFileAccess) {
    Options options = GetParam();
    options.insert(options.end(), {"--profile", "file-access", "--no-tftp"});
    SimulatedCamera camera(options);
    const TemporaryFolder folder;
    const std::string body = RandomBytes(100003, 1);
    ExpectSuccess(RunUpdater({kLoopback, folder.Write("camera.dfw", MakePayload(body))}));
    EXPECT_TRUE(camera.Firmware() == body);
}

TEST_P(RealUsb3VisionCameraTest, IsUpdatedByFileAccess) {
    UsbCamera camera(GetParam());
    const std::string body = RandomBytes(30003, 1);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_TRUE(camera.Firmware() == body);
}

// The first operation is waited for as long as any; after it the camera is known.
TEST(RealCameraTest, IsUpdatedThoughItsExecuteRegisterKeepsItsValue) {
    SimulatedCamera camera({"--profile", "file-access", "--no-tftp", "--execute-keeps-value"});
    const TemporaryFolder folder;
    const std::string body = RandomBytes(30003, 1);
    ExpectSuccess(RunUpdater({kLoopback, folder.Write("camera.dfw", MakePayload(body))},
                             std::chrono::seconds(150)));
    EXPECT_TRUE(camera.Firmware() == body);
}

TEST(RealCameraTest, NamesBothReasonsWhenNeitherTransportCanBeUsed) {
    SimulatedCamera camera({"--profile", "selector-without-dfw", "--no-tftp"});
    const TemporaryFolder folder;
    const ProcessResult result =
        RunUpdater({kLoopback, folder.Write("camera.dfw", MakePayload("body"))});
    EXPECT_THAT(result.err, testing::HasSubstr("TFTP server"));
    EXPECT_THAT(result.err, testing::HasSubstr("has no entry RemoteUpdateDfw in its FileSelector"));
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RealGigEVisionCameraTest,
    testing::Values(Options{"--layout", "plain"}, Options{"--layout", "selector"},
                    Options{"--layout", "bitfields"}, Options{"--layout", "local-selectors"},
                    Options{"--layout", "command-register"},
                    Options{"--layout", "write-only-execute"},
                    Options{"--layout", "read-only-offset"}, Options{"--layout", "wide"},
                    Options{"--layout", "little-endian"},
                    Options{"--layout", "little-endian", "--register-commands-swap"},
                    Options{"--layout", "legacy-endian"},
                    Options{"--layout", "legacy-endian", "--register-commands-swap"},
                    Options{"--layout", "bitfields", "--no-concatenation"},
                    Options{"--layout", "read-only-offset", "--short-write-every", "3"},
                    Options{"--layout", "plain", "--buffer-size", "512", "--latency", "1000"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Descriptions, RealGigEVisionCameraTest,
    testing::Values(Options{"--description", "extensions"},
                    Options{"--description", "harmless-oddities"},
                    Options{"--description", "large"}, Options{"--description", "padding"},
                    Options{"--description", "odd-zip"}, Options{"--description", "blanks"},
                    Options{"--description", "second-url"}, Options{"--description", "schema-1.0"},
                    Options{"--description", "schema-1.0", "--layout", "little-endian"},
                    Options{"--description", "schema-1.0", "--layout", "little-endian",
                            "--register-commands-swap"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(Descriptions, RealUsb3VisionCameraTest,
                         testing::Values(Options{"--description", "extensions,harmless-oddities"},
                                         Options{"--description", "large,padding"}),
                         NameOf);

struct UsbCost {
    const char* layout;
    int commands;  ///< per chunk of 1024 bytes, one of which is the data
};

class UsbLayoutCostTest : public testing::TestWithParam<UsbCost> {};

TEST_P(UsbLayoutCostTest, IsUpdatedWithFewCommandsPerChunk) {
    UsbCamera camera(
        {"--layout", GetParam().layout, "--operation-events", "--buffer-size", "1024"});
    const std::string body = RandomBytes(30003, 1);
    ExpectSuccess(camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))}));
    EXPECT_TRUE(camera.Firmware() == body);
    std::vector<int> commands;
    for (const auto& event : camera.Events("file_operation")) {
        if (event["operation"] == "write") {
            commands.push_back(event["commands"]);
        }
    }
    ASSERT_GE(commands.size(), 29U);
    // Without the first, which finds out what the camera lets be done, and the last, which is
    // short.
    for (std::size_t i = 3; i + 2 < commands.size(); ++i) {
        EXPECT_EQ(commands[i] - commands[i - 1], GetParam().commands) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, UsbLayoutCostTest,
                         testing::Values(UsbCost{"plain", 4}, UsbCost{"selector", 4},
                                         UsbCost{"bitfields", 5}, UsbCost{"local-selectors", 5},
                                         UsbCost{"command-register", 4},
                                         UsbCost{"write-only-execute", 4},
                                         UsbCost{"read-only-offset", 4}, UsbCost{"wide", 5},
                                         UsbCost{"little-endian", 4}),
                         [](const auto& cost) {
                             std::string name = cost.param.layout;
                             std::erase(name, '-');
                             return name;
                         });
