#include "TftpArguments.h"

#include <algorithm>
#include <map>
#include <string>

using simulator::DeviceOptions;
using simulator::TftpFaults;
using simulator::TftpFirstAnswer;
using simulator::TftpOptionPolicy;
using simulator::TftpSettings;

namespace {

constexpr const char* kGroup = "TFTP";
constexpr const char* kFaultGroup = "TFTP faults";

const std::map<std::string, TftpOptionPolicy> kPolicies{{"grant", TftpOptionPolicy::kGrant},
                                                        {"ignore", TftpOptionPolicy::kIgnore},
                                                        {"reject", TftpOptionPolicy::kReject}};

const std::map<std::string, TftpFirstAnswer> kFirstAnswers{
    {"regular", TftpFirstAnswer::kRegular},
    {"error", TftpFirstAnswer::kError},
    {"blksize-above-request", TftpFirstAnswer::kBlockSizeAboveRequest},
    {"blksize-7", TftpFirstAnswer::kBlockSizeTooSmall},
    {"windowsize-0", TftpFirstAnswer::kWindowSizeZero},
    {"unrequested-option", TftpFirstAnswer::kUnrequestedOption},
    {"garbage", TftpFirstAnswer::kGarbage}};

template <typename Choice>
std::string NameOf(const std::map<std::string, Choice>& choices, Choice wanted) {
    const auto choice = std::find_if(choices.begin(), choices.end(),
                                     [wanted](const auto& one) { return one.second == wanted; });
    return choice != choices.end() ? choice->first : "";
}

template <typename Choice>
void AddChoice(CLI::App& app, const std::string& name, const std::map<std::string, Choice>& choices,
               Choice& target, const std::string& description) {
    app.add_option_function<std::string>(
           name,
           [name, &choices, &target](const std::string& word) {
               const auto choice = choices.find(word);
               if (choice == choices.end()) {
                   throw CLI::ValidationError(name, "there is no choice " + word);
               }
               target = choice->second;
           },
           description)
        ->type_name("WORD")
        ->default_str(NameOf(choices, target));
}

void AddService(CLI::App& app, DeviceOptions& device) {
    TftpSettings& tftp = device.tftp;
    const auto refuse = [&app](const std::string& name, bool& target,
                               const std::string& description) {
        app.add_flag_callback(
               name, [&target] { target = false; }, description)
            ->group(kGroup);
    };
    refuse("--no-tftp", device.serveTftp,
           "Do not serve TFTP, which needs a free port 69 that may be bound");
    app.add_option("--tftp-port", tftp.port, "UDP port; devices have 69, which updaters expect")
        ->type_name("PORT")
        ->capture_default_str()
        ->group(kGroup);
    AddChoice(app, "--tftp-options", kPolicies, tftp.optionPolicy,
              "What becomes of a request's options: grant, ignore as a server that knows none, "
              "reject with ERROR 8");
    app.add_option("--tftp-max-blksize", tftp.maxBlockSize, "Largest block granted; 0: none")
        ->type_name("BYTES")
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--tftp-max-windowsize", tftp.maxWindowSize, "Largest window granted; 0: none")
        ->type_name("BLOCKS")
        ->capture_default_str()
        ->group(kGroup);
    refuse("--tftp-no-tsize", tftp.grantTransferSize, "Do not grant tsize");
    refuse("--tftp-no-timeout", tftp.grantTimeout, "Do not grant timeout");
    app.add_option("--tftp-rollover", tftp.rollover, "Block number after 65,535: 0 or 1")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    refuse("--tftp-busy-status", tftp.holdStatusWhileFlashing,
           "Tell a client that asks for the status while the flash is written so, instead of "
           "letting it wait for the outcome");
}

void AddFaults(CLI::App& app, TftpFaults& faults) {
    const auto percent = [&](const std::string& name, double& target,
                             const std::string& description) {
        app.add_option(name, target, description + ", percent, each way")
            ->type_name("P")
            ->group(kFaultGroup);
    };
    const auto bytes = [&](const std::string& name, std::optional<std::uint64_t>& target,
                           const std::string& description) {
        app.add_option_function<std::uint64_t>(
               name, [&target](std::uint64_t value) { target = value; }, description)
            ->type_name("BYTES")
            ->group(kFaultGroup);
    };
    percent("--tftp-loss", faults.datagrams.lossPercent, "Datagrams lost");
    percent("--tftp-duplicate", faults.datagrams.duplicatePercent, "Datagrams doubled");
    percent("--tftp-reorder", faults.datagrams.reorderPercent,
            "Datagrams overtaken by the next one");
    percent("--tftp-late-copy", faults.datagrams.lateCopyPercent,
            "Datagrams of which a copy comes later");
    app.add_option_function<std::uint32_t>(
           "--tftp-delay",
           [&faults](std::uint32_t value) {
               faults.datagrams.delay = std::chrono::milliseconds(value);
           },
           "By how much")
        ->type_name("MS")
        ->default_str(std::to_string(faults.datagrams.delay.count()))
        ->group(kFaultGroup);
    AddChoice(app, "--tftp-first-answer", kFirstAnswers, faults.firstAnswer,
              "regular, error, or an OACK that no client may accept: blksize-above-request, "
              "blksize-7, windowsize-0, unrequested-option, garbage");
    app.get_option("--tftp-first-answer")->group(kFaultGroup);
    app.add_flag("--tftp-mute", faults.mute, "Answer no request")->group(kFaultGroup);
    app.add_flag("--tftp-foreign-port", faults.foreignPort,
                 "Send forged packets from another port too")
        ->group(kFaultGroup);
    app.add_option("--tftp-lost-last-acks", faults.lostLastAcks,
                   "Lose the first N acknowledgements of each file's last block")
        ->type_name("N")
        ->group(kFaultGroup);
    bytes("--tftp-silent-at", faults.silentAtByte, "Fall silent once a file has so many bytes");
    bytes("--tftp-error-at", faults.errorAtByte, "Send ERROR 3 once a file has so many bytes");
    bytes("--tftp-status-size", faults.statusSize, "Fill the status text up to so many bytes");
}

}  // namespace

void AddTftpOptions(CLI::App& app, DeviceOptions& device) {
    AddService(app, device);
    app.get_option("--tftp-options")->group(kGroup);
    AddFaults(app, device.faults.tftp);
}
