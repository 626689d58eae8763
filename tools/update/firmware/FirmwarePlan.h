#pragma once

#include <string>
#include <vector>

/// What is to be written to one camera.
struct FirmwarePlan {
    enum class Transport { kAny, kFileAccess, kTftp };

    struct Upload {
        std::string path;  ///< a payload; readable as long as the FirmwareFile lives
        Transport transport = Transport::kAny;
    };

    std::string file;  ///< the firmware file, as the user named it
    std::vector<Upload> uploads;
    std::string version;  ///< that the camera runs afterwards
};
