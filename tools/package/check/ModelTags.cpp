#include "ModelTags.h"

#include <algorithm>
#include <iterator>

const std::vector<ModelTag>& AllModelTags() {
    static const std::vector<ModelTag> kTags = {
        {"zelka_qrm_lanx_fk02_tc3mn03_128kd", {"zELKA-QRm-LanX-FK02-TC3MN03-128kD"}},
        {"zelka_qrm_h_fk02", {"zELKA-QRm-H-FK02-TC3MN01-128kD", "zELKA-QRm-H-FK02-TC3MN02-128kD"}},
    };
    return kTags;
}

std::vector<ModelTag> ModelTagsOf(const std::string& path) {
    std::vector<ModelTag> found;
    std::copy_if(AllModelTags().begin(), AllModelTags().end(), std::back_inserter(found),
                 [&path](const ModelTag& one) { return path.find(one.tag) != std::string::npos; });
    return found;
}
