#include "ImportCommand.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include <NxBase/PrintableText.h>
#include <NxGenICam/GenFUParser.h>

#include "ControlFile.h"
#include "FileKind.h"
#include "ManifestText.h"

namespace {

/// "./a\b" as "a/b".
std::string NormalPath(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    while (path.rfind("./", 0) == 0 || path.rfind('/', 0) == 0) {
        path.erase(0, path[0] == '/' ? 1 : 2);
    }
    return path;
}

std::string LastPart(const std::string& path) {
    return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

std::optional<std::size_t> FindMember(const Archive& archive, const std::string& path) {
    for (std::size_t index = 0; index < archive.Members().size(); ++index) {
        if (NormalPath(archive.Members()[index].name) == path) {
            return index;
        }
    }
    return std::nullopt;
}

}  // namespace

CLI::App* ImportCommand::Declare(CLI::App& program) {
    CLI::App* const options = program.add_subcommand(
        "import", "Make a package of a GenICam update file (GenICam FWUpdate 1.0)");
    options
        ->add_option("--transport", mTransport,
                     "How the files are to be uploaded, which an update file does\n"
                     "not tell: GenICam, which is the default, or TFTP")
        ->option_text("TRANSPORT")
        ->check(CLI::IsMember({"GenICam", "TFTP"}));
    options->add_option("UPDATE", mUpdateFile, "The \".guf\" file")->type_name("")->required();
    options->add_option("PACKAGE", mPackage, "The \".zip\" file to write")
        ->type_name("")
        ->required()
        ->check([](const std::string& text) {
            return IsPackagePath(text)
                       ? std::string()
                       : "the name of a package ends in \".zip\", unlike \"" + text + "\"";
        });
    return options;
}

int ImportCommand::Run() {
    constexpr std::size_t kLongestControlFile = std::size_t{1} << 20U;
    std::string error = mArchive.Open(mUpdateFile);
    if (!error.empty()) {
        return Fail(mUpdateFile + ": " + error);
    }
    const auto member = FindMember(mArchive, "ControlFile.xml");
    if (!member) {
        return Fail(mUpdateFile + ": it holds no \"ControlFile.xml\"");
    }
    std::string text;
    ControlFile control(mTransport);
    error = mArchive.ReadText(*member, kLongestControlFile, text);
    error = error.empty() ? control.Read(text) : error;
    if (!error.empty()) {
        return Fail("ControlFile.xml: " + error);
    }
    for (const std::string& warning : control.Warnings()) {
        std::cerr << "mirsko-package: ControlFile.xml: " << PrintableText(warning, kLongestLine)
                  << '\n';
    }
    error = TakeFiles(control.GetModel());
    if (!error.empty()) {
        return Fail(error);
    }
    const std::string manifest = ManifestText(control.GetModel());
    const NyUtilsLib::Result result = NxGenICamLib::GenFUParser(nullptr).Build(manifest);
    if (result.GetCode() != 0) {
        return Fail("the control file makes no good manifest: " + result.GetMessage());
    }
    mWriter.AddText("Manifest.xml", manifest);
    error = mWriter.Write(mPackage);
    if (!error.empty()) {
        return Fail(error);
    }
    std::cout << mPackage << ": " << mTaken.size() + 1 << " members\n";
    return kDone;
}

std::string ImportCommand::TakeFiles(PackageModel& model) {
    for (PackageProcedure& procedure : model.procedures) {
        for (PackageStep& step : procedure.steps) {
            if (step.kind != PackageStep::Kind::kFileUpload) {
                continue;
            }
            const std::string error = TakeFile(NormalPath(step.fileName), step.fileName);
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
    const auto member = FindMember(mArchive, path);
    if (path.empty() || !member) {
        return mUpdateFile + ": it holds no file \"" + path + "\"";
    }
    const auto isTaken = [this](const std::string& wanted) {
        return wanted == "Manifest.xml" ||
               std::any_of(mTaken.begin(), mTaken.end(),
                           [&wanted](const auto& entry) { return entry.second == wanted; });
    };
    name = LastPart(path);
    if (isTaken(name)) {
        name = path;
        std::replace(name.begin(), name.end(), '/', '_');
    }
    if (isTaken(name)) {
        return "two files would have the name \"" + name + "\"";
    }
    mCopies.emplace_back();
    const std::string& copy = mCopies.back().Path();
    const std::string error =
        copy.empty() ? "a temporary file cannot be made" : mArchive.Extract(*member, copy);
    if (!error.empty()) {
        return path + ": " + error;
    }
    mTaken[path] = name;
    mWriter.AddFile(name, copy);
    return "";
}
