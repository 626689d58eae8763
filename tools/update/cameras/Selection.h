#pragma once

#include <string>
#include <vector>

#include "Camera.h"

/// Which of the cameras found are to be updated, as the command line names them.
struct Selection {
    std::vector<std::string> serials;
    std::vector<std::string> macs;  ///< upper or lower case, with or without ':' or '-'
    std::vector<std::string> addresses;
    std::vector<std::string> userNames;
    std::vector<std::string> models;
    bool all = false;                     ///< all cameras; with models, all of these models
    std::vector<std::string> interfaces;  ///< names or MACs: only cameras on these
    bool usb = false;                     ///< only USB3 Vision cameras; adds to `interfaces`

    /// Whether it names any camera.
    [[nodiscard]] bool IsEmpty() const;
    /// The cameras on the interfaces selected.
    [[nodiscard]] std::vector<Camera> Reachable(const std::vector<Camera>& found) const;
    /// The cameras selected, each once, in the order in which they were found.
    /// @param problems receives one line for each name that matches no camera or several, and
    ///        when no camera was found
    [[nodiscard]] std::vector<Camera> Choose(const std::vector<Camera>& found,
                                             std::vector<std::string>& problems) const;
};
