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
    PackageStep step{Kind::kFileUpload};
    step.fileName = fileName;
    step.deviceFileName = deviceFileName;
    step.transport = transport;
    return Add(std::move(step));
}

Result PackageModelBuilder::AddFeatureAssert(const std::string& featureName,
                                             const std::string& pattern,
                                             const std::string& message) {
    PackageStep step{Kind::kFeatureAssert};
    step.featureName = featureName;
    step.pattern = pattern;
    step.message = message;
    return Add(std::move(step));
}

Result PackageModelBuilder::AddFeatureWrite(const std::string& featureName,
                                            const std::string& value) {
    PackageStep step{Kind::kFeatureWrite};
    step.featureName = featureName;
    step.value = value;
    return Add(std::move(step));
}

Result PackageModelBuilder::AddFeatureExecute(const std::string& featureName) {
    PackageStep step{Kind::kFeatureExecute};
    step.featureName = featureName;
    return Add(std::move(step));
}

Result PackageModelBuilder::AddDeviceReset() {
    return Add(PackageStep{Kind::kDeviceReset});
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
