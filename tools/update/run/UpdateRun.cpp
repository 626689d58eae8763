#include "UpdateRun.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <utility>

#include <NxBase/PrintableText.h>

#include "../report/Report.h"
#include "Fleet.h"
#include "Interruption.h"

namespace {

constexpr int kNothingDone = 3;
constexpr std::chrono::milliseconds kTick(100);

}  // namespace

UpdateRun::UpdateRun(Options options) : mOptions(std::move(options)) {}

int UpdateRun::Run(Interruption& interruption) {
    if (!OpenFiles()) {
        return kNothingDone;
    }
    Report report({mOptions.json, mOptions.update.dryRun});
    if (!mOptions.logFile.empty() && !report.OpenLog(mOptions.logFile)) {
        std::cerr << "Cannot write to " << PrintableText(mOptions.logFile) << '\n';
        return kNothingDone;
    }
    for (const auto& file : mFiles) {
        if (!file->Signers().empty()) {
            report.Note(PrintableText(file->Name() + ": signed by " + file->Signers(),
                                      FirmwareContent::kLongestMessage));
        }
    }
    CameraSearch::Cameras found;
    if (const NxResult result = mSearch.FindAll(found); !result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return kNothingDone;
    }
    if (mOptions.selection.IsEmpty()) {
        return List(mOptions.selection.Reachable(found));
    }
    std::vector<std::string> problems;
    const CameraSearch::Cameras cameras = mOptions.selection.Choose(found, problems);
    for (const std::string& problem : problems) {
        std::cerr << problem << '\n';
    }
    if (!problems.empty()) {
        std::cerr << "Nothing was written\n";
        return kNothingDone;
    }
    if (interruption.IsPending()) {
        return kNothingDone;
    }
    report.SetCameras(cameras);
    UpdateAll(cameras, report, interruption);
    return report.Summarize();
}

bool UpdateRun::OpenFiles() {
    for (const std::string& path : mOptions.files) {
        std::string problem;
        mFiles.push_back(FirmwareFile::Open(path, mOptions.authorities, problem));
        if (!problem.empty()) {
            std::cerr << problem << '\n';
            return false;
        }
    }
    return true;
}

int UpdateRun::List(const CameraSearch::Cameras& found) const {
    if (!mOptions.json) {
        for (const Camera& camera : found) {
            std::cout << camera.Name() << ": runs " << PrintableText(camera.version) << '\n';
        }
        std::cout << std::flush;
    }
    std::cerr << "Nothing was written: name cameras (--serial, --mac, --address, --user-name, "
                 "--model), or select all (--all, "
              << found.size() << " found)\n";
    return kNothingDone;
}

void UpdateRun::UpdateAll(const CameraSearch::Cameras& cameras, Report& report,
                          Interruption& interruption) {
    std::vector<std::string> interfaces;
    for (const Camera& camera : cameras) {
        interfaces.push_back(camera.interface);
    }
    Fleet fleet(interfaces, mOptions.jobs, [&](std::size_t number) {
        CameraUpdate update(cameras[number], number, mFiles, mSearch, report, mOptions.update);
        report.Finished(number, update.Run());
    });
    while (!fleet.IsDone()) {
        if (interruption.WaitFor(kTick)) {
            if (interruption.Count() > 1) {
                report.GiveUp();
                // The threads cannot be ended otherwise.
                std::_Exit(report.Summarize());
            }
            fleet.Stop();
            report.Notice(
                "Interrupted: ends when the cameras that are being updated are done; "
                "interrupt again to give them up");
        }
        report.Refresh();
    }
}
