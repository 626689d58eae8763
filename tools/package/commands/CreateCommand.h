#pragma once

#include <map>
#include <string>
#include <vector>

#include "../model/PackageModel.h"
#include "Command.h"

/// create: makes a package of a manifest and the files it names, or of options.
class CreateCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    /// Member name to local path.
    using Files = std::map<std::string, std::string>;

    int CreateFromManifest();
    int CreateFromOptions();
    int Write(const std::string& manifest, const Files& files);

    std::string mPackage;
    std::string mManifest;
    std::vector<std::string> mModels;
    std::vector<std::string> mUploads;
    std::string mDescription;
    std::string mVersion;
};
