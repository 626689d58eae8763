#include "ScriptedSocket.h"

#include <algorithm>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "Bytes.h"

ScriptedSocket::~ScriptedSocket() {
    if (!mBroken && !mSteps.empty()) {
        FAIL_AT_STEP(mSteps.front().where)
            << "the script ends here, with " << mSteps.size() << " steps left over";
    }
}

ScriptedSocket& ScriptedSocket::ExpectSend(const Endpoint& to, const std::string& datagram,
                                           StepPlace where) {
    mSteps.push_back({Kind::kExpectSend, where, to, datagram});
    return *this;
}

ScriptedSocket& ScriptedSocket::Reply(const Endpoint& from, const std::string& datagram,
                                      Clock::duration after, StepPlace where) {
    mSteps.push_back({Kind::kReply, where, from, datagram, after});
    return *this;
}

ScriptedSocket& ScriptedSocket::TimeOut(Clock::duration shortest, Clock::duration longest,
                                        StepPlace where) {
    mSteps.push_back({Kind::kTimeOut, where, {}, {}, shortest, longest});
    return *this;
}

ScriptedSocket& ScriptedSocket::Fail(unsigned int code, StepPlace where) {
    mSteps.push_back({Kind::kFail, where, {}, {}, {}, {}, code});
    return *this;
}

bool ScriptedSocket::Next(Kind kind, const std::string& instead, Step& step) {
    if (mBroken || mSteps.empty() ||
        (mSteps.front().kind != kind && mSteps.front().kind != Kind::kFail)) {
        if (!mBroken && mSteps.empty()) {
            ADD_FAILURE() << "the script is over, but not the code: " << instead;
        } else if (!mBroken) {
            FAIL_AT_STEP(mSteps.front().where) << "in the place of this step: " << instead;
        }
        mBroken = true;
        return false;
    }
    step = mSteps.front();
    mSteps.pop_front();
    return true;
}

NxResult ScriptedSocket::Send(const Endpoint& to, std::span<const std::byte> datagram) {
    Step step{};
    if (!Next(Kind::kExpectSend, "sending " + testing::PrintToString(TextOf(datagram)), step)) {
        return NxResult(kNxSocket, "off the script");
    }
    if (step.kind == Kind::kFail) {
        return NxResult(step.code, "as scripted");
    }
    const testing::ScopedTrace trace(step.where.FileName(), step.where.Line(),
                                     "this step of the script");
    EXPECT_EQ(to, step.endpoint);
    EXPECT_EQ(TextOf(datagram), step.datagram);
    return NxResult();
}

NxResult ScriptedSocket::Receive(std::span<std::byte> buffer, Clock::time_point deadline,
                                 std::size_t& length, Endpoint& from, bool& timedOut) {
    Step step{};
    timedOut = false;
    // A look at what has come already: nothing, while the script waits for a datagram.
    if (deadline <= Now() && !mSteps.empty() &&
        (mSteps.front().kind == Kind::kExpectSend || mSteps.front().kind == Kind::kFail)) {
        timedOut = true;
        return NxResult();
    }
    if (!mSteps.empty() && mSteps.front().kind == Kind::kTimeOut) {
        step = mSteps.front();
        mSteps.pop_front();
        const testing::ScopedTrace trace(step.where.FileName(), step.where.Line(),
                                         "this step of the script");
        const Clock::duration wait = deadline - Now();
        EXPECT_GE(wait, step.shortest);
        EXPECT_LE(wait, step.longest);
        mNow = std::max(Now(), deadline);
        timedOut = true;
        return NxResult();
    }
    if (!Next(Kind::kReply, "receiving", step)) {
        return NxResult(kNxSocket, "off the script");
    }
    if (step.kind == Kind::kFail) {
        return NxResult(step.code, "as scripted");
    }
    Pass(step.shortest);
    from = step.endpoint;
    length = std::min(buffer.size(), step.datagram.size());
    std::copy_n(BytesOf(step.datagram).begin(), length, buffer.begin());
    return NxResult();
}
