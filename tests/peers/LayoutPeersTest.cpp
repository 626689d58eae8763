// The layouts of the simulated camera's file features, as Aravis's client reads them.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaseName.h"
#include "Process.h"
#include "UsbCamera.h"
#include "simulator/device/SimulatedDevice.h"

using simulator::RegisterLayout;
using simulator::SimulatedDevice;
using testing::HasSubstr;

namespace {

class LayoutPeersTest : public testing::TestWithParam<RegisterLayout> {
  protected:
    static bool HasFileSize() { return GetParam() != RegisterLayout::kCommandRegister; }

    /// Opens the status, which is at least 16 bytes long, and reads these 16.
    static std::vector<std::string> Controls() {
        std::vector<std::string> controls{"FileSelector=RemoteUpdateDfw",
                                          "FileSelector",
                                          "FileSelector=StatusTxt",
                                          "FileSelector",
                                          "FileOperationSelector=Open",
                                          "FileOperationSelector",
                                          "FileOpenMode=Read",
                                          "FileOpenMode",
                                          "FileOperationExecute",
                                          "FileOperationStatus",
                                          "FileOperationSelector=Read",
                                          "FileOperationSelector",
                                          "FileAccessLength=16",
                                          "FileAccessLength",
                                          "FileOperationExecute",
                                          "FileOperationStatus",
                                          "FileOperationResult",
                                          "FileOperationSelector=Close",
                                          "FileOperationExecute",
                                          "FileOperationStatus",
                                          "FileOperationExecute",
                                          "FileOperationStatus"};
        if (GetParam() != RegisterLayout::kReadOnlyOffset) {
            const auto place = std::find(controls.begin(), controls.end(), "FileAccessLength=16");
            controls.insert(place, {"FileAccessOffset=4", "FileAccessOffset"});
        }
        if (HasFileSize()) {
            controls.emplace_back("FileSize");
        }
        return controls;
    }

    static void ExpectAllUnderstood(const std::string& out, std::size_t statusSize) {
        SCOPED_TRACE(out);
        EXPECT_THAT(out, testing::Not(HasSubstr("error")));
        EXPECT_THAT(out, testing::Not(HasSubstr("not found")));
        std::string line;
        std::vector<std::string> statuses;
        std::istringstream lines(out);
        while (std::getline(lines, line)) {
            if (line.starts_with("FileOperationStatus")) {
                statuses.push_back(line.substr(line.rfind(' ') + 1));
            }
        }
        const bool exact = GetParam() != RegisterLayout::kPlain &&
                           GetParam() != RegisterLayout::kSelectorDependent &&
                           GetParam() != RegisterLayout::kWriteOnlyExecute &&
                           GetParam() != RegisterLayout::kReadOnlyOffset &&
                           GetParam() != RegisterLayout::kLittleEndian;
        EXPECT_THAT(statuses, testing::ElementsAre("Success", "Success", "Success",
                                                   exact ? "NotOpen" : "Failure"));
        for (const char* text : {"FileSelector = RemoteUpdateDfw\n", "FileSelector = StatusTxt\n",
                                 "FileOpenMode = Read\n", "FileOperationSelector = Open\n",
                                 "FileOperationSelector = Read\n", "FileAccessLength = 16 ",
                                 "FileOperationResult = 16 "}) {
            EXPECT_THAT(out, HasSubstr(text));
        }
        if (HasFileSize()) {
            EXPECT_THAT(out, HasSubstr("FileSize = " + std::to_string(statusSize) + " "));
        }
        if (GetParam() != RegisterLayout::kReadOnlyOffset) {
            EXPECT_THAT(out, HasSubstr("FileAccessOffset = 4 "));
        }
    }
};

void Start(SimulatedDevice& device) {
    std::string why;
    ASSERT_TRUE(device.Start(why)) << why;
    (void)device.Firmware().BeginUpload(why)->Finish();  // has no header: something to report
}

std::string Control(std::vector<std::string> controls) {
    controls.insert(controls.begin(), {"arv-tool-0.8", "control"});
    const ProcessResult result = Process::Run(controls);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
}

std::string NameOfCase(const testing::TestParamInfo<RegisterLayout>& layout) {
    return CaseName(simulator::kLayoutNames.NameOf(layout.param));
}

std::vector<RegisterLayout> AllButLegacy() {
    std::vector<RegisterLayout> layouts = simulator::kLayoutNames.Values();
    std::erase(layouts, RegisterLayout::kLegacyEndian);
    return layouts;
}

}  // namespace

TEST_P(LayoutPeersTest, IsReadByAravisOverGigEVision) {
    const auto device = SimulatedDevice::Builder().layout(GetParam()).serveTftp(false).build();
    Start(*device);
    ExpectAllUnderstood(Control(Controls()), device->Firmware().State().lastStatus.size());
}

TEST_P(LayoutPeersTest, IsReadByAravisOverUsb3Vision) {
    UsbCamera camera({"--layout", simulator::kLayoutNames.NameOf(GetParam())});
    // A payload without a header: something to report.
    std::vector<std::string> command = Controls();
    const std::vector<std::string> first{"FileSelector=RemoteUpdateDfw", "FileOpenMode=Write",
                                         "FileOperationSelector=Open",   "FileOperationExecute",
                                         "FileOperationSelector=Close",  "FileOperationExecute"};
    command.insert(command.begin(), first.begin(), first.end());
    command.insert(command.begin(), {"arv-tool-0.8", "control"});
    const ProcessResult result = camera.Run(command);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    ExpectAllUnderstood(result.out, camera.State()["last_status"].get<std::string>().size());
}

INSTANTIATE_TEST_SUITE_P(Every, LayoutPeersTest, testing::ValuesIn(AllButLegacy()), NameOfCase);

TEST(LegacyEndianPeersTest, IsReadByAravisWithTheBytesOfItsNumbersReversed) {
    const auto device = SimulatedDevice::Builder()
                            .layout(RegisterLayout::kLegacyEndian)
                            .bufferSize(4096)
                            .serveTftp(false)
                            .build();
    Start(*device);
    const std::string out =
        Control({"FileSelector", "FileOperationSelector", "FileOpenMode", "FileOperationStatus",
                 "FileAccessLength", "R[4]", "GevHeartbeatTimeout"});
    EXPECT_THAT(out, HasSubstr("FileSelector = RemoteUpdateDfw\n")) << "0 in either order";
    EXPECT_THAT(out, HasSubstr("FileOperationSelector = Open\n"));
    EXPECT_THAT(out, HasSubstr("FileOpenMode = Read\n"));
    EXPECT_THAT(out, HasSubstr("FileOperationStatus = Success\n"));
    EXPECT_THAT(out, HasSubstr("FileAccessLength = 1048576 ")) << "0x1000 reversed";
    EXPECT_THAT(out, HasSubstr("R[0x00000004] = 0x00000001\n"));
    EXPECT_THAT(out, HasSubstr("GevHeartbeatTimeout = 3000 "));
}

TEST(LegacyEndianPeersTest, IsReadByAravisByRegisterCommandsThatSwapAsSchema10WantsThem) {
    const auto device = SimulatedDevice::Builder()
                            .layout(RegisterLayout::kLegacyEndian)
                            .description({simulator::DescriptionShape::kSchema10})
                            .registerCommandsSwap(true)
                            .serveTftp(false)
                            .build();
    Start(*device);
    const std::string out = Control({"FileSelector=StatusTxt", "FileSelector", "FileAccessLength",
                                     "FileOperationExecute", "FileOperationStatus"});
    EXPECT_THAT(out, HasSubstr("FileSelector = StatusTxt\nFileSelector = StatusTxt\n"));
    EXPECT_THAT(out, HasSubstr("FileAccessLength = 4096 "));
    EXPECT_THAT(out, HasSubstr("FileOperationStatus = Success\n"));
    EXPECT_EQ(device->GvcpCounts()["WRITEREG"], 4U)
        << "control taken and given back, selector, execute";
}

TEST(LocalSelectorPeersTest, OffersAravisOnlyTheEntriesThatThereAre) {
    const auto device =
        SimulatedDevice::Builder().layout(RegisterLayout::kLocalSelectors).serveTftp(false).build();
    Start(*device);
    for (const char* absent : {"FileSelector=UserSet1", "FileSelector=LUTRed"}) {
        EXPECT_THAT(Control({absent}), HasSubstr("write error")) << absent;
    }
}
