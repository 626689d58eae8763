#include "ManifestProbe.h"

#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/GenFUControl.h>
#include <NxGenICam/GenFUParser.h>
#include <NxGenICam/GenFUUpdaterCodes.h>

namespace {

using NyUtilsLib::Result;

// A model with one of the manifest's updates only: running it shows whether that is the one.
class OneUpdate : public NxGenICamLib::GenFUControl {
  public:
    OneUpdate(NxGenICamLib::IGenFUUpdater* updater, int number)
        : GenFUControl(updater), mNumber(number) {}

    [[nodiscard]] bool Exists() const { return mLatest >= mNumber; }
    [[nodiscard]] const std::string& Version() const { return mVersion; }

    Result AddUpdate(const std::string& procedureId) override {
        ++mLatest;
        return IsHere() ? GenFUControl::AddUpdate(procedureId) : Result();
    }
    Result AddInfo(const std::string& name, const std::string& text) override {
        if (!IsHere()) {
            return {};
        }
        if (name == "Version") {
            mVersion = text;
        }
        return GenFUControl::AddInfo(name, text);
    }
    Result AddCondition(const std::string& featureName, const std::string& pattern) override {
        return IsHere() ? GenFUControl::AddCondition(featureName, pattern) : Result();
    }

  private:
    [[nodiscard]] bool IsHere() const { return mLatest == mNumber; }

    const int mNumber;
    int mLatest = -1;
    std::string mVersion;
};

Result Unsupported() {
    return Result(NxGenICamLib::kGenFUNotProvided, "mirsko-update does not provide this operation");
}

}  // namespace

ManifestProbe::ManifestProbe(std::string model) : mModel(std::move(model)) {}

std::string ManifestProbe::Run(const std::string& manifest) {
    for (int number = 0;; ++number) {
        OneUpdate update(this, number);
        if (const Result built = NxGenICamLib::GenFUParser(&update).Build(manifest);
            built.GetCode() != 0) {
            return built.GetMessage();
        }
        const Result run = update.Run();
        if (run.GetCode() == kNxNoUpdate && update.Exists()) {
            continue;
        }
        mVersion = update.Version();
        if (run.GetCode() != 0) {
            return run.GetMessage();
        }
        return mUploads.empty() ? "the update for this model uploads nothing" : "";
    }
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
