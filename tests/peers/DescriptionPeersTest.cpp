// The odd shapes of the simulated camera's description, as Aravis's client reads them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaseName.h"
#include "Process.h"
#include "UsbCamera.h"
#include "simulator/device/SimulatedDevice.h"

using simulator::DescriptionShape;
using simulator::SimulatedDevice;
using testing::HasSubstr;

namespace {

const std::vector<std::string> kControls{
    "arv-tool-0.8",         "control",          "FileSelector=StatusTxt", "FileOpenMode=Read",
    "FileOperationExecute", "FileAccessLength", "FileOperationStatus",    "DeviceFirmwareVersion"};

void ExpectAllUnderstood(const ProcessResult& result) {
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("FileSelector = StatusTxt\n"
                                      "FileOpenMode = Read\n"
                                      "FileOperationExecute executed\n"
                                      "FileAccessLength = 4096 min:1 max:4096\n"
                                      "FileOperationStatus = Success\n"
                                      "DeviceFirmwareVersion = 1.0\n"));
}

class DescriptionPeersTest : public testing::TestWithParam<DescriptionShape> {};

}  // namespace

TEST_P(DescriptionPeersTest, IsReadByAravisOverGigEVision) {
    const auto device =
        SimulatedDevice::Builder().description({GetParam()}).serveTftp(false).build();
    std::string why;
    ASSERT_TRUE(device->Start(why)) << why;
    ExpectAllUnderstood(Process::Run(kControls));
}

TEST_P(DescriptionPeersTest, IsReadByAravisOverUsb3Vision) {
    if (GetParam() == DescriptionShape::kBlanks || GetParam() == DescriptionShape::kSecondUrl) {
        UsbCamera camera({"--description", simulator::kShapeNames.NameOf(GetParam())});
        EXPECT_THAT(camera.Run({"true"}).err, HasSubstr("USB3 Vision has no URLs"));
        return;
    }
    // Aravis asks for as much as fits into an ack, and does not find room for the number
    // 65536 in the command.
    UsbCamera camera(
        {"--description", simulator::kShapeNames.NameOf(GetParam()), "--max-ack", "32768"});
    ExpectAllUnderstood(camera.Run(kControls));
}

INSTANTIATE_TEST_SUITE_P(Every, DescriptionPeersTest,
                         testing::ValuesIn(simulator::kShapeNames.Values()),
                         [](const testing::TestParamInfo<DescriptionShape>& shape) {
                             return CaseName(simulator::kShapeNames.NameOf(shape.param));
                         });

TEST(EveryShapePeersTest, IsReadByAravisInAllShapesAtOnce) {
    const auto all = simulator::kShapeNames.Values();
    const auto device =
        SimulatedDevice::Builder().description({all.begin(), all.end()}).serveTftp(false).build();
    std::string why;
    ASSERT_TRUE(device->Start(why)) << why;
    ExpectAllUnderstood(Process::Run(kControls));
}
