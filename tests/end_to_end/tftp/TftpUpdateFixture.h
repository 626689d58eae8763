#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

/// Updates of a simulated device that is reached by TFTP.
class TftpUpdateFixture : public testing::Test {
  protected:
    static inline const std::string kStart = "Starting update...\n\n";
    static inline const std::string kValid =
        "Validating update... Please wait...\n"
        "Update is valid.\n";
    static inline const std::string kComplete = "Firmware upload complete.\n";
    static inline const std::string kFailed = "Update failed.\n";
    static inline const std::string kWritingFailed = "Writing payload file to device failed!\n";

    /// A file with a payload for the device; what is in it is in `body`.
    std::string Payload(unsigned int seed = 1, std::size_t size = 300000) {
        body = RandomBytes(size, seed);
        return folder.Write("camera-2.1.dfw", MakePayload(body));
    }

    static void ExpectUpdated(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kValid + kComplete);
        EXPECT_EQ(result.err, "");
    }

    /// The same with a new device ID and a reset.
    static void ExpectRenamedAndReset(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kValid +
                                                 "Setting new device ID\n"
                                                 "Resetting device\n" +
                                                 kComplete);
        EXPECT_EQ(result.err, "");
    }

    /// The transfers of RemoteUpdateDfw that came to the device's end, in bytes.
    static std::vector<std::uint64_t> Written(const SimulatedCamera& camera) {
        std::vector<std::uint64_t> sizes;
        for (const auto& event : camera.Events("tftp")) {
            if (event["operation"] == "write" && event["complete"] == true) {
                sizes.push_back(event["bytes"]);
            }
        }
        return sizes;
    }

    TemporaryFolder folder;
    std::string body;
};
