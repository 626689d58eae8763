#include "UpdaterLimits.h"

namespace {

using Kind = PackageStep::Kind;

std::string FeatureLimit(const std::string& featureName) {
    return featureName == "DeviceModelName"
               ? ""
               : "the updater returns the model name for every feature, including \"" +
                     featureName + "\"";
}

// Empty when the updater does as the step says.
std::string StepLimit(const PackageStep& step) {
    switch (step.kind) {
        case Kind::kFileUpload:
            return step.deviceFileName.empty() || step.deviceFileName == "RemoteUpdateDfw"
                       ? ""
                       : "the updater always writes the device file \"RemoteUpdateDfw\", not \"" +
                             step.deviceFileName + "\"";
        case Kind::kFeatureAssert:
            return FeatureLimit(step.featureName);
        case Kind::kFeatureWrite:
        case Kind::kFeatureExecute:
            return "the updater refuses this step with code 1540, which ends the update";
        default:
            return "the updater refuses this step with code 16, which ends the update; it resets "
                   "the device on its own after a TFTP upload";
    }
}

}  // namespace

std::vector<std::string> UpdaterLimits(const PackageModel& model) {
    std::vector<std::string> limits;
    for (const PackageProcedure& procedure : model.procedures) {
        std::size_t number = 0;
        for (const PackageStep& step : procedure.steps) {
            const std::string limit = StepLimit(step);
            ++number;
            if (!limit.empty()) {
                limits.push_back(PlaceOfStep(procedure, number, step.kind) + limit);
            }
        }
    }
    std::size_t number = 0;
    for (const PackageUpdate& update : model.updates) {
        ++number;
        for (const PackageCondition& condition : update.conditions) {
            const std::string limit = FeatureLimit(condition.featureName);
            if (!limit.empty()) {
                limits.push_back("update " + std::to_string(number) + ": " + limit);
            }
        }
    }
    return limits;
}

std::vector<std::string> DropFinalResets(PackageModel& model) {
    std::vector<std::string> dropped;
    for (PackageProcedure& procedure : model.procedures) {
        // A procedure has at least one step.
        while (procedure.steps.size() > 1 && procedure.steps.back().kind == Kind::kDeviceReset) {
            dropped.push_back(PlaceOfStep(procedure, procedure.steps.size(), Kind::kDeviceReset) +
                              "dropped; the updater resets the device on its own after a TFTP "
                              "upload; after any other, restart it by hand");
            procedure.steps.pop_back();
        }
    }
    return dropped;
}

std::string PlaceOfStep(const PackageProcedure& procedure, std::size_t number, Kind kind) {
    return "procedure \"" + procedure.id + "\", step " + std::to_string(number) + ", " +
           PackageModel::NameOf(kind) + ": ";
}
