#pragma once

#include <string>
#include <vector>

#include <NxGenICam/IGenFUUpdater.h>

/// Runs a manifest for a device that is only a model name, and keeps what would be uploaded. Like
/// the updater it returns the model name for every feature.
class ModelProbe : public NxGenICamLib::IGenFUUpdater {
  public:
    using Result = NyUtilsLib::Result;

    explicit ModelProbe(std::string model);

    /// @return what the run says; the steps that the updater refuses are skipped
    [[nodiscard]] Result Run(const std::string& manifest);
    [[nodiscard]] const std::vector<std::string>& Uploads() const { return mUploads; }

    Result ReadGenStringValue(const std::string& /*nodeName*/, std::string& value) override {
        value = mModel;
        return {};
    }
    Result WriteGenStringValue(const std::string& /*nodeName*/,
                               const std::string& /*value*/) override {
        return {};
    }
    Result ExecuteGenCommand(const std::string& /*nodeName*/) override { return {}; }
    Result GetGenEnumEntries(const std::string& /*nodeName*/,
                             std::list<std::string>& /*entries*/) override {
        return {};
    }
    Result Write(const std::string& fileName, const std::string& /*transport*/) override {
        mUploads.push_back(fileName);
        return {};
    }
    Result Reset() override { return {}; }

  private:
    std::string mModel;
    std::vector<std::string> mUploads;
};
