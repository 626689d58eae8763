#pragma once

#include <string>

#include "Camera.h"

/// What a camera says when it is asked, before anything is written to it.
struct CameraProbe {
    enum class Transport { kFileAccess, kTftp };

    Transport transport = Transport::kFileAccess;
    /// Why not by GenICam file access, one line; empty when it is.
    std::string whyNoFileAccess;
    /// Of the firmware that it was given last and may run after its next restart only; empty when
    /// its status text does not say.
    std::string storedVersion;
    /// Device family of that firmware's payload; empty likewise.
    std::string family;
    /// Why it cannot be updated now, one line; empty for nothing.
    std::string refusal;

    /// Connects to the camera, taking control of it for that time, and reads its status text.
    static CameraProbe Ask(const Camera& camera);

    /// "GenICam file access" or "TFTP".
    [[nodiscard]] const char* TransportName() const;
};
