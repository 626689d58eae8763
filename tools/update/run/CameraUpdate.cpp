#include "CameraUpdate.h"

#include <algorithm>
#include <thread>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "../cameras/CameraSearch.h"
#include "../report/Report.h"
#include "ThreadGenICam.h"
#include "ThreadTftp.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPoll(50);
constexpr std::chrono::milliseconds kPauseBetweenSearches(500);
// Cameras that wait for their turn may be given other addresses meanwhile.
constexpr std::chrono::seconds kAddressLifetime(10);

}  // namespace

CameraUpdate::CameraUpdate(const Camera& camera, std::size_t number,
                           const FirmwareChoice::Files& files, CameraSearch& search, Report& report,
                           const Options& options)
    : mCamera(camera),
      mNumber(number),
      mFiles(files),
      mSearch(search),
      mReport(report),
      mOptions(options) {}

CameraUpdate::~CameraUpdate() = default;

Outcome CameraUpdate::Run() {
    const auto start = Clock::now();
    Say("asking");
    const auto recent = mSearch.FoundSince(start - kAddressLifetime);
    if (const std::string problem = mCamera.Displacement(*recent); !problem.empty()) {
        Finish(Kind::kRefused, problem + "; run the same command again");
        return mOutcome;
    }
    mProbe = CameraProbe::Ask(mCamera);
    const FirmwareChoice choice = FirmwareChoice::Make(mCamera, mProbe, mFiles, mOptions.rules);
    mOutcome.transport = mProbe.refusal.empty() ? mProbe.TransportName() : "";
    mOutcome.storedVersion = mProbe.storedVersion;
    mOutcome.file = choice.plan.file;
    mOutcome.fileVersion = choice.plan.version;
    mOutcome.runningVersion = mCamera.version;
    if (choice.action == FirmwareChoice::Action::kNothing) {
        Finish(Kind::kCurrent, choice.reason);
    } else if (choice.action == FirmwareChoice::Action::kRefuse) {
        Finish(Kind::kRefused, choice.reason);
    } else if (mOptions.dryRun) {
        Finish(Kind::kNeeded, "");
    } else {
        std::string failure;
        mOutcome.runningVersion = "";
        for (const FirmwarePlan::Upload& upload : choice.plan.uploads) {
            failure = Write(upload);
            if (!failure.empty()) {
                break;
            }
        }
        if (!failure.empty()) {
            Finish(Kind::kFailed, failure);
        } else if (Reset()) {
            WaitForVersion();
        }
    }
    mWorker.reset();
    mOutcome.time = Clock::now() - start;
    return mOutcome;
}

void CameraUpdate::Say(const std::string& stage) {
    mReport.Stage(mNumber, stage);
}

void CameraUpdate::Finish(Kind kind, const std::string& reason) {
    mOutcome.kind = kind;
    mOutcome.reason = PrintableText(reason, std::string::npos);
}

std::string CameraUpdate::Write(const FirmwarePlan::Upload& upload) {
    const bool byTftp = upload.transport == FirmwarePlan::Transport::kTftp ||
                        (upload.transport == FirmwarePlan::Transport::kAny &&
                         mProbe.transport == CameraProbe::Transport::kTftp);
    mWorker.reset();
    if (byTftp) {
        mWorker = std::make_unique<ThreadTftp>(mCamera.connectionId, upload.path);
    } else {
        mWorker = std::make_unique<ThreadGenICam>(mCamera.connectionId, upload.path);
    }
    Say("writing " + mOutcome.fileVersion + " by " + (byTftp ? "TFTP" : "GenICam file access"));
    mWorker->Start();
    while (!mWorker->IsComplete()) {
        std::this_thread::sleep_for(kPoll);
        long done = 0;
        long total = 0;
        mWorker->GetRawProgress(done, total);
        mReport.Progress(mNumber, done, total);
    }
    if (!mWorker->mResult.IsOK()) {
        return mWorker->mResult.GetDescription().GetAscii();
    }
    Say("validating");
    const NxResult valid = mWorker->Validate();
    if (valid.GetCode() == kNxStatusNotSuccess) {
        return std::string("its status is \"") + PrintableText(mWorker->mStatus.GetAscii()) + "\"";
    }
    return valid.IsOK() ? "" : valid.GetDescription().GetAscii();
}

bool CameraUpdate::Reset() {
    Say("resetting");
    if (!mWorker->SupportsReset()) {
        return ResetByCommand();
    }
    const NxResult result = mWorker->Reset();
    mWorker.reset();
    if (!result.IsOK()) {
        Finish(Kind::kStored,
               std::string("runs it after its next power cycle; the reset failed: ") +
                   result.GetDescription().GetAscii());
    }
    return result.IsOK();
}

bool CameraUpdate::ResetByCommand() {
    mWorker.reset();
    NxResult result;
    NxDevice* const device = NxDevice::CreateAndConnect(mCamera.connectionId, &result);
    bool isSent = false;
    if (device != nullptr) {
        result = device->GetParameters()->ExecuteCommand("DeviceReset");
        // A camera may restart before it acknowledges the command.
        isSent = result.IsOK() || result.GetCode() == kNxTimeout ||
                 result.GetCode() == kNxDeviceGone || result.GetCode() == kNxControlLost;
        NxDevice::Free(device);
    }
    if (!isSent) {
        Finish(Kind::kStored,
               std::string("runs it after its next power cycle; it cannot be reset: ") +
                   result.GetDescription().GetAscii());
    }
    return isSent;
}

void CameraUpdate::WaitForVersion() {
    Say("waiting until it is back");
    const auto end = Clock::now() + mOptions.wait;
    bool isFirst = true;
    while (isFirst || Clock::now() < end) {
        if (!isFirst) {
            std::this_thread::sleep_for(kPauseBetweenSearches);
        }
        isFirst = false;
        const auto cameras = mSearch.FoundSince(Clock::now());
        const auto found = std::ranges::find_if(
            *cameras, [this](const Camera& other) { return mCamera.IsSameAs(other); });
        if (found == cameras->end()) {
            mOutcome.runningVersion = "";
            continue;
        }
        // Another version may be a boot loader's, or still the old firmware's before the restart.
        mOutcome.runningVersion = found->version;
        if (found->version == mOutcome.fileVersion) {
            Finish(Kind::kUpdated, "");
            return;
        }
    }
    const std::string time = std::to_string(mOptions.wait.count()) + " s after its reset";
    Finish(Kind::kFailed,
           mOutcome.runningVersion.empty()
               ? "written and reset, but not back " + time
               : "written and reset, but runs " + mOutcome.runningVersion + " " + time);
}
