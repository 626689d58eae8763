#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <NxBase/NxResult.h>

#include "DeviceRecord.h"
#include "ExpectedCall.h"
#include "StepPlace.h"

/// What the scripted SDK answers during one test: the ordered calls that the code under test must
/// make, and the state that its questions are answered from.
///
/// The newest Script is the one in force. A call out of order fails the test, and so does a call
/// that was expected and not made by the end of the script. The failure is reported at the line of
/// the test that expects the call.
class Script {
  public:
    struct EnumEntry {
        std::string name;
        std::string displayName;
    };
    using Progress = std::pair<long, long>;

    Script();
    ~Script();
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    /// The script in force; null between tests.
    static Script* Current();
    /// The same, where one must be in force.
    static Script& Active();

    /// Appends a call to the script, written as "Class::Operation argument…".
    ExpectedCall& Expect(const std::string& call, StepPlace where = StepPlace::Current());
    /// Forgets the calls that were not made yet.
    void Clear();

    /// For the scripted classes: the next step, which must be that call. Blocks as the step says.
    ExpectedCall Take(const std::string& call);
    /// For the scripted classes: notes a question that has no place in the order.
    void Note(const std::string& call);
    /// Every call and question so far.
    [[nodiscard]] std::vector<std::string> Log() const;
    [[nodiscard]] std::size_t CountOf(const std::string& call) const;

    /// Called in the place of nanosleep.
    /// @return the nanoseconds not slept, when the script interrupts this sleep; else 0
    std::int64_t Sleep(std::int64_t nanoseconds);
    /// Nanoseconds of every sleep so far.
    [[nodiscard]] std::vector<std::int64_t> Sleeps() const;
    /// Waits until every other thread has ended or one of them is held by the script.
    void WaitUntilSettled();

    /// Progress and warning of the running transfer; entry n holds from the n-th sleep on.
    std::vector<Progress> progress = {{0, 0}};
    std::vector<std::string> warnings = {""};
    [[nodiscard]] Progress CurrentProgress() const;
    [[nodiscard]] std::string CurrentWarning() const;

    // The world that discovery finds.
    std::vector<InterfaceRecord> interfaces;
    NxResult findResult;

    // The node map of every device.
    bool fileAccess = true;
    std::map<std::string, std::vector<EnumEntry>> enums;
    std::map<std::string, std::string> strings;

    /// What asking for progress and warning results in; their values are handed out none the less.
    NxResult progressResult;
    NxResult warningResult;

    /// Run on the sleeping thread, after the sleep was noted.
    std::function<void()> onSleep;
    /// Run before every lock of a mutex by the code under test or the tests. Must lock nothing.
    std::function<void(const void* mutex)> onLock;
    /// That many of the next sleeps are interrupted half-way, as by a signal.
    int interruptedSleeps = 0;

    /// Objects of the SDK that are alive at the moment.
    int connections = 0;
    int files = 0;
    int clients = 0;
    /// The objects of the SDK that were made last.
    const void* newestConnection = nullptr;
    const void* newestFile = nullptr;
    const void* newestClient = nullptr;

  private:
    void WaitUntilSettled(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] std::size_t SleepCount() const;

    mutable std::mutex mGuard;
    std::condition_variable mChanged;
    std::deque<ExpectedCall> mExpected;
    std::vector<std::string> mLog;
    std::vector<std::int64_t> mSleeps;
    std::size_t mHeldUntil = 0;
    std::size_t mThreadsAtStart;
    Script* mPrevious;
};
