#pragma once

#include <string>
#include <variant>

#include "Pattern.h"

namespace NxGenICamLib {

struct FileUpload {
    std::string fileName;
    std::string transport;
};

struct FeatureAssert {
    std::string featureName;
    Pattern pattern;
    std::string message;
};

struct FeatureWrite {
    std::string featureName;
    std::string value;
};

struct FeatureExecute {
    std::string featureName;
};

struct DeviceReset {};

using Step = std::variant<FileUpload, FeatureAssert, FeatureWrite, FeatureExecute, DeviceReset>;

}  // namespace NxGenICamLib
