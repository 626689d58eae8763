// Creates, inspects and checks firmware payloads and packages.
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "commands/CheckCommand.h"
#include "commands/CreateCommand.h"
#include "commands/ImportCommand.h"
#include "commands/InfoCommand.h"
#include "commands/PayloadCommand.h"
#include "signature/SignCommand.h"
#include "signature/VerifyCommand.h"

int main(int argc, char** argv) {
    CLI::App options(
        "Creates, inspects and checks firmware payloads and packages.\n"
        "Exit status: 0 success, 1 failure or problems found, 2 usage error.",
        "mirsko-package");
    // Worded for an option; an argument is in the usage line.
    options.get_formatter()->label("REQUIRED", "");
    options.require_subcommand(1);
    options.set_help_all_flag("--help-all", "Print the help of every subcommand and exit");
    options.set_version_flag("--version", "mirsko-package " MIRSKO_VERSION,
                             "Print the version and exit");

    std::vector<std::pair<std::unique_ptr<Command>, CLI::App*>> commands;
    const auto add = [&](std::unique_ptr<Command> command) {
        CLI::App* const declared = command->Declare(options);
        commands.emplace_back(std::move(command), declared);
    };
    add(std::make_unique<PayloadCommand>());
    add(std::make_unique<CreateCommand>());
    add(std::make_unique<InfoCommand>());
    add(std::make_unique<CheckCommand>());
    add(std::make_unique<ImportCommand>());
    add(std::make_unique<SignCommand>());
    add(std::make_unique<VerifyCommand>());

    try {
        options.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return options.exit(error) == 0 ? Command::kDone : Command::kUsage;
    }
    for (const auto& [command, declared] : commands) {
        if (declared->parsed()) {
            const int status = command->Run();
            return std::cout.flush() ? status : Command::kFailed;
        }
    }
    return Command::kUsage;
}
