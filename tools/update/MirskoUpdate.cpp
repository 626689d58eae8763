// Updates the cameras that are named, or all of them, and checks that each runs the new firmware.
#include <csignal>
#include <string>

#include <CLI/CLI.hpp>

#include "run/Interruption.h"
#include "run/UpdateRun.h"

namespace {

constexpr int kWrongUse = 3;
constexpr int kMostJobs = 64;

void AddSelection(CLI::App& app, Selection& selection) {
    const auto add = [&app](const char* option, std::vector<std::string>& names, const char* type,
                            const char* description) {
        return app.add_option(option, names, description)
            ->type_name(type)
            ->expected(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->group("Selection");
    };
    CLI::Option* all = app.add_flag("--all", selection.all,
                                    "All cameras; with --model, all cameras of these models")
                           ->group("Selection");
    add("--serial", selection.serials, "SERIAL", "The camera with this serial number");
    add("--mac", selection.macs, "MAC", "The camera with this MAC address");
    add("--address", selection.addresses, "ADDRESS", "The camera with this IP address");
    add("--user-name", selection.userNames, "NAME", "The camera with this device ID");
    add("--model", selection.models, "MODEL", "The camera of this model");
    for (const char* const name : {"--serial", "--mac", "--address", "--user-name"}) {
        app.get_option(name)->excludes(all);
    }
    add("--interface", selection.interfaces, "NAME|MAC", "Only cameras on this interface");
    app.add_flag("--usb", selection.usb, "Only USB3 Vision cameras")->group("Selection");
}

void AddRules(CLI::App& app, UpdateRun::Options& options, long& wait) {
    CameraUpdate::Options& update = options.update;
    app.add_flag("--dry-run", update.dryRun,
                 "Print what would be done, and write nothing. Asks each camera, which takes "
                 "control of it for a moment");
    app.add_flag("--force", update.rules.force,
                 "Also update cameras that run the file's version already");
    app.add_flag("--allow-downgrade", update.rules.allowDowngrade,
                 "Also update cameras that run a higher version");
    app.add_option(
           "--require-signature", options.authorities,
           "First verify that every FIRMWARE is signed under a certificate in this PEM file; "
           "the signature is in FIRMWARE.p7s")
        ->type_name("FILE")
        ->check(CLI::ExistingFile.description(""));
    app.add_option("--jobs", options.jobs,
                   "Cameras updated at once: at most this many, and two on one interface; default: "
                   "two on each interface")
        ->type_name("N")
        ->check(CLI::Range(1, kMostJobs).description(""));
    app.add_option("--wait", wait, "Time for a camera to be back after its reset")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600).description(""));
    app.add_flag("--json", options.json,
                 "Print a JSON object per camera and a summary, one per line");
    app.add_option("--log", options.logFile, "Also append every line to this file, with the time")
        ->type_name("FILE");
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that has seen enough must not end a transfer half-way.
    (void)std::signal(SIGPIPE, SIG_IGN);
    CLI::App app(
        "Updates the firmware of the cameras selected, checks that each runs it, and reports each. "
        "Every name must match exactly one camera. Without a selection, lists the cameras.\n"
        "Exit status: 0 every camera selected runs the firmware, 1 at least one does not, 2 all "
        "ran it before, 3 nothing was done: wrong use, a file that cannot be used, or a name that "
        "matches no camera or several.",
        "mirsko-update");
    // Worded for an option; an argument is in the usage line.
    app.get_formatter()->label("REQUIRED", "");
    app.get_formatter()->label("TEXT", "");
    app.set_version_flag("--version", "mirsko-update " MIRSKO_VERSION,
                         "Print the version and exit");
    UpdateRun::Options options;
    long wait = options.update.wait.count();
    AddSelection(app, options.selection);
    AddRules(app, options, wait);
    app.add_option("FIRMWARE", options.files,
                   "Payloads (.dfw) or packages (.zip); each camera gets the one that fits it")
        ->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongUse;
    }
    options.update.wait = std::chrono::seconds(wait);
    // It outlives the run, which removes its temporary files before a signal that is left acts.
    Interruption interruption;
    return UpdateRun(options).Run(interruption);
}
