#include "GvcpClient.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "Hex.h"
#include "simulator/registers/FeatureAddresses.h"

namespace features = simulator::features;

namespace {

sockaddr_in ToAddress(const std::string& text, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    return address;
}

}  // namespace

GvcpClient::GvcpClient(const std::string& device, const std::string& interfaceName,
                       const std::string& source)
    : mDevice(device), mSocket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(mSocket, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
    EXPECT_EQ(setsockopt(mSocket, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                         static_cast<socklen_t>(interfaceName.size())),
              0);
    const sockaddr_in local = ToAddress(source, 0);
    EXPECT_EQ(bind(mSocket, reinterpret_cast<const sockaddr*>(&local), sizeof(local)), 0);
}

GvcpClient::~GvcpClient() {
    close(mSocket);
}

void GvcpClient::SendTo(const std::string& address, const std::string& hex) {
    const std::vector<std::uint8_t> bytes = FromHex(hex);
    const sockaddr_in to = ToAddress(address, 3956);
    EXPECT_EQ(sendto(mSocket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                     sizeof(to)),
              static_cast<ssize_t>(bytes.size()));
}

std::optional<std::string> GvcpClient::Receive(int milliseconds) {
    pollfd waiting{mSocket, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) != 1) {
        return std::nullopt;
    }
    std::array<std::uint8_t, 2048> buffer{};
    const ssize_t count = recv(mSocket, buffer.data(), buffer.size(), 0);
    return count < 0 ? std::nullopt
                     : std::optional(ToHex({buffer.begin(), buffer.begin() + count}));
}

std::string GvcpClient::Ask(const std::string& command, const std::string& payload, int tries) {
    const std::string id = Hex16(++mId);
    for (int i = 0; i < tries; ++i) {
        Send("4201" + command + Hex16(payload.size() / 2) + id + payload);
        while (const auto answer = Receive(500)) {
            // PENDING_ACK and what belongs to earlier commands is ignored.
            if (answer->size() >= 16 && answer->substr(12, 4) == id &&
                answer->substr(4, 4) != "0089") {
                return answer->substr(0, 12) + answer->substr(16);
            }
        }
    }
    return {};
}

std::optional<std::uint32_t> GvcpClient::Read(std::uint32_t address, int tries) {
    const std::string answer = Ask("0080", Hex32(address), tries);
    if (answer.size() != 20 || answer.substr(0, 4) != "0000") {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::stoul(answer.substr(12), nullptr, 16));
}

std::uint16_t GvcpClient::Write(std::uint32_t address, std::uint32_t value, int tries) {
    const std::string answer = Ask("0082", Hex32(address) + Hex32(value), tries);
    return answer.empty()
               ? std::uint16_t{0xffff}
               : static_cast<std::uint16_t>(std::stoul(answer.substr(0, 4), nullptr, 16));
}

bool GvcpClient::Upload(const std::string& payload, std::uint32_t bufferSize) {
    const std::uint32_t block = features::kPlainBlock;
    const auto execute = [&](std::uint32_t operation) {
        return Write(features::kOperationSelector, operation) == 0 &&
               Write(block + features::kExecute, 1) == 0 &&
               Read(block + features::kStatus) == std::uint32_t{0};
    };
    if (Write(0xa00, 2) != 0 || Write(features::kFileSelector, 0) != 0 ||
        Write(block + features::kOpenMode, 1) != 0 || !execute(0)) {
        return false;
    }
    std::size_t done = 0;
    while (done < payload.size()) {
        const std::string chunk = payload.substr(done, bufferSize);
        for (std::size_t at = 0; at < chunk.size(); at += 536) {
            std::string part = chunk.substr(at, 536);
            part.resize((part.size() + 3) / 4 * 4, '\0');
            const std::string address = Hex32(static_cast<std::uint32_t>(features::kBuffer + at));
            if (Ask("0086", address + ToHex({part.begin(), part.end()})).substr(0, 4) != "0000") {
                return false;
            }
        }
        if (Write(block + features::kAccessOffset, static_cast<std::uint32_t>(done)) != 0 ||
            Write(block + features::kAccessLength, static_cast<std::uint32_t>(chunk.size())) != 0 ||
            !execute(3)) {
            return false;
        }
        const std::uint32_t taken = Read(block + features::kResult).value_or(0);
        if (taken == 0) {
            return false;
        }
        done += taken;
    }
    return execute(1);
}
