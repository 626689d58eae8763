// The real binary where no device is: what it prints and how it ends.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

const std::string kHelp =
    "Mirsko Firmware Updater\n"
    "Usage: MirskoFirmwareUpdater [options] <--localinterface= | --u3v> "
    "<firmware_file.dfw/.zip>\r\n"
    "\r\n"
    "--localinterface=00:11:22:ab:cd:ef Automatically selects the first GigE Vision device on this "
    "interface.\r\n"
    "--u3v Automatically selects the first USB3 Vision device.\r\n"
    "--noreset Prevents resetting after an update.\r\n"
    "--deviceid=NewDeviceID Device ID for force on the device. Only for GigE Vision devices.\r\n"
    "--help Prints this help message.\r\n"
    "\r\n"
    "The application runs in non-interactive mode.\r\n"
    "The --localinterface and --u3v options are mutually exclusive.\r\n";

const std::string kNoSelection = "Error: must specify --localinterface or --u3v\n";

}  // namespace

TEST(CommandLineTest, PrintsTheHelpByteForByte) {
    const ProcessResult result = RunUpdater({"--help", "--u3v", "x.dfw"});
    EXPECT_EQ(result.out, kHelp);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(kHelp.size(), std::string("Mirsko Firmware Updater\n").size() + 543);
}

TEST(CommandLineTest, PrintsTheHelpForAnUnknownOption) {
    const ProcessResult result = RunUpdater({"--foo"});
    EXPECT_EQ(result.out, kHelp);
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(CommandLineTest, AsksForASelectionWhenThereIsNone) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"fw.dfw"}, {"--localinterface="}}) {
        const ProcessResult result = RunUpdater(arguments);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, kNoSelection);
        EXPECT_EQ(result.exitStatus, 100);
    }
}

TEST(CommandLineTest, SaysTheSameWhenTheSelectionFindsNoDevice) {
    const TemporaryFolder folder;
    const std::string file = folder.Write("fw.dfw", "x");
    for (const std::string& selection :
         {kLoopback, std::string("--localinterface=nonsense"), std::string("--u3v")}) {
        const ProcessResult result = RunUpdater({selection, file});
        EXPECT_EQ(result.out, "") << selection;
        EXPECT_EQ(result.err, kNoSelection) << selection;
        EXPECT_EQ(result.exitStatus, 100) << selection;
    }
}
