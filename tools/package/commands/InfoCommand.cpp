#include "InfoCommand.h"

#include <iostream>
#include <sstream>

#include <NxBase/PrintableText.h>
#include <NxDevice/NxDfwPayload.h>

#include "../model/Package.h"
#include "Description.h"
#include "FileKind.h"

namespace {

void Print(const Json& description, const std::string& text, bool asJson) {
    if (asJson) {
        // Names in an archive may hold bytes that are not UTF-8.
        std::cout << description.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
        return;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::cout << PrintableText(line, Command::kLongestLine) << '\n';
    }
}

}  // namespace

CLI::App* InfoCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("info", "Show the contents of a payload or package");
    options->add_flag("--json", mAsJson, "Print a JSON object instead of text");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package");
    return options;
}

int InfoCommand::Run() {
    if (IsPayloadPath(mFile)) {
        NxDfwHeader header;
        const NxResult result = NxDfwPayload::ReadHeader(mFile, header);
        if (!result.IsOK()) {
            return Fail(result.GetDescription().GetAscii());
        }
        const Json payload = DescribePayload(header);
        Print(payload, PayloadText(payload), mAsJson);
        return kDone;
    }
    Package package;
    const std::string error = package.Open(mFile);
    if (!error.empty()) {
        return Fail(mFile + ": " + error);
    }
    const Json description = DescribePackage(package);
    Print(description, PackageText(description), mAsJson);
    return kDone;
}
