#pragma once

#include <cstddef>
#include <string>

#include "../archive/Archive.h"
#include "PackageModel.h"

/// A firmware package: its archive, and what its manifest says, found and read as the updater does.
class Package {
  public:
    /// @return empty, or why it is not a package
    [[nodiscard]] std::string Open(const std::string& path);

    [[nodiscard]] const Archive& GetArchive() const { return mArchive; }
    [[nodiscard]] const PackageModel& GetModel() const { return mModel; }
    /// The index of the member that is the manifest.
    [[nodiscard]] std::size_t ManifestMember() const { return mManifestMember; }
    /// The manifest as the updater sees it: up to its first zero byte.
    [[nodiscard]] const std::string& ManifestText() const { return mManifestText; }
    /// Whether bytes after a zero byte were cut off.
    [[nodiscard]] bool ManifestIsCut() const { return mManifestIsCut; }

  private:
    Archive mArchive;
    PackageModel mModel;
    std::size_t mManifestMember = 0;
    std::string mManifestText;
    bool mManifestIsCut = false;
};
