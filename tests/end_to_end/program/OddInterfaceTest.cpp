// The real binary and cameras behind interfaces whose names are odd: Linux allows any byte in them
// but blanks, slashes, colons and percent signs.
#include <gmock/gmock.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

struct OddName {
    std::string what;
    std::string name;
};

void PrintTo(const OddName& odd, std::ostream* stream) {
    *stream << odd.what;
}

class OddInterfaceTest : public testing::TestWithParam<OddName> {
  protected:
    OddInterfaceTest() {
        for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                 {"ip", "link", "set", "cam0", "down"},
                 {"ip", "link", "set", "cam0", "name", GetParam().name},
                 {"ip", "link", "set", GetParam().name, "up"}}) {
            const ProcessResult result = Process::Run(command);
            EXPECT_EQ(result.exitStatus, 0) << command.back() << ": " << result.err;
        }
    }

    ProcessResult Update() {
        return RunUpdater({"--localinterface=" + NetworkPair::NearMac(0), "--noreset", mFile});
    }
    std::unique_ptr<SimulatedCamera> Start(std::vector<std::string> options) {
        options.insert(options.end(), {"--interface", "far0", "--address", "169.254.0.2"});
        return std::make_unique<SimulatedCamera>(options, &mNetwork);
    }

  private:
    const NetworkPair mNetwork{{NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}}};
    TemporaryFolder mFolder;
    const std::string mFile = mFolder.Write("camera.dfw", MakePayload("body"));
};

}  // namespace

TEST_P(OddInterfaceTest, IsUsedLikeAnyOther) {
    for (const char* const profile : {"file-access", "no-file-access"}) {
        const auto camera = Start({"--profile", profile});
        const ProcessResult result = Update();
        EXPECT_EQ(result.err, "");
        EXPECT_THAT(result.out, testing::EndsWith("\nFirmware upload complete.\n"));
        EXPECT_EQ(camera->Firmware(), "body");
    }
}

TEST_P(OddInterfaceTest, DoesNotReachTheTerminalByItsName) {
    const auto camera = Start({"--profile", "loader", "--tftp-mute"});
    const ProcessResult result = Update();
    EXPECT_THAT(result.out, testing::HasSubstr("Waiting 2 s for 169.254.0.2 on "));
    EXPECT_THAT(result.err, testing::HasSubstr("to 169.254.0.2 on "));
    for (const char character : result.out + result.err) {
        const auto byte = static_cast<unsigned char>(character);
        EXPECT_TRUE(byte == '\n' || byte == '\r' || (byte >= 0x20 && byte != 0x7f)) << +byte;
    }
    EXPECT_EQ(result.err.find("\xc2\x9b"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Names, OddInterfaceTest,
    testing::Values(OddName{"Option", "-n"}, OddName{"FifteenLetters", "fifteen-letters"},
                    OddName{"Escapes", "\x1b[2J\x1b[31m"}, OddName{"C1Controls", "\xc2\x9b\x32J"},
                    OddName{"Umlaut", "k\xc3\xa4mera"}, OddName{"NotUtf8", "\xff\xfe"}),
    [](const auto& odd) { return odd.param.what; });
