// The real binary with less memory than it needs.
#include <gmock/gmock.h>

#include <csignal>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

TEST(LittleMemoryTest, EndsAPackageWhoseManifestDoesNotFitWithAClearLine) {
    constexpr std::size_t kMebibyte = 1U << 20U;
    SimulatedCamera camera({"--zipped-xml"});
    const TemporaryFolder folder;
    const std::string package =
        folder.Write("large.zip", MakeZip({{"Manifest.xml", MakeManifest(Upload("fw.dfw")) +
                                                                std::string(48 * kMebibyte, ' ')},
                                           {"fw.dfw", MakePayload("body")}}));
    const ProcessResult result =
        Process::Run({"prlimit", "--as=" + std::to_string(96 * kMebibyte),
                      Program("MirskoFirmwareUpdater"), kLoopback, package});
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Out of memory\n");
    EXPECT_EQ(camera.Firmware(), "");
}
