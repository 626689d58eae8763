#include "ManifestProbe.h"

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/GenFUParser.h>
#include <NxGenICam/GenFUUpdaterCodes.h>

#include "ManifestUpdates.h"

namespace {

using NyUtilsLib::Result;

Result Unsupported() {
    return Result(NxGenICamLib::kGenFUNotProvided, "mirsko-update does not provide this operation");
}

}  // namespace

ManifestProbe::ManifestProbe() : mUpdates(std::make_unique<ManifestUpdates>(*this)) {}

ManifestProbe::~ManifestProbe() = default;

std::string ManifestProbe::Read(const std::string& manifest) {
    const Result built = NxGenICamLib::GenFUParser(mUpdates.get()).Build(manifest);
    return built.GetCode() == 0 ? "" : built.GetMessage();
}

std::string ManifestProbe::Run(const std::string& model) {
    mModel = model;
    mUploads.clear();
    mVersion.clear();
    Result run;
    for (std::size_t update = 0; update < mUpdates->Count(); ++update) {
        run = mUpdates->Run(update);
        if (run.GetCode() != kNxNoUpdate) {
            mVersion = mUpdates->Version(update);
            break;
        }
    }
    if (run.GetCode() != 0) {
        return run.GetMessage();
    }
    return mUploads.empty() ? "the update for this model uploads nothing" : "";
}

Result ManifestProbe::ReadGenStringValue(const std::string& /*nodeName*/, std::string& value) {
    value = mModel;
    return {};
}

Result ManifestProbe::WriteGenStringValue(const std::string& /*nodeName*/,
                                          const std::string& /*value*/) {
    return Unsupported();
}

Result ManifestProbe::ExecuteGenCommand(const std::string& /*nodeName*/) {
    return Unsupported();
}

Result ManifestProbe::GetGenEnumEntries(const std::string& /*nodeName*/,
                                        std::list<std::string>& /*entries*/) {
    return Unsupported();
}

Result ManifestProbe::Write(const std::string& fileName, const std::string& transport) {
    mUploads.push_back({fileName, transport});
    return {};
}

// A reset at the end is made in any case; one before an upload would be another update.
Result ManifestProbe::Reset() {
    return Unsupported();
}
