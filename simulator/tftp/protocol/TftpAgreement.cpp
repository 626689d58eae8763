#include "TftpAgreement.h"

#include <algorithm>
#include <charconv>

namespace simulator {

namespace {

// What the kernel charges to a socket's buffer for each datagram beside its data.
constexpr unsigned int kDatagramOverhead = 1024;

std::optional<std::uint64_t> Number(const std::string& text, std::uint64_t lowest,
                                    std::uint64_t highest) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < lowest || number > highest) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

std::variant<TftpAgreement, TftpError> TftpAgreement::Negotiate(
    const TftpOptionList& requested, const TftpSettings& settings,
    std::optional<std::uint64_t> fileSize, unsigned int receiveBuffer) {
    TftpAgreement agreement;
    if (requested.empty() || settings.optionPolicy == TftpOptionPolicy::kIgnore) {
        return agreement;
    }
    if (settings.optionPolicy == TftpOptionPolicy::kReject) {
        return TftpError{TftpErrorCode::kOptionNegotiation, "Options are not supported"};
    }
    for (const auto& [name, value] : requested) {
        std::optional<std::uint64_t> number;
        if (name == "blksize" && settings.maxBlockSize > 0) {
            number = Number(value, 8, 65464);
            if (number) {
                *number = std::min<std::uint64_t>(*number, settings.maxBlockSize);
                agreement.blockSize = static_cast<unsigned int>(*number);
            }
        } else if (name == "windowsize" && settings.maxWindowSize > 0) {
            number = Number(value, 1, 65535);
            if (number) {
                agreement.windowSize = static_cast<unsigned int>(
                    std::min<std::uint64_t>(*number, settings.maxWindowSize));
            }
        } else if (name == "timeout" && settings.grantTimeout) {
            number = Number(value, 1, 255);
            if (number) {
                agreement.timeout = std::chrono::seconds(*number);
            }
        } else if (name == "tsize" && settings.grantTransferSize) {
            number = Number(value, 0, UINT64_MAX);
            if (number && fileSize) {
                number = fileSize;
            }
        }
        if (number) {
            agreement.granted.emplace_back(name, std::to_string(*number));
        }
    }
    // Settled last: the block size may follow the window size in the request.
    const unsigned int fitting = receiveBuffer / (agreement.blockSize + kDatagramOverhead);
    agreement.windowSize = std::min(agreement.windowSize, std::max(fitting, 1U));
    for (auto& [name, value] : agreement.granted) {
        if (name == "windowsize") {
            value = std::to_string(agreement.windowSize);
        }
    }
    return agreement;
}

std::optional<std::uint64_t> TftpAgreement::AnnouncedSize(const TftpOptionList& options) {
    for (const auto& [name, value] : options) {
        if (name == "tsize") {
            return Number(value, 0, UINT64_MAX);
        }
    }
    return std::nullopt;
}

}  // namespace simulator
