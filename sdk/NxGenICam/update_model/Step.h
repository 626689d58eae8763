#pragma once

#include <string>
#include <variant>

#include "Pattern.h"

namespace NxGenICamLib {

struct FUFileUpload {
    std::string fileName;
    std::string transport;
};

struct FUFeatureAssert {
    std::string featureName;
    FUPattern pattern;
    std::string message;
};

struct FUFeatureWrite {
    std::string featureName;
    std::string value;
};

struct FUFeatureExecute {
    std::string featureName;
};

struct FUDeviceReset {};

using FUStep =
    std::variant<FUFileUpload, FUFeatureAssert, FUFeatureWrite, FUFeatureExecute, FUDeviceReset>;

}  // namespace NxGenICamLib
