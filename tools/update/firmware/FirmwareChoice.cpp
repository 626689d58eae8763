#include "FirmwareChoice.h"

#include <optional>
#include <utility>

#include <NxBase/PrintableText.h>

#include "../../package/commands/FirmwareVersion.h"

namespace {

using Answers = std::vector<FirmwareFile::Answer>;

Answers Fitting(const Answers& answers, FirmwareFile::Fit fit) {
    Answers found;
    for (const FirmwareFile::Answer& answer : answers) {
        if (answer.fit == fit) {
            found.push_back(answer);
        }
    }
    return found;
}

std::string Names(const Answers& answers) {
    std::string names;
    for (const FirmwareFile::Answer& answer : answers) {
        names += (names.empty() ? "" : ", ") + PrintableText(answer.plan.file);
    }
    return names;
}

std::string Reasons(const Answers& answers) {
    std::string reasons;
    for (const FirmwareFile::Answer& answer : answers) {
        reasons += (reasons.empty() ? "" : "; ") + answer.reason;
    }
    return reasons;
}

/// @return the plan, or why there is none
std::optional<FirmwarePlan> PlanFor(const FirmwareTarget& target,
                                    const FirmwareChoice::Files& files, std::string& reason) {
    Answers answers;
    for (const std::unique_ptr<FirmwareFile>& file : files) {
        answers.push_back(file->For(target));
    }
    Answers fitting = Fitting(answers, FirmwareFile::Fit::kYes);
    if (fitting.size() > 1) {
        reason = "several files fit: " + Names(fitting);
        return std::nullopt;
    }
    if (fitting.empty()) {
        fitting = Fitting(answers, FirmwareFile::Fit::kPossible);
    }
    if (fitting.size() > 1) {
        reason = "nothing tells which file fits: " + Names(fitting) + "; name one";
        return std::nullopt;
    }
    if (fitting.empty()) {
        reason = Reasons(answers);
        return std::nullopt;
    }
    return fitting.front().plan;
}

// Empty where the camera can take the plan.
std::string TransportProblem(const FirmwarePlan& plan, const Camera& camera,
                             const CameraProbe& probe) {
    for (const FirmwarePlan::Upload& upload : plan.uploads) {
        if (upload.transport == FirmwarePlan::Transport::kFileAccess &&
            probe.transport != CameraProbe::Transport::kFileAccess) {
            return "the package uploads by GenICam file access: " + probe.whyNoFileAccess;
        }
        if (upload.transport == FirmwarePlan::Transport::kTftp && camera.isUsb) {
            return "the package uploads by TFTP, which a USB3 Vision camera does not have";
        }
    }
    return "";
}

}  // namespace

FirmwareChoice FirmwareChoice::Make(const Camera& camera, const CameraProbe& probe,
                                    const Files& files, const Rules& rules) {
    FirmwareChoice choice;
    const FirmwareTarget target{camera.model, probe.family};
    std::optional<FirmwarePlan> plan = PlanFor(target, files, choice.reason);
    if (!plan) {
        choice.reason = probe.refusal.empty() ? choice.reason : probe.refusal;
        return choice;
    }
    choice.plan = std::move(*plan);
    if (camera.version == choice.plan.version && !rules.force) {
        choice.action = Action::kNothing;
        choice.reason = "runs " + choice.plan.version + " already";
        return choice;
    }
    choice.reason = probe.refusal;
    if (choice.reason.empty()) {
        choice.reason = TransportProblem(choice.plan, camera, probe);
    }
    const std::optional<FirmwareVersion> running = FirmwareVersion::Parse(camera.version);
    const std::optional<FirmwareVersion> wanted = FirmwareVersion::Parse(choice.plan.version);
    if (choice.reason.empty() && running && wanted && !rules.allowDowngrade &&
        std::pair(wanted->major, wanted->minor) < std::pair(running->major, running->minor)) {
        choice.reason = choice.plan.version + " is lower than the version that it runs, " +
                        camera.version + " (--allow-downgrade)";
    }
    choice.action = choice.reason.empty() ? Action::kUpdate : Action::kRefuse;
    return choice;
}
