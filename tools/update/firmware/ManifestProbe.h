#pragma once

#include <list>
#include <string>
#include <vector>

#include <NxGenICam/IGenFUUpdater.h>

/// Runs a manifest for a camera that is only a model name, and keeps what would be uploaded.
class ManifestProbe : public NxGenICamLib::IGenFUUpdater {
  public:
    using Result = NyUtilsLib::Result;

    struct Upload {
        std::string fileName;
        std::string transport;
    };

    explicit ManifestProbe(std::string model);

    /// @param manifest one that can be built
    /// @return why nothing in it can be written to that camera, one line; empty if it can
    [[nodiscard]] std::string Run(const std::string& manifest);
    [[nodiscard]] const std::vector<Upload>& Uploads() const { return mUploads; }
    /// The info "Version" of the update that fits; empty without one.
    [[nodiscard]] const std::string& Version() const { return mVersion; }

    Result ReadGenStringValue(const std::string& nodeName, std::string& value) override;
    Result WriteGenStringValue(const std::string& nodeName, const std::string& value) override;
    Result ExecuteGenCommand(const std::string& nodeName) override;
    Result GetGenEnumEntries(const std::string& nodeName, std::list<std::string>& entries) override;
    Result Write(const std::string& fileName, const std::string& transport) override;
    Result Reset() override;

  private:
    const std::string mModel;
    std::vector<Upload> mUploads;
    std::string mVersion;
};
