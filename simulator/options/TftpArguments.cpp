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
                    "Do not serve TFTP (by default it needs UDP port 69)");
    group.Add("--tftp-port", tftp.port, "PORT",
              "UDP port; real devices use 69, and updaters expect it");
    AddWord(group, "--tftp-options", tftp.optionPolicy, kPolicies,
            "How to treat a request's options: grant, ignore (like a server without options) or "
            "reject (with ERROR 8)");
    group.Add("--tftp-max-blksize", tftp.maxBlockSize, "BYTES",
              "Largest block size granted; 0: do not grant blksize");
    group.Add("--tftp-max-windowsize", tftp.maxWindowSize, "BLOCKS",
              "Largest window size granted; 0: do not grant windowsize");
    group.AddSwitch("--tftp-no-tsize", tftp.grantTransferSize, false, "Do not grant tsize");
    group.AddSwitch("--tftp-no-timeout", tftp.grantTimeout, false, "Do not grant timeout");
    group.Add("--tftp-rollover", tftp.rollover, "N", "Block number that follows 65,535: 0 or 1");
    group.AddTime("--tftp-latency", tftp.latency,
                  "Delay of every packet sent, as by a network with this round-trip time");
    group.AddSwitch(
        "--tftp-busy-status", tftp.holdStatusWhileFlashing, false,
        "While flashing, reply to a status request at once instead of when flashing is done");
}

void AddFaults(CLI::App& app, TftpFaults& faults) {
    OptionGroup group(app, "TFTP faults");
    simulator::DatagramFaults& datagrams = faults.datagrams;
    group.Add("--tftp-loss", datagrams.lossPercent, "P",
              "Percentage of datagrams lost in each direction");
    group.Add("--tftp-duplicate", datagrams.duplicatePercent, "P",
              "Percentage of datagrams duplicated in each direction");
    group.Add("--tftp-reorder", datagrams.reorderPercent, "P",
              "Percentage of datagrams overtaken by the next one, in each direction");
    group.Add("--tftp-late-copy", datagrams.lateCopyPercent, "P",
              "Percentage of datagrams repeated later, in each direction");
    group.AddTime("--tftp-delay", datagrams.delay, "Delay of the late copies");
    AddWord(
        group, "--tftp-first-answer", faults.firstAnswer, kFirstAnswers,
        "First reply: regular, error, or an OACK that no client may accept: blksize-above-request, "
        "blksize-7, windowsize-0, unrequested-option, garbage");
    group.AddFlag("--tftp-mute", faults.mute, "Never reply to a request");
    group.AddFlag("--tftp-foreign-port", faults.foreignPort,
                  "Also send forged packets from another port");
    group.Add("--tftp-lost-last-acks", faults.lostLastAcks, "N",
              "Lose the first N acknowledgements of each file's last block");
    group.Add("--tftp-silent-at", faults.silentAtByte, "BYTES",
              "Stop replying when a file has reached this many bytes");
    group.Add("--tftp-error-at", faults.errorAtByte, "BYTES",
              "Send ERROR 3 when a file has reached this many bytes");
    group.Add("--tftp-status-size", faults.statusSize, "BYTES",
              "Pad the status text to this many bytes");
}

}  // namespace

void AddTftpOptions(CLI::App& app, DeviceOptions& device) {
    AddService(app, device);
    AddFaults(app, device.faults.tftp);
}
