#pragma once

#include <memory>
#include <string>
#include <vector>

#include "../cameras/Camera.h"
#include "../cameras/CameraProbe.h"
#include "FirmwareFile.h"

/// What is to be done with one camera, and why.
struct FirmwareChoice {
    enum class Action { kUpdate, kNothing, kRefuse };

    struct Rules {
        bool force = false;           ///< also write the version that the camera runs
        bool allowDowngrade = false;  ///< also write a lower one
    };
    using Files = std::vector<std::unique_ptr<FirmwareFile>>;

    Action action = Action::kRefuse;
    FirmwarePlan plan;   ///< empty when no file fits
    std::string reason;  ///< of kNothing and kRefuse, one line

    /// Takes the file that fits the camera, never two.
    static FirmwareChoice Make(const Camera& camera, const CameraProbe& probe, const Files& files,
                               const Rules& rules);
};
