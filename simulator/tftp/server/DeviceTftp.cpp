#include "DeviceTftp.h"

#include <nlohmann/json.hpp>

#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"

namespace simulator {

namespace {

// The file's name comes from the network; JSON takes only text that is valid UTF-8.
std::string Printable(std::string text) {
    for (char& character : text) {
        if (character < ' ' || character > '~') {
            character = '?';
        }
    }
    return text;
}

void Record(EventLog& events, const TftpTransfer& transfer) {
    events.Add("tftp", {{"operation", transfer.write ? "write" : "read"},
                        {"file", Printable(transfer.file)},
                        {"peer", transfer.peer},
                        {"bytes", transfer.bytes},
                        {"block_size", transfer.blockSize},
                        {"window_size", transfer.windowSize},
                        {"duplicates", transfer.duplicates},
                        {"repetitions", transfer.repetitions},
                        {"rejected_forgeries", transfer.rejectedForgeries},
                        {"complete", transfer.complete},
                        {"failure", Printable(transfer.failure)}});
}

}  // namespace

DeviceTftp::DeviceTftp(const DeviceContext& context)
    : mFiles(context.firmware, context.options.tftp, context.options.faults.tftp),
      mServer(
          mFiles, context.options.tftp, context.options.faults.tftp,
          [&events = context.events](const TftpTransfer& transfer) { Record(events, transfer); },
          &context.muted, context.options.faults.seed, context.commandAnswered) {}

}  // namespace simulator
