#pragma once

#include <string>

#include <NxSystem/NxDeviceInfo.h>

/// The transport by which the updater would write a payload into a device, and why no better one.
struct TransportChoice {
    enum class Transport { kFileAccess, kTftp, kNone } transport = Transport::kNone;
    /// Why it is not file access, in one line; empty when it is.
    std::string reason;

    /// Connects to the device and asks it, taking control of it for that time.
    static TransportChoice Find(const NxDeviceInfo& device);

    /// "GenICam file access", "TFTP" or "none".
    [[nodiscard]] const char* Name() const;
};
