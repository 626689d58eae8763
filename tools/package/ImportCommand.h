#pragma once

#include <list>
#include <map>
#include <string>

#include "Archive.h"
#include "ArchiveWriter.h"
#include "Command.h"
#include "PackageModel.h"
#include "TemporaryFile.h"

/// import: makes a package of a GenICam update file.
class ImportCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    /// Gives each uploaded file a name without folders and extracts it.
    /// @return empty, or what went wrong
    std::string TakeFiles(PackageModel& model);
    std::string TakeFile(const std::string& path, std::string& name);

    std::string mUpdateFile;
    std::string mPackage;
    std::string mTransport = "GenICam";
    Archive mArchive;
    ArchiveWriter mWriter;
    std::map<std::string, std::string> mTaken;  ///< path in the update file to name in the package
    std::list<TemporaryFile> mCopies;
};
