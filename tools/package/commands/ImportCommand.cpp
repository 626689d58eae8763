#include "ImportCommand.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include <NxBase/Ascii.h>
#include <NxBase/PrintableText.h>
#include <NxGenICam/GenFUParser.h>

#include "../check/UpdaterLimits.h"
#include "../model/ManifestText.h"
#include "../signature/PackageSignature.h"

namespace {

constexpr const char* kControlFile = "Control.xml";
constexpr std::size_t kLongestName = 128;

/// The last part of a path, as a manifest can name it: printable ASCII, without ".." and without a
/// dot in front.
std::string FileName(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
    std::replace_if(
        name.begin(), name.end(), [](char byte) { return !Ascii::IsPrintable(byte); }, '_');
    if (!name.empty() && name.front() == '.') {
        name.front() = '_';
    }
    for (std::size_t at = 0; (at = name.find("..", at)) != std::string::npos; ++at) {
        name[at] = '_';
    }
    // The end stays: it says what kind of file it is.
    return name.size() <= kLongestName ? name : name.substr(name.size() - kLongestName);
}

}  // namespace

CLI::App* ImportCommand::Declare(CLI::App& program) {
    CLI::App* const options = program.add_subcommand(
        "import", "Create a package from a GenICam update file (GenICam FWUpdate 1.0)");
    options
        ->add_option("--transport", mOptions.transport,
                     "Transport for the uploads, which an update file does not\nspecify: GenICam "
                     "(the default) or TFTP")
        ->option_text("TRANSPORT")
        ->check(CLI::IsMember({"GenICam", "TFTP"}));
    options
        ->add_option(
            "--language", mOptions.language,
            "Preferred language of texts, e.g. de. English (en) is used\nby default and for "
            "texts missing in that language")
        ->option_text("LANGUAGE");
    options->add_flag("--drop-reset", mDropReset,
                      "Omit trailing resets, which the updater rejects");
    options
        ->add_option(
            "--ca", mAuthorities,
            "Import only if signed by a certificate in this PEM file, or\nby one issued under it")
        ->option_text("FILE")
        ->check(CLI::ExistingFile);
    options->add_flag("--ignore-signature", mIgnoreSignature, "Import regardless of the signature");
    AddArgument(*options, "UPDATE", mUpdatePath, "The \".guf\" file");
    AddPackage(*options, mPackage);
    return options;
}

int ImportCommand::Run() {
    const std::string error = Import();
    if (!error.empty()) {
        return Fail(error);
    }
    if (!mSigners.empty()) {
        std::cout << mUpdatePath << ": signed by " << PrintableText(mSigners, kLongestLine) << '\n';
    }
    std::cout << mPackage << ": " << mTaken.size() + 1 << " members\n";
    return kDone;
}

std::string ImportCommand::Import() {
    std::error_code missing;
    if (std::filesystem::equivalent(mUpdatePath, mPackage, missing)) {
        return mPackage + " is the update file itself";
    }
    std::string error = mUpdate.Open(mUpdatePath);
    if (!error.empty()) {
        return mUpdatePath + ": " + error;
    }
    PackageModel model;
    error = CheckSignature();
    error = error.empty() ? ReadControlFile(model) : error;
    error = error.empty() ? TakeFiles(model) : error;
    if (!error.empty()) {
        return error;
    }
    const std::string manifest = ManifestText(model);
    const NyUtilsLib::Result result = NxGenICamLib::GenFUParser(nullptr).Build(manifest);
    if (result.GetCode() != 0) {
        return std::string("the control file does not make a valid manifest: ") +
               result.GetMessage();
    }
    NoteUnusedFiles();
    mWriter.AddText("Manifest.xml", manifest);
    return mWriter.Write(mPackage);
}

std::string ImportCommand::CheckSignature() {
    if (!mUpdate.Signature()) {
        const std::string problem = mUpdatePath + ": not signed";
        if (!mAuthorities.empty()) {
            return Refuse(problem);
        }
        Note(problem);
        return "";
    }
    PackageSignature signature(mAuthorities);
    switch (signature.Verify(*mUpdate.Signature(), mUpdate.PackagePath())) {
        case PackageSignature::Verdict::kTrusted:
            mSigners = signature.Signers();
            return "";
        case PackageSignature::Verdict::kUntrusted: {
            const std::string problem =
                mUpdatePath + ": signed by " + signature.Signers() +
                ", whose certificate cannot be verified: " + signature.Reason();
            if (!mAuthorities.empty()) {
                return Refuse(problem);
            }
            Note(problem);
            return "";
        }
        default:
            return Refuse(mUpdatePath + ": invalid signature: " + signature.Reason());
    }
}

std::string ImportCommand::Refuse(const std::string& problem) const {
    if (!mIgnoreSignature) {
        return problem + " (use --ignore-signature to import it anyway)";
    }
    Note(problem);
    return "";
}

std::string ImportCommand::ReadControlFile(PackageModel& model) {
    constexpr std::size_t kLongest = std::size_t{1} << 20U;
    std::size_t member = 0;
    std::string error = mUpdate.Find(kControlFile, member);
    if (!error.empty()) {
        return mUpdatePath + ": " + error;
    }
    std::string text;
    ControlFile control(mOptions);
    error = mUpdate.Package().ReadText(member, kLongest, text);
    error = error.empty() ? control.Read(text) : error;
    if (!error.empty()) {
        return std::string(kControlFile) + ": " + error;
    }
    model = control.GetModel();
    std::vector<std::string> notes = control.Warnings();
    if (mDropReset) {
        const std::vector<std::string> dropped = DropFinalResets(model);
        notes.insert(notes.end(), dropped.begin(), dropped.end());
    }
    const std::vector<std::string> limits = UpdaterLimits(model);
    notes.insert(notes.end(), limits.begin(), limits.end());
    PackageModel without = model;
    if (!DropFinalResets(without).empty()) {
        notes.emplace_back("use --drop-reset to omit the trailing resets");
    }
    for (const std::string& note : notes) {
        Note(std::string(kControlFile) + ": " + note);
    }
    return "";
}

std::string ImportCommand::TakeFiles(PackageModel& model) {
    for (PackageProcedure& procedure : model.procedures) {
        for (PackageStep& step : procedure.steps) {
            if (step.kind != PackageStep::Kind::kFileUpload) {
                continue;
            }
            const std::string error =
                TakeFile(UpdateFile::NormalPath(step.fileName), step.fileName);
            if (!error.empty()) {
                return error;
            }
        }
    }
    return "";
}

std::string ImportCommand::TakeFile(const std::string& path, std::string& name) {
    const auto taken = mTaken.find(path);
    if (taken != mTaken.end()) {
        name = taken->second;
        return "";
    }
    std::size_t member = 0;
    std::string error = mUpdate.Find(path, member);
    if (!error.empty()) {
        return mUpdatePath + ": " + error;
    }
    const auto isTaken = [this](const std::string& wanted) {
        return wanted == "Manifest.xml" ||
               std::any_of(mTaken.begin(), mTaken.end(),
                           [&wanted](const auto& entry) { return entry.second == wanted; });
    };
    name = FileName(path);
    if (isTaken(name)) {
        std::string whole = path;
        std::replace(whole.begin(), whole.end(), '/', '_');
        name = FileName(whole);
    }
    if (isTaken(name)) {
        return "two files would be named \"" + name + "\"";
    }
    mCopies.emplace_back();
    const std::string& copy = mCopies.back().Path();
    error = copy.empty() ? "cannot create a temporary file" : mUpdate.Extract(member, copy);
    if (!error.empty()) {
        return path + ": " + error;
    }
    mTaken[path] = name;
    mWriter.AddFile(name, copy);
    return "";
}

void ImportCommand::NoteUnusedFiles() const {
    constexpr std::size_t kMostNames = 10;
    std::vector<std::string> unused = mUpdate.Unused();
    for (const Archive::Member& member : mUpdate.Package().Members()) {
        const std::string path = UpdateFile::NormalPath(member.name);
        if (!member.isFolder && path != kControlFile && mTaken.count(path) == 0) {
            unused.push_back(member.name);
        }
    }
    std::string names;
    for (std::size_t index = 0; index < std::min(unused.size(), kMostNames); ++index) {
        names += (index == 0 ? "" : ", ") + unused[index];
    }
    if (unused.size() > kMostNames) {
        names += " and " + std::to_string(unused.size() - kMostNames) + " more";
    }
    if (!unused.empty()) {
        Note("files not used by any step are omitted: " + names);
    }
}
