#include "PackageModelBuilder.h"

#include <utility>

using Result = NyUtilsLib::Result;
using Kind = PackageStep::Kind;

Result PackageModelBuilder::Clear() {
    mModel = PackageModel();
    return {};
}

Result PackageModelBuilder::AddProcedure(const std::string& id) {
    mModel.procedures.push_back({id, {}});
    return {};
}

Result PackageModelBuilder::AddFileUpload(const std::string& fileName,
                                          const std::string& deviceFileName,
                                          const std::string& transport) {
    return Add({.kind = Kind::kFileUpload,
                .fileName = fileName,
                .deviceFileName = deviceFileName,
                .transport = transport});
}

Result PackageModelBuilder::AddFeatureAssert(const std::string& featureName,
                                             const std::string& pattern,
                                             const std::string& message) {
    return Add({.kind = Kind::kFeatureAssert,
                .featureName = featureName,
                .pattern = pattern,
                .message = message});
}

Result PackageModelBuilder::AddFeatureWrite(const std::string& featureName,
                                            const std::string& value) {
    return Add({.kind = Kind::kFeatureWrite, .featureName = featureName, .value = value});
}

Result PackageModelBuilder::AddFeatureExecute(const std::string& featureName) {
    return Add({.kind = Kind::kFeatureExecute, .featureName = featureName});
}

Result PackageModelBuilder::AddDeviceReset() {
    return Add({.kind = Kind::kDeviceReset});
}

Result PackageModelBuilder::AddUpdate(const std::string& procedureId) {
    mModel.updates.push_back({procedureId, {}, {}});
    return {};
}

Result PackageModelBuilder::AddInfo(const std::string& name, const std::string& text) {
    mModel.updates.back().infos.push_back({name, text});
    return {};
}

Result PackageModelBuilder::AddCondition(const std::string& featureName,
                                         const std::string& pattern) {
    mModel.updates.back().conditions.push_back({featureName, pattern});
    return {};
}

Result PackageModelBuilder::Add(PackageStep step) {
    mModel.procedures.back().steps.push_back(std::move(step));
    return {};
}
