#include "CheckCommand.h"

#include <iostream>

#include <NxBase/PrintableText.h>

#include "../check/ModelProbe.h"
#include "../check/ModelTags.h"
#include "../check/PackageCheck.h"
#include "../check/PayloadCheck.h"
#include "../model/Package.h"
#include "FileKind.h"

CLI::App* CheckCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("check", "Find problems that would make an update fail");
    options
        ->add_option("--model", mModels, "Also require an update for this model; may be repeated")
        ->option_text("NAME");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package");
    return options;
}

int CheckCommand::Run() {
    const std::vector<Finding> findings =
        IsPayloadPath(mFile) ? CheckPlainPayload() : CheckPackage();
    for (const Finding& finding : findings) {
        std::cout << (finding.isError ? "error: " : "warning: ")
                  << PrintableText(finding.text, kLongestLine) << '\n';
    }
    if (findings.empty()) {
        std::cout << mFile << ": no problems found\n";
    }
    return findings.empty() ? kDone : kFailed;
}

std::vector<Finding> CheckCommand::CheckPackage() const {
    Package package;
    const std::string error = package.Open(mFile);
    if (!error.empty()) {
        return {ErrorFinding(error.rfind("Manifest.xml:", 0) == 0 ? error : mFile + ": " + error)};
    }
    std::vector<Finding> findings = PackageCheck(package).Run();
    if (!IsPackagePath(mFile)) {
        findings.push_back(WarningFinding(
            mFile + ": the updater accepts only packages whose name ends in \".zip\""));
    }
    for (const std::string& model : mModels) {
        ModelProbe probe(model);
        const NyUtilsLib::Result result = probe.Run(package.ManifestText());
        if (result.GetCode() != 0) {
            findings.push_back(ErrorFinding(model + ": " + result.GetMessage()));
        }
    }
    return findings;
}

std::vector<Finding> CheckCommand::CheckPlainPayload() const {
    std::vector<Finding> findings = CheckPayload(mFile, mFile);
    const std::vector<ModelTag> tags = ModelTagsOf(mFile);
    for (const ModelTag& tag : tags) {
        if (tag.models.size() > 1) {
            // The updater asks the device to be all of these models at once.
            findings.push_back(
                ErrorFinding(mFile + ": the updater rejects a payload whose path contains \"" +
                             tag.tag + "\" for every device"));
        }
        for (const std::string& model : mModels) {
            if (tag.models.size() == 1 && model != tag.models.front()) {
                findings.push_back(
                    ErrorFinding(model + ": the updater accepts a payload whose path contains \"" +
                                 tag.tag + "\" only for " + tag.models.front()));
            }
        }
    }
    return findings;
}
