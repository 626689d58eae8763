#include "CameraSearch.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

namespace {

std::string ObstacleOf(const NxDeviceInfo& device, const std::string& interface) {
    switch (device.GetAccess()) {
        case NxDeviceInfo::Access::kOtherSubnet:
            return "its address is outside the subnet of " + interface +
                   "; give it one inside (mirsko-devices force-ip " +
                   device.GetMACAddress().GetAscii() + " ADDRESS/MASK)";
        case NxDeviceInfo::Access::kDenied:
            return device.GetAccessReason().GetAscii();
        case NxDeviceInfo::Access::kUnknown:
        case NxDeviceInfo::Access::kFree:
        // A program that died is in control for a moment longer, and a camera that did not reply to
        // one question may reply to the next: connecting waits for both.
        case NxDeviceInfo::Access::kInUse:
        case NxDeviceInfo::Access::kNoReply:
            break;
    }
    return "";
}

Camera Describe(const NxDeviceInfo& device, const NxInterface& interface) {
    Camera camera;
    camera.device = &device;
    camera.interface = interface.GetName().GetAscii();
    if (const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(&interface)) {
        camera.interfaceMac = adapter->GetMACAddress().GetAscii();
    } else {
        camera.isUsb = true;
    }
    camera.vendor = device.GetVendorName().GetAscii();
    camera.model = device.GetModelName().GetAscii();
    camera.serial = device.GetSerialNumber().GetAscii();
    camera.userName = device.GetUserDefinedName().GetAscii();
    camera.version = device.GetDeviceVersion().GetAscii();
    camera.address = device.GetIPAddress().GetAscii();
    camera.mac = device.GetMACAddress().GetAscii();
    camera.connectionId = device.GetConnectionID().GetAscii();
    camera.obstacle = ObstacleOf(device, camera.interface);
    return camera;
}

CameraSearch::Cameras CamerasOf(const NxSystem& system) {
    CameraSearch::Cameras cameras;
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const NxInterface& interface = *system.GetInterface(i);
        for (unsigned int k = 0; k < interface.GetDeviceCount(); ++k) {
            cameras.push_back(Describe(*interface.GetDeviceInfo(k), interface));
        }
    }
    return cameras;
}

// What is written to an address must not reach another camera than the one that was named, and what
// is seen of a camera after its restart must not be another one's.
void MarkTheIndistinguishable(CameraSearch::Cameras& cameras) {
    std::map<std::string, int> addresses;
    std::map<std::string, int> macs;
    for (const Camera& camera : cameras) {
        ++addresses[camera.connectionId];
        ++macs[camera.interface + camera.mac];
    }
    for (Camera& camera : cameras) {
        const std::string other = "another camera on " + camera.interface + " has the same ";
        if (addresses[camera.connectionId] > 1) {
            camera.obstacle = other + "address " + camera.address +
                              "; give each its own (mirsko-devices force-ip)";
        } else if (!camera.isUsb && macs[camera.interface + camera.mac] > 1) {
            camera.obstacle = other + "MAC address " + camera.mac + "; connect only one of them";
        }
    }
}

CameraSearch::Cameras EachOnce(const CameraSearch::Cameras& found) {
    CameraSearch::Cameras cameras;
    for (const Camera& camera : found) {
        const auto known = std::ranges::find_if(cameras, [&camera](const Camera& other) {
            return other.interface != camera.interface && other.IsSameAs(camera);
        });
        if (known == cameras.end()) {
            cameras.push_back(camera);
        } else if (!known->obstacle.empty() && camera.obstacle.empty()) {
            *known = camera;
        }
    }
    return cameras;
}

}  // namespace

CameraSearch::CameraSearch() : mSystem(std::make_unique<NxSystem>()) {}

CameraSearch::~CameraSearch() = default;

NxResult CameraSearch::FindAll(Cameras& cameras) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mLatestBegin = Clock::now();
    NxResult result = mSystem->FindAll();
    cameras = CamerasOf(*mSystem);
    MarkTheIndistinguishable(cameras);
    cameras = EachOnce(cameras);
    // Cameras answer in any order; a list is easier to read in its own.
    std::ranges::stable_sort(cameras, [](const Camera& one, const Camera& other) {
        return std::tie(one.interface, one.serial) < std::tie(other.interface, other.serial);
    });
    mLatest = std::make_shared<const Cameras>(cameras);
    return result;
}

std::shared_ptr<const CameraSearch::Cameras> CameraSearch::FoundSince(Clock::time_point earliest) {
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mLatest == nullptr || mLatestBegin < earliest) {
        mLatestBegin = Clock::now();
        NxSystem system;
        (void)system.Find();  // where nothing could be asked, nothing is found
        Cameras cameras = CamerasOf(system);
        for (Camera& camera : cameras) {
            camera.device = nullptr;
        }
        mLatest = std::make_shared<const Cameras>(std::move(cameras));
    }
    return mLatest;
}
