#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include <NxGenICam/IGenFUUpdater.h>

class ManifestUpdates;

/// Runs a manifest for cameras that are only a model name, and keeps what would be uploaded. Used
/// from one thread at a time.
class ManifestProbe : public NxGenICamLib::IGenFUUpdater {
  public:
    using Result = NyUtilsLib::Result;

    struct Upload {
        std::string fileName;
        std::string transport;
    };

    ManifestProbe();
    ~ManifestProbe() override;
    ManifestProbe(const ManifestProbe&) = delete;
    ManifestProbe& operator=(const ManifestProbe&) = delete;

    /// To be called once, first: reading takes most of the time, running hardly any.
    /// @return why it cannot be run, one line; empty if it can
    [[nodiscard]] std::string Read(const std::string& manifest);
    /// @return why nothing in it can be written to a camera of that model, one line; empty if it
    ///         can
    [[nodiscard]] std::string Run(const std::string& model);
    /// Of the last run, in the order of the steps.
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
    std::unique_ptr<ManifestUpdates> mUpdates;
    std::string mModel;
    std::vector<Upload> mUploads;
    std::string mVersion;
};
