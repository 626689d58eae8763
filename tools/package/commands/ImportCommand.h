#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "../archive/ArchiveWriter.h"
#include "../archive/TemporaryFile.h"
#include "../model/PackageModel.h"
#include "../update_file/ControlFile.h"
#include "../update_file/UpdateFile.h"
#include "Command.h"

/// import: makes a package of a GenICam update file.
class ImportCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    /// @return empty, or why nothing is to be imported; each of the others likewise
    std::string Import();
    std::string CheckSignature();
    /// @param problem with the signature, which ends the import unless it is to be ignored
    std::string Refuse(const std::string& problem) const;
    std::string ReadControlFile(PackageModel& model);
    /// Gives each uploaded file a name without folders and extracts it.
    std::string TakeFiles(PackageModel& model);
    std::string TakeFile(const std::string& path, std::string& name);
    void NoteUnusedFiles() const;

    std::string mUpdatePath;
    std::string mPackage;
    ControlFile::Options mOptions;
    bool mDropReset = false;
    std::string mAuthorities;
    bool mIgnoreSignature = false;

    UpdateFile mUpdate;
    std::string mSigners;  ///< who signed it, if they are trusted
    ArchiveWriter mWriter;
    std::map<std::string, std::string> mTaken;  ///< path in the update file to name in the package
    std::list<TemporaryFile> mCopies;
};
