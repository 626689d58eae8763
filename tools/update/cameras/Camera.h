#pragma once

#include <string>
#include <vector>

#include <NxSystem/NxDeviceInfo.h>

/// A camera that a search found, and where. Texts are as the camera reports them, unless noted.
struct Camera {
    /// Owned by the search that found it; null when only what is below is wanted of it.
    const NxDeviceInfo* device = nullptr;

    std::string interface;     ///< "eth1", or a USB host controller's "0000:00:14.0"
    std::string interfaceMac;  ///< empty for a USB host controller
    bool isUsb = false;
    std::string vendor;
    std::string model;
    std::string serial;
    std::string userName;
    std::string version;  ///< of the firmware that it runs
    std::string address;  ///< empty for USB
    std::string mac;      ///< empty for USB
    std::string connectionId;
    /// Why it cannot be updated, as far as the search can see; one line, empty for nothing.
    std::string obstacle;

    /// Whether both are the same camera, whatever its address and interface are now.
    [[nodiscard]] bool IsSameAs(const Camera& other) const;
    /// Why its connection ID must not be used any more: the camera has another one now, or another
    /// camera has it. One line; empty when it may be used.
    /// @param now the cameras that a later search found, of which it may have missed some
    [[nodiscard]] std::string Displacement(const std::vector<Camera>& now) const;
    /// For people, on one line: "Simulated Camera SIM-0001 (10.1.0.2 on cam0)".
    [[nodiscard]] std::string Name() const;
};
