#include "BareFileClient.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Fail.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t kPort = 3956;
constexpr std::uint16_t kReadRegisters = 0x80;
constexpr std::uint16_t kWriteRegisters = 0x82;
constexpr std::uint16_t kWriteMemory = 0x86;
constexpr std::size_t kHeader = 8;
constexpr std::size_t kBlock = 536;
constexpr std::size_t kLargestPacket = 576;
constexpr std::uint32_t kPrivilege = 0xa00;
constexpr std::uint32_t kFirstDeviceAddress = 0xa000;
constexpr std::uint32_t kBuffer = 0x1000000;
constexpr int kSilence = 5000;  // milliseconds

void Append(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
    for (const int shift : {24, 16, 8, 0}) {
        bytes.push_back(static_cast<std::uint8_t>(number >> static_cast<unsigned int>(shift)));
    }
}

}  // namespace

BareFileClient::BareFileClient(const std::string& address, BareLayout layout,
                               std::size_t bufferSize, Wait wait)
    : mLayout(std::move(layout)),
      mBufferSize(bufferSize),
      mWait(wait),
      mSocket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      mPacket(kLargestPacket) {
    sockaddr_in device{};
    device.sin_family = AF_INET;
    device.sin_port = htons(kPort);
    if (inet_pton(AF_INET, address.c_str(), &device.sin_addr) != 1 ||
        connect(mSocket, reinterpret_cast<const sockaddr*>(&device), sizeof device) != 0) {
        Fail("cannot connect to " + address);
    }
}

BareFileClient::~BareFileClient() {
    close(mSocket);
}

void BareFileClient::Send(std::uint16_t command, std::span<const std::uint8_t> content) {
    mId = mId == 0xffff ? std::uint16_t{1} : static_cast<std::uint16_t>(mId + 1);
    const std::uint16_t size = static_cast<std::uint16_t>(content.size());
    const auto high = [](std::uint16_t number) { return static_cast<std::uint8_t>(number >> 8U); };
    const auto low = [](std::uint16_t number) { return static_cast<std::uint8_t>(number & 0xffU); };
    const std::uint8_t header[kHeader] = {0x42,       0x01,      high(command), low(command),
                                          high(size), low(size), high(mId),     low(mId)};
    std::copy_n(header, kHeader, mPacket.begin());
    std::copy(content.begin(), content.end(), mPacket.begin() + kHeader);
    if (send(mSocket, mPacket.data(), kHeader + content.size(), 0) < 0) {
        Fail("cannot send");
    }
    AwaitAck(command);
}

void BareFileClient::AwaitAck(std::uint16_t command) {
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(kSilence);
    while (true) {
        if (mWait == Wait::kPoll) {
            pollfd entry{mSocket, POLLIN, 0};
            if (poll(&entry, 1, kSilence) != 1) {
                Fail("no ack");
            }
        }
        const ssize_t length = recv(mSocket, mPacket.data(), mPacket.size(), MSG_DONTWAIT);
        if (length < 0 && (errno == EAGAIN || errno == EINTR) && Clock::now() < end) {
            sched_yield();
            continue;
        }
        if (length < 0) {
            Fail("no ack");
        }
        if (length < static_cast<ssize_t>(kHeader) || mPacket[0] != 0 || mPacket[1] != 0 ||
            mPacket[3] != command + 1 || mPacket[6] != mId >> 8U || mPacket[7] != (mId & 0xffU)) {
            Fail("not the ack that was waited for");
        }
        return;
    }
}

std::uint32_t BareFileClient::ToDevice(std::uint32_t address, std::uint32_t value) const {
    return mLayout.littleEndian && address >= kFirstDeviceAddress ? __builtin_bswap32(value)
                                                                  : value;
}

void BareFileClient::WriteRegisters(const std::vector<BareLayout::Write>& writes) {
    mContent.clear();
    for (const auto& [address, value] : writes) {
        Append(mContent, address);
        Append(mContent, ToDevice(address, value));
    }
    Send(kWriteRegisters, mContent);
}

void BareFileClient::WriteMemory(std::uint32_t address, std::span<const char> data) {
    mContent.clear();
    Append(mContent, address);
    mContent.insert(mContent.end(), data.begin(), data.end());
    mContent.resize((mContent.size() + 3) / 4 * 4);
    Send(kWriteMemory, mContent);
}

void BareFileClient::ReadState() {
    mContent.clear();
    for (const std::uint32_t address : mLayout.state) {
        Append(mContent, address);
    }
    Send(kReadRegisters, mContent);
}

void BareFileClient::Open() {
    WriteRegisters({{kPrivilege, 2}});
    for (const BareLayout::Write& write : mLayout.open) {
        WriteRegisters({write});
    }
    for (const BareLayout::Write& write : mLayout.begin) {
        WriteRegisters({write});
    }
}

void BareFileClient::Write(const std::string& path) {
    const std::string payload = ReadWhole(path);
    std::vector<BareLayout::Write> writes;
    for (std::size_t offset = 0; offset < payload.size();) {
        const std::size_t length = std::min(mBufferSize, payload.size() - offset);
        for (std::size_t i = 0; i < length; i += kBlock) {
            WriteMemory(static_cast<std::uint32_t>(kBuffer + i),
                        std::span(payload).subspan(offset + i, std::min(kBlock, length - i)));
        }
        writes.clear();
        if (mLayout.offset) {
            writes.push_back({*mLayout.offset, static_cast<std::uint32_t>(offset)});
        }
        writes.push_back({mLayout.length, static_cast<std::uint32_t>(length)});
        writes.push_back(mLayout.execute);
        WriteRegisters(writes);
        ReadState();
        std::uint32_t result = 0;
        std::memcpy(&result, &mPacket[kHeader + 4 * mLayout.resultIndex], sizeof result);
        result = ToDevice(mLayout.execute.address, ntohl(result));
        if (((result >> mLayout.resultShift) & mLayout.resultMask) != length) {
            Fail("a short write");
        }
        offset += length;
    }
}

void BareFileClient::Close() {
    for (const BareLayout::Write& write : mLayout.close) {
        WriteRegisters({write});
    }
    WriteRegisters({{kPrivilege, 0}});
}
