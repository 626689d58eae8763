#pragma once

#include <chrono>
#include <memory>

#include "../firmware/FirmwareChoice.h"
#include "Outcome.h"

class CameraSearch;
class Report;
class Thread;

/// The update of one camera: asks it, chooses the file, writes, has the camera's status text
/// judged, resets, and waits until the camera runs the new version. Used from one thread; several
/// for different cameras may share files, search and report.
class CameraUpdate {
  public:
    struct Options {
        FirmwareChoice::Rules rules;
        bool dryRun = false;
        std::chrono::seconds wait{120};  ///< for a camera to be back after its reset
    };

    /// @param number of the camera in the report
    CameraUpdate(const Camera& camera, std::size_t number, const FirmwareChoice::Files& files,
                 CameraSearch& search, Report& report, const Options& options);
    ~CameraUpdate();
    CameraUpdate(const CameraUpdate&) = delete;
    CameraUpdate& operator=(const CameraUpdate&) = delete;

    [[nodiscard]] Outcome Run();

  private:
    using Kind = Outcome::Kind;

    void Say(const std::string& stage);
    void Finish(Kind kind, const std::string& reason);
    /// @return why it failed, one line; empty if the camera confirms it
    [[nodiscard]] std::string Write(const FirmwarePlan::Upload& upload);
    /// @return false when the outcome is decided
    [[nodiscard]] bool Reset();
    [[nodiscard]] bool ResetByCommand();
    void WaitForVersion();

    const Camera& mCamera;
    const std::size_t mNumber;
    const FirmwareChoice::Files& mFiles;
    CameraSearch& mSearch;
    Report& mReport;
    const Options mOptions;
    CameraProbe mProbe;
    std::unique_ptr<Thread> mWorker;  // of the last upload
    Outcome mOutcome;
};
