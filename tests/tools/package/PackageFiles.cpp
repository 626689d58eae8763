#include "PackageFiles.h"

#include "PayloadBuilder.h"

std::string GoodPayload(const std::string& body) {
    return MakePayload(body, {.family = "SIMCAM"});
}

std::string GoodManifest(const std::string& steps) {
    return MakeManifest(steps.empty() ? Upload("a.dfw") : steps, {.pattern = "M"});
}
