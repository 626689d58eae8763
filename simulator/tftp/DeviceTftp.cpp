#include "DeviceTftp.h"

#include "../EventLog.h"

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

DeviceTftp::DeviceTftp(FirmwareStore& store, EventLog& events, const std::atomic<bool>& muted,
                       const NetworkPlace& place, const TftpSettings& settings,
                       const TftpFaults& faults)
    : mPlace(place),
      mFiles(store, settings, faults),
      mServer(
          mFiles, settings, faults,
          [&events](const TftpTransfer& transfer) { Record(events, transfer); }, &muted) {}

}  // namespace simulator
