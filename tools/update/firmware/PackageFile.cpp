#include "PackageFile.h"

#include <utility>

#include <NxBase/PrintableText.h>
#include <NxDevice/NxDfwPayload.h>

PackageFile::PackageFile(FirmwareContent content)
    : FirmwareFile(std::move(content)), mReader("", Content().Path()) {}

std::string PackageFile::Check() {
    const std::string name = PrintableText(Name());
    const std::string manifest = mReader.ExtractFile("Manifest.xml");
    if (manifest.empty()) {
        return name + ": not a package with a Manifest.xml that can be read";
    }
    const std::string problem = mProbe.Read(NxFwFileReader("", manifest).GetFileContent());
    return problem.empty() ? "" : name + ": " + problem;
}

FirmwareFile::Answer PackageFile::For(const FirmwareTarget& target) {
    const std::lock_guard<std::mutex> lock(mMutex);
    Answer answer;
    answer.reason = mProbe.Run(target.model);
    if (!answer.reason.empty()) {
        answer.reason = PrintableText(Name()) + ": " + answer.reason;
        return answer;
    }
    answer.plan.file = Name();
    for (const ManifestProbe::Upload& upload : mProbe.Uploads()) {
        const Member& member = Unpack(upload.fileName);
        if (!member.problem.empty()) {
            answer.reason = member.problem;
            return answer;
        }
        const auto transport = upload.transport == "TFTP" ? FirmwarePlan::Transport::kTftp
                                                          : FirmwarePlan::Transport::kFileAccess;
        answer.plan.uploads.push_back({member.path, transport});
        answer.plan.version = member.version;
    }
    if (!mProbe.Version().empty()) {
        answer.plan.version = mProbe.Version();
    }
    answer.fit = Fit::kYes;
    return answer;
}

const PackageFile::Member& PackageFile::Unpack(const std::string& name) {
    const auto [entry, isNew] = mMembers.try_emplace(name);
    Member& member = entry->second;
    if (!isNew) {
        return member;
    }
    member.path = mReader.ExtractFile(name);
    const std::string what = PrintableText(Name()) + ", " + PrintableText(name) + ": ";
    if (member.path.empty()) {
        member.problem = what + "missing, or cannot be unpacked";
        return member;
    }
    NxDfwHeader header;
    const NxResult result = NxDfwPayload::Verify(member.path, header);
    if (!result.IsOK()) {
        member.problem = what + result.GetDescription().GetAscii();
    } else if (header.kind != NxDfwHeader::Kind::kFirmware) {
        member.problem = what + "not firmware, but a record that sets an ID or resets";
    }
    member.version = std::to_string(header.major) + "." + std::to_string(header.minor);
    return member;
}
