#include "PackageModel.h"

#include <algorithm>

const char* PackageModel::NameOf(PackageStep::Kind kind) {
    switch (kind) {
        case PackageStep::Kind::kFileUpload:
            return "FileUpload";
        case PackageStep::Kind::kFeatureAssert:
            return "FeatureAssert";
        case PackageStep::Kind::kFeatureWrite:
            return "FeatureWrite";
        case PackageStep::Kind::kFeatureExecute:
            return "FeatureExecute";
        default:
            return "DeviceReset";
    }
}

std::vector<PackageStepField> PackageModel::FieldsOf(PackageStep::Kind kind) {
    using Step = PackageStep;
    using Place = PackageStepField::Place;
    switch (kind) {
        case Step::Kind::kFileUpload:
            return {{"FileName", "fileName", &Step::fileName},
                    {"Transport", "transport", &Step::transport, Place::kAttribute},
                    {"DeviceFileName", "deviceFileName", &Step::deviceFileName,
                     Place::kOptionalElement}};
        case Step::Kind::kFeatureAssert:
            return {{"FeatureName", "feature", &Step::featureName},
                    {"AssertPattern", "pattern", &Step::pattern},
                    {"Message", "message", &Step::message}};
        case Step::Kind::kFeatureWrite:
            return {{"FeatureName", "feature", &Step::featureName},
                    {"Value", "value", &Step::value}};
        case Step::Kind::kFeatureExecute:
            return {{"FeatureName", "feature", &Step::featureName}};
        default:
            return {};
    }
}

std::vector<std::string> PackageModel::FileNames() const {
    std::vector<std::string> names;
    for (const PackageProcedure& procedure : procedures) {
        for (const PackageStep& step : procedure.steps) {
            if (step.kind == PackageStep::Kind::kFileUpload &&
                std::find(names.begin(), names.end(), step.fileName) == names.end()) {
                names.push_back(step.fileName);
            }
        }
    }
    return names;
}
