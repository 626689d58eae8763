#include "CheckCommand.h"

#include <algorithm>
#include <iostream>

#include <NxBase/PrintableText.h>

#include "../check/ModelProbe.h"
#include "../check/ModelTags.h"
#include "../check/PackageCheck.h"
#include "../check/PayloadCheck.h"
#include "../model/Package.h"
#include "Description.h"
#include "FileKind.h"

CLI::App* CheckCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("check", "Find problems that would make an update fail");
    options
        ->add_option("--model", mModels, "Also require an update for this model; may be repeated")
        ->option_text("NAME");
    options
        ->add_option("--accept", mAccepted,
                     "Name of a warning that is not a problem; may be repeated")
        ->option_text("WARNING")
        ->allow_extra_args(false)
        ->check([](const std::string& name) {
            return std::ranges::find(WarningName::kAll, name) != WarningName::kAll.end()
                       ? std::string()
                       : "\"" + name + "\" is not the name of a warning";
        });
    options->add_flag("--json", mAsJson, "Print a JSON object instead of text");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package");
    return options;
}

int CheckCommand::Run() {
    const std::vector<Finding> findings =
        IsPayloadPath(mFile) ? CheckPlainPayload() : CheckPackage();
    const bool isGood = std::ranges::all_of(
        findings, [this](const Finding& finding) { return IsAccepted(finding); });
    if (mAsJson) {
        PrintJson(findings, isGood);
    } else {
        Print(findings);
        if (isGood) {
            std::cout << mFile << ": no problems found\n";
        }
    }
    return isGood ? kDone : kFailed;
}

bool CheckCommand::IsAccepted(const Finding& finding) const {
    return !finding.isError && std::ranges::find(mAccepted, finding.name) != mAccepted.end();
}

void CheckCommand::Print(const std::vector<Finding>& findings) const {
    for (const Finding& finding : findings) {
        std::cout << (finding.isError       ? "error: "
                      : IsAccepted(finding) ? "accepted: "
                                            : "warning: ")
                  << PrintableText(finding.text, kLongestLine) << '\n';
    }
}

void CheckCommand::PrintJson(const std::vector<Finding>& findings, bool isGood) const {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"severity", finding.isError ? "error" : "warning"},
                        {"name", finding.name},
                        {"text", PrintableText(finding.text, kLongestLine)},
                        {"accepted", IsAccepted(finding)}});
    }
    const Json report{{"format", 1}, {"file", mFile}, {"ok", isGood}, {"findings", list}};
    std::cout << report.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
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
            WarningName::kFileName,
            mFile + ": the updater accepts only packages whose name ends in \".zip\""));
    }
    if (const std::string why = WhyNotAnArgument(mFile); !why.empty()) {
        findings.push_back(WarningFinding(WarningName::kFileName, why));
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
