// The updater holds no payload in memory, however large it is and whatever way it takes.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

#ifdef MIRSKO_SANITIZED
constexpr long kLimitKiB = 1024 * 1024;  // the sanitizers' own
constexpr long kGrowthKiB = kLimitKiB;
#else
constexpr long kLimitKiB = 32 * 1024;
constexpr long kGrowthKiB = 4 * 1024;
#endif

struct Transport {
    std::string name;
    std::vector<std::string> cameraOptions;
    bool usb = false;
    bool package = false;
    unsigned int smallMiB = 4;
    unsigned int largeMiB = 64;
};

void PrintTo(const Transport& transport, std::ostream* stream) {
    *stream << transport.name;
}

class PeakMemoryTest : public testing::TestWithParam<Transport> {
  protected:
    [[nodiscard]] std::string Path(const std::string& name) const {
        return (mFolder.Path() / name).string();
    }

    static void RunTool(const std::vector<std::string>& command) {
        const ProcessResult result = Process::Run(command);
        ASSERT_EQ(result.exitStatus, 0) << command[0] << result.err;
    }

    /// @return the file for the updater
    std::string MakeFirmware(unsigned int mebibytes) {
        RunTool({"sh", "-c",
                 "head --bytes=" + std::to_string(mebibytes) + "M /dev/urandom >" + Path("body")});
        RunTool({Program("mirsko-package"), "payload", "--family", "MirskoSim", "--version", "2.1",
                 Path("body"), Path("c.dfw")});
        if (!GetParam().package) {
            return Path("c.dfw");
        }
        RunTool({Program("mirsko-package"), "create", "--model", "Simulated Camera", "--upload",
                 "GenICam=" + Path("c.dfw"), "--description", "Large", "--version", "2.1",
                 Path("c.zip")});
        return Path("c.zip");
    }

    /// Updates a camera with so much firmware. @return the updater's peak, KiB
    long Update(unsigned int mebibytes) {
        const std::vector<std::string> updater{MIRSKO_BUILD_FOLDER "/tests/peak_memory",
                                               Path("peak"),
                                               Program("MirskoFirmwareUpdater"),
                                               "--noreset",
                                               GetParam().usb ? std::string("--u3v") : kLoopback,
                                               MakeFirmware(mebibytes)};
        const std::chrono::seconds limit(120);
        if (GetParam().usb) {
            UsbCamera camera(GetParam().cameraOptions);
            ExpectUpdated(camera.Run(updater, limit), camera.FirmwareFile());
        } else {
            SimulatedCamera camera(GetParam().cameraOptions);
            ExpectUpdated(Process::Run(updater, limit), camera.FirmwareFile());
        }
        return std::stol(ReadFile(Path("peak")));
    }

    void ExpectUpdated(const ProcessResult& result, const std::string& firmware) const {
        EXPECT_EQ(WithoutLabels(result.out),
                  "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
                  "Firmware upload complete.\n");
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.exitStatus, 0);
        // Not here: the memory of this process has nothing to do with the updater, but it adds up.
        EXPECT_EQ(Process::Run({"cmp", Path("body"), firmware}).exitStatus, 0);
    }

  private:
    TemporaryFolder mFolder;
};

TEST_P(PeakMemoryTest, StaysUnder32MiBWhateverThePayloadsSize) {
    const long small = Update(GetParam().smallMiB);
    const long large = Update(GetParam().largeMiB);
    EXPECT_GT(small, 1024) << "no program is that small: the measurement is wrong";
    EXPECT_LT(std::max(small, large), kLimitKiB);
    EXPECT_LT(large - small, kGrowthKiB);
}

INSTANTIATE_TEST_SUITE_P(
    Every, PeakMemoryTest,
    testing::Values(
        Transport{.name = "FileAccess",
                  .cameraOptions = {"--profile", "file-access", "--buffer-size", "65536"}},
        Transport{.name = "Tftp", .cameraOptions = {"--profile", "loader"}, .largeMiB = 256},
        Transport{.name = "Package",
                  .cameraOptions = {"--profile", "file-access", "--buffer-size", "65536"},
                  .package = true},
        Transport{.name = "Usb",
                  .cameraOptions = {"--max-command", "65548", "--max-ack", "65548", "--buffer-size",
                                    "65536"},
                  .usb = true,
                  .largeMiB = 48}),
    [](const auto& transport) { return transport.param.name; });

}  // namespace
