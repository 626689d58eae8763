#pragma once

#include <map>
#include <mutex>

#include "FirmwareFile.h"
#include "ManifestProbe.h"
#include "ZipFwFileReader.h"

/// A package (docs/packages.md). Its payloads are unpacked into /tmp when a camera needs them, once
/// for all cameras, and removed with this object.
class PackageFile : public FirmwareFile {
  public:
    explicit PackageFile(FirmwareContent content);

    /// Reads the manifest.
    [[nodiscard]] std::string Check() override;
    /// Decided by the conditions and asserts of its manifest, which see the model's name whatever
    /// feature they name, as in the updater. Every payload that would be uploaded is unpacked and
    /// checked.
    [[nodiscard]] Answer For(const FirmwareTarget& target) override;

  private:
    struct Member {
        std::string path;
        std::string version;
        std::string problem;  ///< why it cannot be uploaded, one line
    };

    const Member& Unpack(const std::string& name);

    std::mutex mMutex;  // guards what is below
    ManifestProbe mProbe;
    ZipFwFileReader mReader;
    std::map<std::string, Member> mMembers;
};
