#include "ControlState.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <span>

#include <poll.h>

#include <internal/NxBase/ByteOrder.h>
#include <internal/NxSystem/UdpSocket.h>

namespace {

using Clock = UdpSocket::Clock;
using std::chrono::milliseconds;

constexpr std::uint16_t kGvcpPort = 3956;
constexpr std::uint16_t kReadRegister = 0x0080;
constexpr std::uint16_t kReadRegisterAck = 0x0081;
constexpr std::uint16_t kAccessDenied = 0x8006;
constexpr std::uint32_t kPrivilege = 0x0a00;
constexpr std::uint32_t kControllerAddress = 0x0a14;
constexpr std::uint32_t kControlled = 0x3;  // exclusive or not

// The register tells what the ack is about: two questions, each with an ID of its own.
constexpr std::array<std::uint32_t, 2> kRegisters{kPrivilege, kControllerAddress};
constexpr std::array<milliseconds, 5> kSendTimes{
    milliseconds(0), milliseconds(100), milliseconds(250), milliseconds(450), milliseconds(700)};
constexpr milliseconds kWindow(1000);

class Question {
  public:
    explicit Question(const ControlQuestion& question)
        : mDevice{question.address, kGvcpPort},
          mIsOpen(mSocket.Open(question.interfaceName, 0).IsOK()) {
        if (!mIsOpen) {
            mState.kind = ControlState::Kind::kRefused;  // not asked, so not silent
        }
    }

    [[nodiscard]] int Descriptor() const { return mIsOpen ? mSocket.Descriptor() : -1; }
    [[nodiscard]] bool IsAnswered() const {
        return !mIsOpen || (mState.kind != ControlState::Kind::kSilent &&
                            (mState.kind != ControlState::Kind::kInUse || mHasController));
    }
    [[nodiscard]] const ControlState& State() const { return mState; }

    void Ask() {
        for (std::size_t i = 0; i < kRegisters.size() && !IsAnswered(); ++i) {
            std::array<std::byte, 12> command{std::byte{0x42}, std::byte{0x01}};
            ByteOrder::StoreBig16(command.data() + 2, kReadRegister);
            ByteOrder::StoreBig16(command.data() + 4, 4);
            ByteOrder::StoreBig16(command.data() + 6, static_cast<std::uint16_t>(i + 1));
            ByteOrder::StoreBig32(command.data() + 8, kRegisters[i]);
            (void)mSocket.Send(mDevice, command);
        }
    }

    void Collect() {
        std::array<std::byte, 64> datagram{};
        std::size_t length = 0;
        Endpoint sender;
        bool timedOut = false;
        for (int i = 0; i < UdpSocket::kMostAtOnce; ++i) {
            const NxResult result =
                mSocket.Receive(datagram, Clock::time_point(), length, sender, timedOut);
            if (!result.IsOK() || timedOut) {
                return;
            }
            if (sender == mDevice) {
                Take(std::span(datagram).first(length));
            }
        }
    }

  private:
    void Take(std::span<const std::byte> ack) {
        if (ack.size() < 8 || ByteOrder::LoadBig16(ack.data() + 2) != kReadRegisterAck) {
            return;
        }
        const std::uint16_t status = ByteOrder::LoadBig16(ack.data());
        const std::uint16_t id = ByteOrder::LoadBig16(ack.data() + 6);
        const bool hasValue = status == 0 && ack.size() >= 12;
        const std::uint32_t value = hasValue ? ByteOrder::LoadBig32(ack.data() + 8) : 0;
        if (id == 2) {
            mHasController = true;
            mState.controller = value;
        } else if (id == 1 && hasValue) {
            mState.kind =
                (value & kControlled) != 0 ? ControlState::Kind::kInUse : ControlState::Kind::kFree;
        } else if (id == 1) {
            // An application with exclusive access keeps even readers out.
            mState.kind =
                status == kAccessDenied ? ControlState::Kind::kInUse : ControlState::Kind::kRefused;
        }
    }

    UdpSocket mSocket;
    Endpoint mDevice;
    bool mIsOpen;
    bool mHasController = false;
    ControlState mState;
};

using Questions = std::vector<std::unique_ptr<Question>>;

bool AreAnswered(const Questions& questions) {
    return std::ranges::all_of(questions, [](const auto& one) { return one->IsAnswered(); });
}

void Listen(const Questions& questions, Clock::time_point until) {
    std::vector<pollfd> entries;
    for (const auto& question : questions) {
        if (question->Descriptor() >= 0) {
            entries.push_back({question->Descriptor(), POLLIN, 0});
        }
    }
    while (!AreAnswered(questions)) {
        const auto remaining =
            std::max(std::chrono::ceil<milliseconds>(until - Clock::now()), milliseconds(0));
        (void)poll(entries.data(), entries.size(), static_cast<int>(remaining.count()));
        for (const auto& question : questions) {
            if (question->Descriptor() >= 0) {
                question->Collect();
            }
        }
        if (remaining.count() == 0) {
            return;
        }
    }
}

}  // namespace

std::vector<ControlState> AskForControlStates(const std::vector<ControlQuestion>& asked) {
    Questions questions;
    for (const ControlQuestion& question : asked) {
        questions.push_back(std::make_unique<Question>(question));
    }
    const auto start = Clock::now();
    for (const milliseconds sendTime : kSendTimes) {
        if (sendTime.count() > 0) {
            Listen(questions, start + sendTime);
        }
        for (const auto& question : questions) {
            question->Ask();
        }
    }
    Listen(questions, start + kWindow);
    std::vector<ControlState> states;
    for (const auto& question : questions) {
        states.push_back(question->State());
    }
    return states;
}
