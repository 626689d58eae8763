#include "ManifestUpdates.h"

#include <utility>

ManifestUpdates::ManifestUpdates(NxGenICamLib::IGenFUUpdater& updater) : mUpdater(updater) {}

ManifestUpdates::Result ManifestUpdates::Run(std::size_t update) {
    const Result fits = mUpdates[update].conditions->Run();
    return fits.GetCode() == 0 ? mUpdates[update].steps->Run() : fits;
}

ManifestUpdates::Result ManifestUpdates::Clear() {
    mUpdates.clear();
    mProcedures.clear();
    mLatest = nullptr;
    return {};
}

// The parser has checked the order of all parts, and that every procedure named exists.

ManifestUpdates::Result ManifestUpdates::AddProcedure(const std::string& id) {
    auto procedure = std::make_unique<Control>(&mUpdater);
    mLatest = procedure.get();
    mProcedures[id] = std::move(procedure);
    const Result added = mLatest->AddProcedure(id);
    return added.GetCode() == 0 ? mLatest->AddUpdate(id) : added;
}

ManifestUpdates::Result ManifestUpdates::AddFileUpload(const std::string& fileName,
                                                       const std::string& deviceFileName,
                                                       const std::string& transport) {
    return mLatest->AddFileUpload(fileName, deviceFileName, transport);
}

ManifestUpdates::Result ManifestUpdates::AddFeatureAssert(const std::string& featureName,
                                                          const std::string& pattern,
                                                          const std::string& message) {
    return mLatest->AddFeatureAssert(featureName, pattern, message);
}

ManifestUpdates::Result ManifestUpdates::AddFeatureWrite(const std::string& featureName,
                                                         const std::string& value) {
    return mLatest->AddFeatureWrite(featureName, value);
}

ManifestUpdates::Result ManifestUpdates::AddFeatureExecute(const std::string& featureName) {
    return mLatest->AddFeatureExecute(featureName);
}

ManifestUpdates::Result ManifestUpdates::AddDeviceReset() {
    return mLatest->AddDeviceReset();
}

ManifestUpdates::Result ManifestUpdates::AddUpdate(const std::string& procedureId) {
    Update& update = mUpdates.emplace_back();
    update.conditions = std::make_unique<Control>(&mUpdater);
    update.steps = mProcedures[procedureId].get();
    const Result added = update.conditions->AddProcedure(procedureId);
    return added.GetCode() == 0 ? update.conditions->AddUpdate(procedureId) : added;
}

ManifestUpdates::Result ManifestUpdates::AddInfo(const std::string& name, const std::string& text) {
    if (name == "Version") {
        mUpdates.back().version = text;
    }
    return {};
}

ManifestUpdates::Result ManifestUpdates::AddCondition(const std::string& featureName,
                                                      const std::string& pattern) {
    return mUpdates.back().conditions->AddCondition(featureName, pattern);
}
