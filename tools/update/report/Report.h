#pragma once

#include <chrono>
#include <cstddef>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "../cameras/Camera.h"
#include "../run/Outcome.h"
#include "ProgressLines.h"

/// Everything that a run prints. A line for each stage of each camera; on a terminal, progress
/// lines in place of these; with JSON, nothing but one object per camera and the summary. Any
/// thread.
class Report {
  public:
    struct Options {
        bool json = false;
        bool dryRun = false;
    };

    explicit Report(const Options& options);

    /// Also appends every line, with the time, to a file. @return false if it cannot be opened
    [[nodiscard]] bool OpenLog(const std::string& path);
    void SetCameras(std::vector<Camera> cameras);

    void Stage(std::size_t camera, const std::string& stage);
    void Progress(std::size_t camera, long done, long total);
    /// Once for each camera.
    void Finished(std::size_t camera, const Outcome& outcome);
    /// A line about the run as a whole; with JSON, only in the log.
    void Note(const std::string& text);
    /// To the person at the terminal, on standard error.
    void Notice(const std::string& text);
    /// Draws the progress lines again; to be called several times a second.
    void Refresh();

    /// Reports each camera that is being updated as interrupted, with the stage that it was in.
    /// What its thread reports later is dropped.
    void GiveUp();
    /// Reports each camera that is left as not started. Ends the report. @return the exit status: 0
    /// every camera runs the firmware, 1 at least one
    ///         does not, 2 all ran it before
    int Summarize();

  private:
    void Print(const std::string& line, bool isFailure = false);
    void Log(const std::string& line);
    void FinishNow(std::size_t camera, const Outcome& outcome);

    const Options mOptions;
    const std::chrono::steady_clock::time_point mStart;
    std::mutex mMutex;  // guards what is below
    std::ofstream mLog;
    std::vector<Camera> mCameras;
    std::vector<Outcome> mOutcomes;
    std::vector<bool> mIsFinished;
    std::vector<std::string> mStages;  // empty before the first
    ProgressLines mProgress;
};
