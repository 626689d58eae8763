#pragma once

#include <string>
#include <vector>

#include "../cameras/CameraSearch.h"
#include "../cameras/Selection.h"
#include "CameraUpdate.h"

class Interruption;
class Report;

/// One run of mirsko-update.
class UpdateRun {
  public:
    struct Options {
        Selection selection;
        std::vector<std::string> files;
        std::string authorities;  ///< PEM file; empty where the files need no signature
        CameraUpdate::Options update;
        std::size_t jobs = 0;  ///< 0: as many as the interfaces allow
        bool json = false;
        std::string logFile;  ///< empty for none
    };

    explicit UpdateRun(Options options);

    /// @return the exit status: 0 every camera selected runs the firmware, 1 at least one does not,
    ///         2 all ran it before, 3 nothing was done (the reason is on standard error)
    /// @param interruption that keeps signals away from the run
    [[nodiscard]] int Run(Interruption& interruption);

  private:
    /// @return false when a file cannot be used
    [[nodiscard]] bool OpenFiles();
    [[nodiscard]] int List(const CameraSearch::Cameras& found) const;
    void UpdateAll(const CameraSearch::Cameras& cameras, Report& report,
                   Interruption& interruption);

    const Options mOptions;
    CameraSearch mSearch;
    FirmwareChoice::Files mFiles;
};
