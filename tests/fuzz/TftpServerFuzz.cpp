// Whatever comes to the simulator's TFTP server, each transfer ends in bounded time, keeps no more
// than was sent, and packets that it accepts survive being encoded again.
//
// The input is a sequence of datagrams, each after a length of two bytes, big-endian. The first is
// the request; a length of 0xFFFF lets the next time-out pass instead.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "simulator/tftp/session/TftpDispatch.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

using namespace simulator;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

class CountingSink : public TftpSink {
  public:
    explicit CountingSink(std::size_t& stored) : mStored(stored) {}
    [[nodiscard]] bool Write(std::span<const std::uint8_t> bytes) override {
        mStored += bytes.size();
        return mStored < 100000;
    }
    void Finish() override {}

  private:
    std::size_t& mStored;
};

class ZeroSource : public TftpSource {
  public:
    [[nodiscard]] std::uint64_t Size() const override { return 100000; }
    [[nodiscard]] std::size_t Read(std::span<std::uint8_t> into) override {
        const std::size_t count = std::min(into.size(), mLeft);
        mLeft -= count;
        return count;
    }

  private:
    std::size_t mLeft = 100000;
};

class Files : public TftpFiles {
  public:
    [[nodiscard]] ForWriting OpenForWriting(const std::string& name,
                                            std::optional<std::uint64_t>) override {
        if (name.size() > 20) {
            return TftpError{TftpErrorCode::kFileNotFound, name};
        }
        return std::make_unique<CountingSink>(stored);
    }
    [[nodiscard]] ForReading OpenForReading(const std::string& name) override {
        if (name == "later") {
            return TftpNotYet{};
        }
        return std::make_unique<ZeroSource>();
    }

    std::size_t stored = 0;
};

std::span<const std::uint8_t> Cut(std::span<const std::uint8_t>& rest, bool& timeout) {
    const std::size_t length =
        rest.size() < 2 ? rest.size() : static_cast<std::size_t>(rest[0] << 8U | rest[1]);
    rest = rest.subspan(std::min<std::size_t>(rest.size(), 2));
    timeout = length == 0xFFFF;
    const auto datagram = rest.subspan(0, timeout ? 0 : std::min(length, rest.size()));
    rest = rest.subspan(datagram.size());
    return datagram;
}

// Encoding again what was understood must be understood in the same way.
void CheckEncoding(const TftpPacket& packet) {
    TftpPacket::Bytes again;
    switch (packet.opcode) {
        case TftpOpcode::kReadRequest:
        case TftpOpcode::kWriteRequest:
            again = TftpPacket::Request(packet.opcode, packet.file, packet.mode, packet.options);
            break;
        case TftpOpcode::kOptionAck:
            again = TftpPacket::OptionAck(packet.options);
            break;
        case TftpOpcode::kError:
            again = TftpPacket::Error(packet.error);
            break;
        default:
            return;
    }
    const auto parsed = TftpPacket::Parse(again);
    Require(parsed && parsed->opcode == packet.opcode && parsed->file == packet.file &&
            parsed->mode == packet.mode && parsed->options == packet.options &&
            parsed->error.code == packet.error.code && parsed->error.text == packet.error.text);
}

void CheckOutgoing(TftpSession& session) {
    for (const TftpPacket::Bytes& datagram : session.TakeOutgoing()) {
        Require(TftpPacket::Parse(datagram).has_value());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Files files;
    std::span<const std::uint8_t> rest(bytes, size);
    bool timeout = false;
    TftpSession::Time now{std::chrono::seconds(1)};
    const std::unique_ptr<TftpSession> session =
        DispatchTftpRequest({files, {}, {}}, Cut(rest, timeout));
    if (session == nullptr) {
        return 0;
    }
    session->Start(now);
    CheckOutgoing(*session);
    std::size_t sent = 0;
    while (!rest.empty() && !session->IsOver()) {
        const auto datagram = Cut(rest, timeout);
        if (timeout) {
            now = session->Deadline();
            session->Expire(now);
        } else if (const auto packet = TftpPacket::Parse(datagram)) {
            CheckEncoding(*packet);
            sent += packet->data.size();
            session->Receive(*packet, now);
        }
        CheckOutgoing(*session);
    }
    Require(files.stored <= sent);
    for (int step = 0; !session->IsOver(); ++step) {
        Require(step < 2000 && session->Deadline() != TftpSession::Time::max());
        session->Expire(session->Deadline());
        CheckOutgoing(*session);
    }
    return 0;
}
