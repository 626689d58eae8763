#pragma once

#include <atomic>
#include <deque>
#include <string>

#include <internal/NxSystem/DatagramSocket.h>

#include "StepPlace.h"

/// A socket that follows an ordered script in a time of its own. Whatever departs from the script,
/// steps that are left over included, is a test failure at the line of that step.
class ScriptedSocket : public DatagramSocket {
  public:
    ~ScriptedSocket() override;

    /// The code under test must send exactly this next.
    ScriptedSocket& ExpectSend(const Endpoint& to, const std::string& datagram,
                               StepPlace where = StepPlace::Current());
    /// The next Receive gets this, that long after the step before.
    ScriptedSocket& Reply(const Endpoint& from, const std::string& datagram,
                          Clock::duration after = std::chrono::microseconds(100),
                          StepPlace where = StepPlace::Current());
    /// The next Receive gets nothing until its deadline, which must lie that far ahead.
    ScriptedSocket& TimeOut(Clock::duration shortest = {},
                            Clock::duration longest = std::chrono::seconds(10),
                            StepPlace where = StepPlace::Current());
    /// The next Send or Receive fails with that code.
    ScriptedSocket& Fail(unsigned int code, StepPlace where = StepPlace::Current());

    /// Lets time pass between the steps.
    void Pass(Clock::duration time) { mNow = mNow.load() + time; }

    NxResult Send(const Endpoint& to, std::span<const std::byte> datagram) override;
    NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline, std::size_t& length,
                     Endpoint& from, bool& timedOut) override;
    [[nodiscard]] Clock::time_point Now() const override { return mNow; }

  private:
    enum class Kind { kExpectSend, kReply, kTimeOut, kFail };
    struct Step {
        Kind kind;
        StepPlace where;
        Endpoint endpoint;
        std::string datagram;
        Clock::duration shortest{};
        Clock::duration longest{};
        unsigned int code = 0;
    };

    [[nodiscard]] bool Next(Kind kind, const std::string& instead, Step& step);

    std::deque<Step> mSteps;
    // Atomic for a thread of the code under test that looks at the clock meanwhile.
    std::atomic<Clock::time_point> mNow{Clock::time_point(std::chrono::hours(1))};
    bool mBroken = false;
};
