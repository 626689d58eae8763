#include "PackageCheck.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "../archive/MemberHeader.h"
#include "../archive/TemporaryFile.h"
#include "ModelLength.h"
#include "ModelProbe.h"
#include "ModelTags.h"
#include "PayloadCheck.h"
#include "UpdaterLimits.h"

namespace {

using Kind = PackageStep::Kind;

bool Holds(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string UploadedToOthers(const ModelTag& tag, const std::string& model) {
    return ": named for " + tag.models.front() +
           (tag.models.size() > 1 ? " and similar models" : "") +
           ", but the manifest also uploads it to " + model;
}

std::string NotUploadedTo(const std::string& model) {
    return ": named for " + model + ", but the manifest does not upload it to that model";
}

}  // namespace

PackageCheck::PackageCheck(const Package& package) : mPackage(package) {}

std::vector<Finding> PackageCheck::Run() {
    mFindings.clear();
    CheckManifestMember();
    const PackageModel& model = mPackage.GetModel();
    for (const PackageProcedure& procedure : model.procedures) {
        CheckProcedure(procedure);
    }
    std::size_t number = 0;
    for (const PackageUpdate& update : model.updates) {
        CheckUpdate(update, ++number);
    }
    for (const std::string& limit : UpdaterLimits(model)) {
        Warn(WarningName::kUpdaterLimit, limit);
    }
    for (const std::string& name : model.FileNames()) {
        CheckFile(name);
        CheckModelTag(name);
    }
    return mFindings;
}

void PackageCheck::CheckManifestMember() {
    const std::string& name = mPackage.GetArchive().Members()[mPackage.ManifestMember()].name;
    if (name != "Manifest.xml") {
        Warn(WarningName::kManifestMember,
             "the updater uses the member " + Quoted(name) +
                 " as the manifest, because it is the first whose name contains \"Manifest.xml\"");
    }
    if (mPackage.ManifestIsCut()) {
        Warn(WarningName::kManifestCut,
             "Manifest.xml contains a zero byte; the updater reads only up to it");
    }
}

void PackageCheck::CheckProcedure(const PackageProcedure& procedure) {
    const auto& updates = mPackage.GetModel().updates;
    if (std::none_of(updates.begin(), updates.end(), [&procedure](const PackageUpdate& update) {
            return update.procedureId == procedure.id;
        })) {
        Warn(WarningName::kUnusedProcedure,
             "procedure " + Quoted(procedure.id) + ": not used by any update");
    }
    std::size_t number = 0;
    bool resetBefore = false;
    for (const PackageStep& step : procedure.steps) {
        const std::string place = PlaceOfStep(procedure, ++number, step.kind);
        if (step.kind == Kind::kFileUpload) {
            if (resetBefore) {
                Warn(WarningName::kReset, place +
                                              "after the preceding TFTP upload the updater resets "
                                              "the device (unless given "
                                              "--noreset), and it may still be restarting");
            }
            resetBefore = step.transport == "TFTP";
            if (step.transport != "TFTP" && step.transport != "GenICam") {
                Warn(WarningName::kTransport, place + "the updater treats the transport " +
                                                  Quoted(step.transport) +
                                                  " as GenICam file access");
            }
        }
    }
}

void PackageCheck::CheckUpdate(const PackageUpdate& update, std::size_t number) {
    const std::string place = "update " + std::to_string(number) + ": ";
    for (const PackageCondition& condition : update.conditions) {
        for (const std::string& model : ExactNames(condition.pattern)) {
            const std::string problem = ModelLengthProblem(model);
            if (condition.featureName == "DeviceModelName" && !problem.empty()) {
                Warn(WarningName::kModelLength, place + problem);
            }
        }
    }
    for (const char* const expected : {"Description", "Version"}) {
        if (std::none_of(update.infos.begin(), update.infos.end(),
                         [expected](const PackageInfo& info) { return info.name == expected; })) {
            Warn(WarningName::kMissingInfo, place + "the info \"" + expected + "\" is missing");
        }
    }
}

void PackageCheck::CheckFile(const std::string& name) {
    const Archive& archive = mPackage.GetArchive();
    const auto member = archive.FindAsUpdater(name);
    if (!member) {
        Error(name + ": not in the package");
        return;
    }
    const std::string& stored = archive.Members()[*member].name;
    const bool exactElsewhere =
        stored != name &&
        std::any_of(archive.Members().begin(), archive.Members().end(),
                    [&name](const Archive::Member& one) { return one.name == name; });
    if (exactElsewhere) {
        Error(name + ": the updater uses the member " + Quoted(stored) +
              " for it, because that is the first whose name contains " + Quoted(name));
    } else if (stored != name) {
        Warn(WarningName::kMemberName,
             name + ": the updater uses the member " + Quoted(stored) + " for it");
    }
    CheckMember(*member);
}

void PackageCheck::CheckMember(std::size_t member) {
    const Archive& archive = mPackage.GetArchive();
    const Archive::Member& stored = archive.Members()[member];
    const auto header =
        stored.size < NxDfwHeader::kSize ? std::nullopt : ReadMemberHeader(archive, member);
    if (header && header->bodyLength + NxDfwHeader::kSize != stored.size) {
        Error(stored.name + " is not a firmware payload: its body has " +
              std::to_string(stored.size - NxDfwHeader::kSize) + " bytes, but its header says " +
              std::to_string(header->bodyLength));
        return;
    }
    // What is not a payload is read for its checksum only: it may unpack to more than the disk
    // holds.
    std::string head;
    const TemporaryFile copy;
    std::string error =
        header ? archive.Extract(member, copy.Path())
               : archive.Read(member, [&head](const char* bytes, std::size_t count) {
                     head.append(bytes,
                                 std::min<std::size_t>(count, NxDfwHeader::kSize - head.size()));
                     return std::string();
                 });
    if (!header && error.empty()) {
        std::ofstream file(copy.Path(), std::ios::binary);
        file.write(head.data(), static_cast<std::streamsize>(head.size()));
        error = file.flush() ? "" : "cannot write a temporary file";
    }
    if (!error.empty()) {
        Error(stored.name + ": " + error);
        return;
    }
    const std::vector<Finding> findings = CheckPayload(copy.Path(), stored.name);
    mFindings.insert(mFindings.end(), findings.begin(), findings.end());
}

void PackageCheck::CheckModelTag(const std::string& fileName) {
    // A name that no maker gives a device: an update that takes it takes any model.
    static const std::string kAnyModel = "?";
    for (const ModelTag& tag : ModelTagsOf(fileName)) {
        std::vector<std::string> probed = {kAnyModel};
        for (const ModelTag& other : AllModelTags()) {
            probed.insert(probed.end(), other.models.begin(), other.models.end());
        }
        for (const std::string& model : probed) {
            ModelProbe probe(model);
            (void)probe.Run(mPackage.ManifestText());
            const bool uploaded = Holds(probe.Uploads(), fileName);
            const bool meant = Holds(tag.models, model);
            if (uploaded && !meant) {
                // The updater itself looks at the names of plain payloads only.
                Warn(WarningName::kModelTag,
                     fileName + UploadedToOthers(tag, model == kAnyModel ? "any model" : model));
            } else if (meant && !uploaded) {
                Warn(WarningName::kModelTag, fileName + NotUploadedTo(model));
            }
        }
    }
}

void PackageCheck::Error(const std::string& text) {
    mFindings.push_back(ErrorFinding(text));
}

void PackageCheck::Warn(std::string_view name, const std::string& text) {
    mFindings.push_back(WarningFinding(name, text));
}
