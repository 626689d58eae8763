#include "CreateCommand.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include <NxGenICam/GenFUParser.h>

#include "../archive/ArchiveWriter.h"
#include "../check/ModelLength.h"
#include "../check/PayloadCheck.h"
#include "../check/UpdaterLimits.h"
#include "../model/ExactPattern.h"
#include "../model/ManifestText.h"
#include "../model/PackageModelBuilder.h"

namespace {

bool IsTransport(const std::string& word) {
    return word == "TFTP" || word == "GenICam";
}

std::string UnknownTransport(const std::string& word) {
    return "unknown transport \"" + word + "\"; expected TFTP or GenICam";
}

std::string CheckUploadOption(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        return "expected TRANSPORT=FILE, e.g. TFTP=camera.dfw, not \"" + text + "\"";
    }
    const std::string transport = text.substr(0, equals);
    return IsTransport(transport) ? "" : UnknownTransport(transport);
}

bool IsFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

bool IsSameFile(const std::string& one, const std::string& two) {
    std::error_code error;
    return std::filesystem::equivalent(one, two, error);
}

}  // namespace

CLI::App* CreateCommand::Declare(CLI::App& program) {
    CLI::App* const options = program.add_subcommand(
        "create", "Create a package from a manifest, or from --model and --upload");
    CLI::Option* const manifest =
        options->add_option("--manifest", mManifest,
                            "Manifest to use instead of the options below; the files it\nnames are "
                            "taken from its folder");
    manifest->option_text("FILE");
    options->add_option("--model", mModels, "Model that the package is for; may be repeated")
        ->option_text("NAME")
        ->allow_extra_args(false)
        ->excludes(manifest);
    options
        ->add_option("--upload", mUploads,
                     "File to upload and its transport, TFTP or GenICam; may be\nrepeated; files "
                     "are uploaded in this order")
        ->option_text("TRANSPORT=FILE")
        ->allow_extra_args(false)
        ->excludes(manifest)
        ->check(CheckUploadOption);
    options->add_option("--description", mDescription, "Description of the update")
        ->option_text("TEXT")
        ->excludes(manifest);
    options->add_option("--version", mVersion, "Version that the update installs")
        ->option_text("TEXT")
        ->excludes(manifest);
    AddPackage(*options, mPackage);
    options->callback([this] {
        if (mManifest.empty() && (mModels.empty() || mUploads.empty())) {
            throw CLI::ValidationError("create",
                                       "give --manifest, or at least one --model and one --upload");
        }
    });
    return options;
}

int CreateCommand::Run() {
    return mManifest.empty() ? CreateFromOptions() : CreateFromManifest();
}

int CreateCommand::CreateFromManifest() {
    std::ifstream file(mManifest, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file || !IsFile(mManifest)) {
        return Fail(mManifest + ": cannot be read");
    }
    PackageModelBuilder builder;
    const NyUtilsLib::Result result = NxGenICamLib::GenFUParser(&builder).Build(text);
    if (result.GetCode() != 0) {
        return Fail(result.GetMessage());
    }
    for (const PackageProcedure& procedure : builder.GetModel().procedures) {
        std::size_t number = 0;
        for (const PackageStep& step : procedure.steps) {
            ++number;
            if (step.kind == PackageStep::Kind::kFileUpload && !IsTransport(step.transport)) {
                return Fail(PlaceOfStep(procedure, number, step.kind) +
                            UnknownTransport(step.transport));
            }
        }
    }
    const std::filesystem::path folder = std::filesystem::path(mManifest).parent_path();
    Files files;
    for (const std::string& name : builder.GetModel().FileNames()) {
        files[name] = (folder / name).string();
    }
    return Write(text, files);
}

int CreateCommand::CreateFromOptions() {
    Files files;
    PackageProcedure procedure{"update", {}};
    for (const std::string& upload : mUploads) {
        const std::size_t equals = upload.find('=');
        const std::string path = upload.substr(equals + 1);
        PackageStep step{PackageStep::Kind::kFileUpload};
        step.fileName = std::filesystem::path(path).filename().string();
        step.transport = upload.substr(0, equals);
        const auto [place, added] = files.emplace(step.fileName, path);
        if (!added && !IsSameFile(place->second, path)) {
            return Fail("two files are named \"" + step.fileName + "\"");
        }
        procedure.steps.push_back(step);
    }
    for (const std::string& model : mModels) {
        if (const std::string problem = ModelLengthProblem(model); !problem.empty()) {
            Note(problem);
        }
    }
    PackageUpdate update{procedure.id, {}, {{"DeviceModelName", ExactPattern(mModels)}}};
    if (!mDescription.empty()) {
        update.infos.push_back({"Description", mDescription});
    }
    if (!mVersion.empty()) {
        update.infos.push_back({"Version", mVersion});
    }
    const std::string text = ManifestText({{procedure}, {update}});
    const NyUtilsLib::Result result = NxGenICamLib::GenFUParser(nullptr).Build(text);
    if (result.GetCode() != 0) {
        return Fail("the options do not make a valid manifest: " + result.GetMessage());
    }
    return Write(text, files);
}

int CreateCommand::Write(const std::string& manifest, const Files& files) {
    ArchiveWriter writer;
    writer.AddText("Manifest.xml", manifest);
    for (const auto& [name, path] : files) {
        if (!IsFile(path)) {
            return Fail(path + ": no such file");
        }
        if (IsSameFile(path, mPackage)) {
            return Fail(mPackage + " is itself one of the files to pack");
        }
        for (const Finding& finding : CheckPayload(path, path)) {
            if (finding.isError) {
                return Fail(finding.text);
            }
        }
        writer.AddFile(name, path);
    }
    const std::string error = writer.Write(mPackage);
    if (!error.empty()) {
        return Fail(error);
    }
    std::cout << mPackage << ": " << files.size() + 1 << " members\n";
    return kDone;
}
