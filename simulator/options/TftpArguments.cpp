#include "TftpArguments.h"

#include <string>

#include "OptionGroup.h"
#include "simulator/device/NameTable.h"

using simulator::DeviceOptions;
using simulator::NameTable;
using simulator::TftpFaults;
using simulator::TftpFirstAnswer;
using simulator::TftpOptionPolicy;
using simulator::TftpSettings;

namespace {

constexpr NameTable<TftpOptionPolicy, 3> kPolicies{{{
    {TftpOptionPolicy::kGrant, "grant"},
    {TftpOptionPolicy::kIgnore, "ignore"},
    {TftpOptionPolicy::kReject, "reject"},
}}};

constexpr NameTable<TftpFirstAnswer, 7> kFirstAnswers{{{
    {TftpFirstAnswer::kRegular, "regular"},
    {TftpFirstAnswer::kError, "error"},
    {TftpFirstAnswer::kBlockSizeAboveRequest, "blksize-above-request"},
    {TftpFirstAnswer::kBlockSizeTooSmall, "blksize-7"},
    {TftpFirstAnswer::kWindowSizeZero, "windowsize-0"},
    {TftpFirstAnswer::kUnrequestedOption, "unrequested-option"},
    {TftpFirstAnswer::kGarbage, "garbage"},
}}};

template <typename Choice, std::size_t kCount>
void AddWord(OptionGroup& group, const std::string& name, Choice& target,
             const NameTable<Choice, kCount>& names, const std::string& description) {
    group.AddChoice(
        name, target, "choice",
        [&names](const std::string& word) { return names.ValueNamed(word); }, names.NameOf(target),
        "WORD", description);
}

void AddService(CLI::App& app, DeviceOptions& device) {
    OptionGroup group(app, "TFTP");
    TftpSettings& tftp = device.tftp;
    group.AddSwitch("--no-tftp", device.serveTftp, false,
                    "Do not serve TFTP, which needs a free port 69 that may be bound");
    group.Add("--tftp-port", tftp.port, "PORT", "UDP port; devices have 69, which updaters expect");
    AddWord(group, "--tftp-options", tftp.optionPolicy, kPolicies,
            "What becomes of a request's options: grant, ignore as a server that knows none, "
            "reject with ERROR 8");
    group.Add("--tftp-max-blksize", tftp.maxBlockSize, "BYTES", "Largest block granted; 0: none");
    group.Add("--tftp-max-windowsize", tftp.maxWindowSize, "BLOCKS",
              "Largest window granted; 0: none");
    group.AddSwitch("--tftp-no-tsize", tftp.grantTransferSize, false, "Do not grant tsize");
    group.AddSwitch("--tftp-no-timeout", tftp.grantTimeout, false, "Do not grant timeout");
    group.Add("--tftp-rollover", tftp.rollover, "N", "Block number after 65,535: 0 or 1");
    group.AddSwitch("--tftp-busy-status", tftp.holdStatusWhileFlashing, false,
                    "Tell a client that asks for the status while the flash is written so, instead "
                    "of letting it wait for the outcome");
}

void AddFaults(CLI::App& app, TftpFaults& faults) {
    OptionGroup group(app, "TFTP faults");
    simulator::DatagramFaults& datagrams = faults.datagrams;
    group.Add("--tftp-loss", datagrams.lossPercent, "P", "Datagrams lost, percent, each way");
    group.Add("--tftp-duplicate", datagrams.duplicatePercent, "P",
              "Datagrams doubled, percent, each way");
    group.Add("--tftp-reorder", datagrams.reorderPercent, "P",
              "Datagrams overtaken by the next one, percent, each way");
    group.Add("--tftp-late-copy", datagrams.lateCopyPercent, "P",
              "Datagrams of which a copy comes later, percent, each way");
    group.AddTime("--tftp-delay", datagrams.delay, "By how much");
    AddWord(group, "--tftp-first-answer", faults.firstAnswer, kFirstAnswers,
            "regular, error, or an OACK that no client may accept: blksize-above-request, "
            "blksize-7, windowsize-0, unrequested-option, garbage");
    group.AddFlag("--tftp-mute", faults.mute, "Answer no request");
    group.AddFlag("--tftp-foreign-port", faults.foreignPort,
                  "Send forged packets from another port too");
    group.Add("--tftp-lost-last-acks", faults.lostLastAcks, "N",
              "Lose the first N acknowledgements of each file's last block");
    group.Add("--tftp-silent-at", faults.silentAtByte, "BYTES",
              "Fall silent once a file has so many bytes");
    group.Add("--tftp-error-at", faults.errorAtByte, "BYTES",
              "Send ERROR 3 once a file has so many bytes");
    group.Add("--tftp-status-size", faults.statusSize, "BYTES",
              "Fill the status text up to so many bytes");
}

}  // namespace

void AddTftpOptions(CLI::App& app, DeviceOptions& device) {
    AddService(app, device);
    AddFaults(app, device.faults.tftp);
}
