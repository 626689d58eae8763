#include <gtest/gtest.h>

#include <string>

#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "NetworkPair.h"
#include "Process.h"

namespace {

const NxNetworkAdapter* Adapter(const NxSystem& system, const std::string& name) {
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(system.GetInterface(i));
        if (adapter != nullptr && adapter->GetName() == name.c_str()) {
            return adapter;
        }
    }
    return nullptr;
}

// Discovery itself shows that the fake camera is ready.
const NxDeviceInfo* FindOn(NxSystem& system, const std::string& name) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        EXPECT_TRUE(system.Find().IsOK());
        const NxNetworkAdapter* adapter = Adapter(system, name);
        if (adapter != nullptr && adapter->GetDeviceCount() > 0) {
            return adapter->GetDeviceInfo(0);
        }
    }
    return nullptr;
}

}  // namespace

TEST(DiscoveryPeersTest, FindsTheAravisFakeCameraOnLoopback) {
    const Process camera({"arv-fake-gv-camera-0.8", "-i", "lo", "-s", "GV42"});
    NxSystem system;
    const NxDeviceInfo* device = FindOn(system, "lo");
    ASSERT_NE(device, nullptr);
    EXPECT_NE(dynamic_cast<const NxDeviceInfoGEV*>(device), nullptr);
    EXPECT_EQ(device->GetType(), 0U);
    EXPECT_STREQ(device->GetConnectionID().GetAscii(), "127.0.0.1%lo");
    EXPECT_STREQ(device->GetVendorName().GetAscii(), "Aravis");
    EXPECT_STREQ(device->GetModelName().GetAscii(), "Fake");
    EXPECT_STREQ(device->GetSerialNumber().GetAscii(), "GV42");
    EXPECT_EQ(Adapter(system, "lo")->GetDeviceCount(), 1U);  // both its answers are one device
}

TEST(DiscoveryPeersTest, FindsTheAravisFakeCameraBehindTheSecondOfTwoInterfacesOfOneSubnet) {
    // On the far side only far1 is in that subnet: the fake camera answers by the routes.
    const NetworkPair network(
        {{"169.254.0.1/16", "10.0.0.1/24"}, {"169.254.0.2/16", "169.254.10.2/16"}});
    const Process camera(network.OnFarSide({"arv-fake-gv-camera-0.8", "-i", "far1"}));
    NxSystem system;
    const NxDeviceInfo* device = FindOn(system, "cam1");
    ASSERT_NE(device, nullptr);
    EXPECT_STREQ(device->GetConnectionID().GetAscii(), "169.254.10.2%cam1");
    EXPECT_STREQ(Adapter(system, "cam1")->GetMACAddress().GetAscii(),
                 NetworkPair::NearMac(1).c_str());
}

TEST(DiscoveryPeersTest, KeepsRecordsOfEarlierSearchesValid) {
    const Process camera({"arv-fake-gv-camera-0.8", "-i", "lo"});
    NxSystem system;
    const NxDeviceInfo* device = FindOn(system, "lo");
    ASSERT_NE(device, nullptr);
    ASSERT_TRUE(system.Find().IsOK());
    EXPECT_STREQ(device->GetModelName().GetAscii(), "Fake");
}
