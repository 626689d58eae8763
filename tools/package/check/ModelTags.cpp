#include "ModelTags.h"

std::vector<ModelTag> ModelTagsOf(const std::string& path) {
    static const std::vector<ModelTag> kTags = {
        {"zelka_qrm_lanx_fk02_tc3mn03_128kd", {"zELKA-QRm-LanX-FK02-TC3MN03-128kD"}},
        {"zelka_qrm_h_fk02", {"zELKA-QRm-H-FK02-TC3MN01-128kD", "zELKA-QRm-H-FK02-TC3MN02-128kD"}},
    };
    std::vector<ModelTag> found;
    for (const ModelTag& tag : kTags) {
        if (path.find(tag.tag) != std::string::npos) {
            found.push_back(tag);
        }
    }
    return found;
}
