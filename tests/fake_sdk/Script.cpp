#include "Script.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include <sched.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr std::chrono::seconds kLimit(20);
constexpr std::chrono::microseconds kPoll(200);

std::atomic<Script*> current = nullptr;

std::size_t ThreadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

// With threads that the process always has: the thread sanitizer starts one of its own together
// with the first thread of the program, so one is started, and gone, before they are counted.
std::size_t CountLastingThreads() {
    pid_t id = 0;
    std::thread([&id] { id = gettid(); }).join();
    const std::filesystem::path task = "/proc/self/task/" + std::to_string(id);
    while (std::filesystem::exists(task)) {
        (void)sched_yield();
    }
    return ThreadCount();
}

template <typename Value>
const Value& AtSleep(const std::vector<Value>& values, std::size_t sleeps) {
    return values.at(std::min(sleeps, values.size() - 1));
}

}  // namespace

Script::Script() : mThreadsAtStart(CountLastingThreads()), mPrevious(current.exchange(this)) {}

Script::~Script() {
    current = mPrevious;
    for (const ExpectedCall& step : mExpected) {
        FAIL_AT_STEP(step.where) << "expected but never called: " << step.call;
    }
    EXPECT_EQ(files, 0) << "device files left behind";
    EXPECT_EQ(clients, 0) << "TFTP clients left behind";
}

Script* Script::Current() {
    return current;
}

Script& Script::Active() {
    Script* const script = current;
    if (script == nullptr) {
        ADD_FAILURE() << "an SDK call without a script";
        std::abort();
    }
    return *script;
}

ExpectedCall& Script::Expect(const std::string& call, StepPlace where) {
    const std::lock_guard<std::mutex> lock(mGuard);
    ExpectedCall step;
    step.call = call;
    step.where = where;
    mExpected.push_back(step);
    return mExpected.back();
}

void Script::Clear() {
    const std::lock_guard<std::mutex> lock(mGuard);
    mExpected.clear();
}

ExpectedCall Script::Take(const std::string& call) {
    std::unique_lock<std::mutex> lock(mGuard);
    mLog.push_back(call);
    if (mExpected.empty() || mExpected.front().call != call) {
        if (mExpected.empty()) {
            ADD_FAILURE() << "called: " << call << "\nexpected: nothing more";
        } else {
            FAIL_AT_STEP(mExpected.front().where)
                << "called: " << call << "\nexpected: " << mExpected.front().call;
        }
        ExpectedCall unexpected;
        unexpected.result = NxResult(0xFFFF, NxString("unexpected call"));
        return unexpected;
    }
    ExpectedCall step = mExpected.front();
    mExpected.pop_front();
    if (step.heldUntilSleep != 0) {
        mHeldUntil = step.heldUntilSleep;
        mChanged.notify_all();
        const bool released = mChanged.wait_for(
            lock, kLimit, [this, &step] { return mSleeps.size() >= step.heldUntilSleep; });
        if (!released) {
            FAIL_AT_STEP(step.where) << call << " waits for sleep " << step.heldUntilSleep;
        }
        mHeldUntil = 0;
    }
    lock.unlock();
    if (step.action) {
        step.action();
    }
    return step;
}

void Script::Note(const std::string& call) {
    const std::lock_guard<std::mutex> lock(mGuard);
    mLog.push_back(call);
}

std::vector<std::string> Script::Log() const {
    const std::lock_guard<std::mutex> lock(mGuard);
    return mLog;
}

std::size_t Script::CountOf(const std::string& call) const {
    const std::lock_guard<std::mutex> lock(mGuard);
    return static_cast<std::size_t>(std::count(mLog.begin(), mLog.end(), call));
}

std::int64_t Script::Sleep(std::int64_t nanoseconds) {
    std::unique_lock<std::mutex> lock(mGuard);
    mSleeps.push_back(nanoseconds);
    if (interruptedSleeps > 0) {
        --interruptedSleeps;
        return nanoseconds - nanoseconds / 2;
    }
    mChanged.notify_all();
    WaitUntilSettled(lock);
    lock.unlock();
    if (onSleep) {
        onSleep();
    }
    return 0;
}

std::vector<std::int64_t> Script::Sleeps() const {
    const std::lock_guard<std::mutex> lock(mGuard);
    return mSleeps;
}

void Script::WaitUntilSettled() {
    std::unique_lock<std::mutex> lock(mGuard);
    WaitUntilSettled(lock);
}

void Script::WaitUntilSettled(std::unique_lock<std::mutex>& lock) {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (mHeldUntil <= mSleeps.size() && ThreadCount() > mThreadsAtStart) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "a thread neither ends nor waits for the script";
            return;
        }
        (void)mChanged.wait_for(lock, kPoll);
    }
}

Script::Progress Script::CurrentProgress() const {
    return AtSleep(progress, SleepCount());
}

std::string Script::CurrentWarning() const {
    return AtSleep(warnings, SleepCount());
}

std::size_t Script::SleepCount() const {
    const std::lock_guard<std::mutex> lock(mGuard);
    return mSleeps.size();
}
