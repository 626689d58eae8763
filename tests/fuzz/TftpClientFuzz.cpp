// A server that answers whatever it likes: the first byte of the input chooses the direction, the
// rest is a row of datagrams, each after two bytes of flags and length. A transfer must end, keep
// to its buffer, and describe what happened in one printable line.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include <internal/NxSystem/DatagramSocket.h>

#include "tftp/TftpReader.h"
#include "tftp/TftpWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The sequences are looked for as bytes, without the code under test: C1, U+2028 to U+202E and
// U+2066 to U+2069 in UTF-8.
bool IsPrintable(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = [&](std::size_t at) {
            return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
        };
        const bool isC1 = byte(i) == 0xC2 && byte(i + 1) >= 0x80 && byte(i + 1) < 0xA0;
        const bool isTurn = byte(i) == 0xE2 &&
                            ((byte(i + 1) == 0x80 && byte(i + 2) >= 0xA8 && byte(i + 2) <= 0xAE) ||
                             (byte(i + 1) == 0x81 && byte(i + 2) >= 0xA6 && byte(i + 2) <= 0xA9));
        if (byte(i) < 0x20 || byte(i) == 0x7F || isC1 || isTurn) {
            return false;
        }
    }
    return text.size() < 1000;
}

constexpr Endpoint kServer{0x0a000001, 69};

class InputSocket : public DatagramSocket {
  public:
    explicit InputSocket(std::span<const std::byte> input) : mInput(input) {}

    NxResult Send(const Endpoint& /*to*/, std::span<const std::byte> datagram) override {
        Require(datagram.size() >= 4);
        mNow += std::chrono::microseconds(1);
        return NxResult();
    }
    NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline, std::size_t& length,
                     Endpoint& from, bool& timedOut) override {
        timedOut = mInput.size() < 2;
        if (timedOut) {
            mNow = std::max(mNow, deadline);
            return NxResult();
        }
        const unsigned int flags = std::to_integer<unsigned int>(mInput[0]);
        length = std::min<std::size_t>(std::to_integer<std::size_t>(mInput[1]), mInput.size() - 2);
        std::copy_n(mInput.begin() + 2, length, buffer.begin());
        mInput = mInput.subspan(2 + length);
        from = {kServer.address + (flags & 1U), static_cast<std::uint16_t>(4000 + (flags & 2U))};
        mNow += std::chrono::milliseconds(flags & 4U ? 30 : 1);
        return NxResult();
    }
    [[nodiscard]] Clock::time_point Now() const override { return mNow; }

  private:
    std::span<const std::byte> mInput;
    Clock::time_point mNow{std::chrono::hours(1)};
};

class PatternSource : public TftpSource {
  public:
    [[nodiscard]] std::uint64_t Size() const override { return 3000; }
    NxResult Read(std::uint64_t offset, std::span<std::byte> buffer) override {
        Require(offset + buffer.size() <= Size());
        std::fill(buffer.begin(), buffer.end(), std::byte{0x55});
        return NxResult();
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    InputSocket socket(std::as_bytes(std::span(bytes, size)).subspan(1));
    TftpMonitor monitor;
    TftpOptions wanted;
    wanted.blockSize = 1468;
    wanted.windowSize = 4;
    wanted.timeout = 1;
    const auto start = socket.Now();
    TftpSession session(socket, kServer, "the server", monitor);
    NxResult result;
    if ((bytes[0] & 1U) != 0) {
        PatternSource source;
        result = TftpWriter(session, source).Run("file", wanted);
        Require(monitor.Done() <= source.Size());
    } else {
        std::vector<std::byte> buffer(1024);
        TftpReader reader(session, buffer);
        result = reader.Run("file", wanted);
        Require(reader.Received() <= buffer.size() && monitor.Done() <= buffer.size());
    }
    Require(IsPrintable(result.GetDescription().GetAscii()));
    Require(socket.Now() - start < std::chrono::minutes(10));
    return 0;
}
