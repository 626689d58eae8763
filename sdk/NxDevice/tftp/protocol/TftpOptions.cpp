#include "TftpOptions.h"

#include <charconv>

#include <NxBase/PrintableText.h>

namespace {

bool ParseNumber(const std::string& text, std::uint64_t& number) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

}  // namespace

std::vector<TftpOption> TftpOptions::ToRequest() const {
    std::vector<TftpOption> options;
    if (transferSize.has_value()) {
        options.push_back({"tsize", std::to_string(*transferSize)});
    }
    if (blockSize != kPlainBlockSize) {
        options.push_back({"blksize", std::to_string(blockSize)});
    }
    if (timeout != 0) {
        options.push_back({"timeout", std::to_string(timeout)});
    }
    if (windowSize != 1) {
        options.push_back({"windowsize", std::to_string(windowSize)});
    }
    return options;
}

bool TftpOptions::AsksFor(std::string_view option) const {
    return (option == "blksize" && blockSize != kPlainBlockSize) ||
           (option == "windowsize" && windowSize != 1) || (option == "timeout" && timeout != 0) ||
           (option == "tsize" && transferSize.has_value());
}

std::string TftpOptions::Agree(const TftpPacket& optionAck, TftpOptions& agreed) const {
    if (!optionAck.optionsValid) {
        return "its option acknowledgement is malformed";
    }
    TftpOptions result;
    for (const TftpOption& option : optionAck.options) {
        const auto refuse = [&option](const char* why) {
            // The value comes from the device: only its beginning, and printable, is shown.
            constexpr std::size_t kShown = 60;
            return "it granted option " + PrintableText(option.name + "=" + option.value, kShown) +
                   ", " + why;
        };
        if (!AsksFor(option.name)) {
            return refuse("which was not requested");
        }
        std::uint64_t value = 0;
        if (!ParseNumber(option.value, value)) {
            return refuse("which is not a number");
        }
        if (option.name == "blksize") {
            if (value < kSmallestBlockSize || value > blockSize) {
                return refuse("which is out of range");
            }
            result.blockSize = static_cast<unsigned int>(value);
        } else if (option.name == "windowsize") {
            if (value < 1 || value > windowSize) {
                return refuse("which is out of range");
            }
            result.windowSize = static_cast<unsigned int>(value);
        } else if (option.name == "timeout") {
            if (value != timeout) {
                return refuse("which is not the requested value");
            }
            result.timeout = timeout;
        } else {
            result.transferSize = value;
        }
    }
    agreed = result;
    return {};
}
