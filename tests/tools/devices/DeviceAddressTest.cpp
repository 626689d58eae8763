// mirsko-devices and cameras with an address that does not fit, at the other end of a cable.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "GvcpClient.h"
#include "NetworkPair.h"
#include "Process.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char* kMac = "02:4d:53:00:00:01";

/// A camera with an address outside the subnet of cam0, as after it was moved to this computer.
class DeviceAddressTest : public testing::Test {
  protected:
    DeviceAddressTest() {
        EXPECT_EQ(Process::Run({"mount", "-t", "tmpfs", "none", "/sys"}).exitStatus, 0);
        // The camera is not a computer: it does not judge senders.
        EXPECT_EQ(Process::Run(mNetwork.OnFarSide({"sysctl", "-qw", "net.ipv4.conf.all.rp_filter=0",
                                                   "net.ipv4.conf.far0.rp_filter=0"}))
                      .exitStatus,
                  0);
        mCamera = std::make_unique<SimulatedCamera>(
            std::vector<std::string>{"--no-tftp", "--interface", "far0", "--address", "10.9.9.2"},
            &mNetwork);
    }

    static void Filter(const std::string& mode) {
        EXPECT_EQ(Process::Run({"sysctl", "-qw", "net.ipv4.conf.all.rp_filter=0",
                                "net.ipv4.conf.cam0.rp_filter=" + mode})
                      .exitStatus,
                  0);
    }

    static ProcessResult Devices(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), Program("mirsko-devices"));
        return Process::Run(std::move(arguments));
    }

    /// The camera as --json describes it; null when it is not found.
    static json Camera(const json& inventory) {
        for (const json& interface : inventory["interfaces"]) {
            if (interface["name"] == "cam0" && !interface["devices"].empty()) {
                return interface["devices"][0];
            }
        }
        return nullptr;
    }
    static json Camera() { return Camera(json::parse(Devices({"--json"}).out)); }

    NetworkPair mNetwork{{{"192.168.1.1/24", "10.9.9.2/24"}}};
    std::unique_ptr<SimulatedCamera> mCamera;
};

class OtherSubnetTest : public DeviceAddressTest,
                        public testing::WithParamInterface<const char*> {};

}  // namespace

TEST_P(OtherSubnetTest, FindsACameraInAnotherSubnetAndSaysWhatToDo) {
    Filter(GetParam());
    const ProcessResult result = Devices({"--json"});
    EXPECT_EQ(result.exitStatus, 0);
    const json inventory = json::parse(result.out);
    const json camera = Camera(inventory);
    ASSERT_FALSE(camera.is_null());
    EXPECT_EQ(camera["address"], "10.9.9.2");
    EXPECT_EQ(camera["access"], "other subnet");
    ASSERT_EQ(inventory["findings"].size(), 1U);
    EXPECT_EQ(inventory["findings"][0]["code"], "other-subnet");
    EXPECT_EQ(inventory["findings"][0]["text"],
              "Mirsko Simulated Camera, serial SIM-0001 on cam0: its address 10.9.9.2 is outside "
              "the interface's subnet 192.168.1.0/24; give it one inside (mirsko-devices force-ip "
              "02:4d:53:00:00:01 ADDRESS/MASK), or add an address of the camera's subnet to cam0");
}

INSTANTIATE_TEST_SUITE_P(RpFilter, OtherSubnetTest, testing::Values("0", "1", "2"));

TEST_F(DeviceAddressTest, SaysThatCamerasInOtherSubnetsCannotBeSeen) {
    Filter("1");
    const ProcessResult result =
        Process::Run({"setpriv", "--bounding-set", "-all", Program("mirsko-devices")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("\n0 devices, "));
    EXPECT_THAT(result.out, HasSubstr("Note: cameras outside the subnet of cam0 may not be seen "
                                      "because of rp_filter; run mirsko-devices as root to find "
                                      "them\n"));
}

TEST_F(DeviceAddressTest, GivesACameraInAnotherSubnetAnAddressUntilItRestarts) {
    Filter("1");
    const ProcessResult result = Devices({"force-ip", kMac, "192.168.1.20/24", "192.168.1.254"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "02:4d:53:00:00:01 has the address 192.168.1.20/24 on cam0 until it restarts\n");
    EXPECT_EQ(result.exitStatus, 0);
    const json camera = Camera();
    ASSERT_FALSE(camera.is_null());
    EXPECT_EQ(camera["address"], "192.168.1.20");
    EXPECT_EQ(camera["subnetMask"], "255.255.255.0");
    EXPECT_EQ(camera["gateway"], "192.168.1.254");
    EXPECT_EQ(camera["access"], "free");
    EXPECT_EQ(mCamera->Events("address_forced").size(), 1U);
    // Third-party software works with it there.
    const ProcessResult peer =
        Process::Run({"arv-tool-0.8", "-a", "192.168.1.20", "control", "Width"});
    EXPECT_THAT(peer.out, HasSubstr("Width = ")) << peer.err;
    mCamera->PowerCycle();
    EXPECT_EQ(Camera()["address"], "10.9.9.2");
}

TEST_F(DeviceAddressTest, SaysWhyACameraCannotHaveAnAddress) {
    ASSERT_EQ(Process::Run({"ip", "address", "add", "172.16.5.1/24", "dev", "cam0"}).exitStatus, 0);
    const auto refusal = [](std::vector<std::string> arguments, int status) {
        arguments.insert(arguments.begin(), "force-ip");
        const ProcessResult result = Devices(std::move(arguments));
        EXPECT_EQ(result.exitStatus, status);
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    for (const char* wrong : {"192.168.1.20", "192.168.1.0/24", "192.168.1.255/24", "224.0.0.1/24",
                              "192.168.1.20/33", "192.168.1.20/255.0.255.0", "192.168.1/24"}) {
        EXPECT_EQ(refusal({kMac, wrong}, 2), "\"" + std::string(wrong) +
                                                 "\" is not an address for a device and its mask, "
                                                 "such as 192.168.1.20/24\n");
    }
    EXPECT_EQ(refusal({"02:4d:53", "192.168.1.20/24"}, 2),
              "\"02:4d:53\" is not a MAC address, such as 02:4d:53:00:00:01\n");
    EXPECT_EQ(refusal({kMac, "192.168.1.20/24", "here"}, 2),
              "\"here\" is not the address of a gateway, such as 192.168.1.1\n");
    EXPECT_EQ(refusal({"02:4d:53:00:00:09", "192.168.1.20/24"}, 1),
              "No GigE Vision device with the MAC address 02:4d:53:00:00:09 answers; "
              "mirsko-devices --json lists their addresses\n");
    for (const std::string own : {"192.168.1.1", "172.16.5.1"}) {
        EXPECT_EQ(refusal({kMac, own + "/24"}, 1),
                  own + " is already the address of this computer's cam0\n");
    }
    EXPECT_FALSE(mCamera->HasEvent("address_forced"));
}

TEST_F(DeviceAddressTest, KnowsEverySubnetOfAnInterface) {
    Filter("0");
    ASSERT_EQ(Process::Run({"ip", "address", "add", "172.16.5.1/24", "dev", "cam0"}).exitStatus, 0);
    EXPECT_EQ(Devices({"force-ip", kMac, "172.16.5.20/24"}).out,
              "02:4d:53:00:00:01 has the address 172.16.5.20/24 on cam0 until it restarts\n");
    EXPECT_THAT(Devices({"force-ip", kMac, "172.16.6.20/24"}).out,
                HasSubstr("\nNote: this address is outside the subnets of cam0, so this computer "
                          "cannot work with the device\n"));
}

TEST_F(DeviceAddressTest, SaysThatACameraIgnoresItWhileAnotherProgramIsInControl) {
    Filter("0");
    ASSERT_EQ(Devices({"force-ip", kMac, "192.168.1.20/255.255.255.0"}).exitStatus, 0);
    GvcpClient other("192.168.1.20", "cam0", "192.168.1.1");
    ASSERT_EQ(other.Write(0x938, 60000), 0x8006U);
    ASSERT_EQ(other.Write(0xa00, 2), 0U);
    ASSERT_EQ(other.Write(0x938, 60000), 0U);
    const ProcessResult result = Devices({"force-ip", kMac, "192.168.1.21/24"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err,
              "Device 02:4d:53:00:00:01 on cam0 did not acknowledge its new address; a device "
              "ignores this command while another program controls it\n");
}

TEST_F(DeviceAddressTest, StoresTheAddressThatACameraTakesWheneverItStarts) {
    Filter("0");
    const ProcessResult unreachable = Devices({"persistent-ip", kMac, "192.168.1.30/24"});
    EXPECT_EQ(unreachable.exitStatus, 1);
    EXPECT_THAT(unreachable.err, HasSubstr("its address is outside the subnet of cam0"));
    ASSERT_EQ(Devices({"force-ip", kMac, "192.168.1.20/24"}).exitStatus, 0);
    const ProcessResult result = Devices({"persistent-ip", kMac, "192.168.1.30/24"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "02:4d:53:00:00:01 takes the address 192.168.1.30/24 whenever it starts\n");
    EXPECT_EQ(Camera()["address"], "192.168.1.20") << "as yet";
    mCamera->PowerCycle();
    EXPECT_EQ(Camera()["address"], "192.168.1.30");
    EXPECT_EQ(Devices({"persistent-ip", kMac, "off"}).exitStatus, 0);
    mCamera->PowerCycle();
    EXPECT_EQ(Camera()["address"], "10.9.9.2");
}
