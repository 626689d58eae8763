#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "Process.h"

using testing::HasSubstr;
using testing::StrEq;

namespace {

// Aravis's simulated camera is a device that shares no code with ours.
class NodeAccessPeersTest : public testing::Test {
  protected:
    ~NodeAccessPeersTest() override { NxDevice::Free(device); }

    // Connects as soon as the camera answers.
    NxResult Connect(const char* connectionId) {
        NxResult result;
        (void)WaitUntil([&] {
            device = NxDevice::CreateAndConnect(NxString(connectionId), &result);
            return device != nullptr;
        });
        return result;
    }
    void ExpectNodesAreReadable() {
        NxGenParameterArray* nodes = device->GetParameters();
        NxString text;
        const NxResult result = nodes->GetStringValue("DeviceModelName", text);
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        EXPECT_THAT(text.GetAscii(), StrEq("Fake"));
        NxGenEnum* formats = nodes->GetEnum("PixelFormat");
        ASSERT_NE(formats, nullptr);
        NxGenEnumEntry entry;
        ASSERT_TRUE(formats->GetEntryByIndex(0, entry).IsOK());
        ASSERT_TRUE(entry.GetName(text).IsOK());
        EXPECT_THAT(text.GetAscii(), StrEq("BayerBG8"));
        EXPECT_TRUE(formats->GetEntryByName("Mono16", entry).IsOK());
        EXPECT_EQ(formats->GetEntryByName("Nonsense", entry).GetCode(), kNxNoSuchNode);
        EXPECT_TRUE(nodes->GetStringValue("Width", text).IsOK());
        EXPECT_EQ(nodes->GetEnum("DeviceModelName"), nullptr);
        EXPECT_FALSE(NxGenFile::IsSupported(nodes));
    }

    NxDevice* device = nullptr;
};

TEST_F(NodeAccessPeersTest, ReadsTheNodesOfAnAravisCameraOnLoopback) {
    const Process camera({"arv-fake-gv-camera-0.8", "-i", "lo"});
    const NxResult result = Connect("127.0.0.1%lo");
    ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    ExpectNodesAreReadable();
}

TEST_F(NodeAccessPeersTest, ReadsTheNodesOfAnAravisCameraInAnotherNetworkNamespace) {
    ASSERT_EQ(std::system("ip link add near type veth peer name far &&"
                          "ip address add 10.9.8.1/24 dev near && ip link set near up"),
              0);
    const Process camera({"unshare", "--net", "sh", "-c",
                          "echo ready >/tmp/unshared; until ip link show far >/dev/null 2>&1; do "
                          "sleep 0.02; done; ip link set lo up; ip address add 10.9.8.2/24 dev far"
                          " && ip link set far up && exec arv-fake-gv-camera-0.8 -i far"});
    ASSERT_TRUE(WaitUntil([] { return std::system("test -e /tmp/unshared") == 0; }));
    const std::string move = "ip link set far netns " + std::to_string(camera.Id());
    ASSERT_EQ(std::system(move.c_str()), 0);
    const NxResult result = Connect("10.9.8.2%near");
    ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    ExpectNodesAreReadable();
}

}  // namespace
