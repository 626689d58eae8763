#include "Report.h"

#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

#include <unistd.h>

#include <NxBase/PrintableText.h>

#include "OutcomeJson.h"
#include "OutcomeText.h"

Report::Report(const Options& options)
    : mOptions(options),
      mStart(std::chrono::steady_clock::now()),
      mProgress(!options.json && isatty(STDOUT_FILENO) == 1) {}

bool Report::OpenLog(const std::string& path) {
    mLog.open(path, std::ios::app);
    return mLog.is_open();
}

void Report::SetCameras(std::vector<Camera> cameras) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mCameras = std::move(cameras);
    mOutcomes.assign(mCameras.size(), Outcome());
    mIsFinished.assign(mCameras.size(), false);
    mStages.assign(mCameras.size(), "");
}

void Report::Stage(std::size_t camera, const std::string& stage) {
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mIsFinished[camera]) {
        return;
    }
    const std::string line = mCameras[camera].Name() + ": " + stage;
    mStages[camera] = stage;
    Log(line);
    if (mProgress.IsOn()) {
        mProgress.SetStage(camera, mCameras[camera].Name(), stage);
        mProgress.Draw();
    } else if (!mOptions.json && !mOptions.dryRun) {
        Print(line);
    }
}

void Report::Progress(std::size_t camera, long done, long total) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mProgress.SetBytes(camera, done, total);
}

void Report::Finished(std::size_t camera, const Outcome& outcome) {
    const std::lock_guard<std::mutex> lock(mMutex);
    FinishNow(camera, outcome);
}

void Report::FinishNow(std::size_t camera, const Outcome& outcome) {
    if (mIsFinished[camera]) {
        return;
    }
    mOutcomes[camera] = outcome;
    mIsFinished[camera] = true;
    mProgress.Remove(camera);
    const std::string line = OutcomeText(mCameras[camera], outcome, mOptions.dryRun);
    Log(line);
    if (mOptions.json) {
        std::cout << CameraJson(mCameras[camera], outcome) << std::endl;
    } else {
        Print(line, outcome.IsFailure());
    }
}

void Report::Note(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mMutex);
    Log(text);
    if (!mOptions.json) {
        Print(text);
    }
}

void Report::Notice(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mMutex);
    Log(text);
    Print(text, true);
}

void Report::Refresh() {
    const std::lock_guard<std::mutex> lock(mMutex);
    mProgress.Draw();
}

void Report::GiveUp() {
    const std::lock_guard<std::mutex> lock(mMutex);
    for (std::size_t camera = 0; camera < mCameras.size(); ++camera) {
        if (!mStages[camera].empty()) {
            Outcome outcome;
            outcome.kind = Outcome::Kind::kInterrupted;
            outcome.reason =
                "given up while " + mStages[camera] + "; run the same command again to repair it";
            FinishNow(camera, outcome);
        }
    }
}

int Report::Summarize() {
    constexpr int kAllRun = 0;
    constexpr int kSomeDoNot = 1;
    constexpr int kNothingToDo = 2;
    const std::lock_guard<std::mutex> lock(mMutex);
    for (std::size_t camera = 0; camera < mCameras.size(); ++camera) {
        FinishNow(camera, Outcome());
    }
    int status = kNothingToDo;
    for (const Outcome& outcome : mOutcomes) {
        if (outcome.IsFailure()) {
            status = kSomeDoNot;
            break;
        }
        if (outcome.kind != Outcome::Kind::kCurrent) {
            status = kAllRun;
        }
    }
    const std::string line = SummaryText(mOutcomes);
    Log(line);
    if (mOptions.json) {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mStart;
        std::cout << SummaryJson(mOutcomes, mOptions.dryRun, status, time) << std::endl;
    } else {
        Print(line);
    }
    return status;
}

void Report::Print(const std::string& line, bool isFailure) {
    mProgress.Clear();
    (isFailure ? std::cerr : std::cout) << line << std::endl;
    mProgress.Draw();
}

void Report::Log(const std::string& line) {
    if (mLog.is_open()) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        (void)localtime_r(&now, &local);
        mLog << std::put_time(&local, "%FT%T%z ") << line << std::endl;
    }
}
