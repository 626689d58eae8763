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

const PackageProcedure* PackageModel::FindProcedure(const std::string& id) const {
    const auto found = std::find_if(procedures.begin(), procedures.end(),
                                    [&id](const PackageProcedure& one) { return one.id == id; });
    return found == procedures.end() ? nullptr : &*found;
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
