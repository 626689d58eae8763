#include "OperationPoll.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

// A device may erase its flash within an operation: as long as it answers, it is at work.
constexpr std::chrono::seconds kLongestOperation{60};
constexpr std::chrono::microseconds kFirstPause{200};
constexpr std::chrono::microseconds kLongestPause{50000};

}  // namespace

OperationPoll::OperationPoll(std::string operation, std::string device, Clock::time_point now)
    : mOperation(std::move(operation)),
      mDevice(std::move(device)),
      mDeadline(now + kLongestOperation),
      mNextPause(kFirstPause) {}

NxResult OperationPoll::Pause() {
    std::chrono::microseconds pause{};
    NX_RETURN_IF_FAILED(Next(Clock::now(), pause));
    std::this_thread::sleep_for(pause);
    return {};
}

NxResult OperationPoll::Next(Clock::time_point now, std::chrono::microseconds& pause) {
    if (now >= mDeadline) {
        return NxResult(kNxTimeout,
                        mDevice + " is still busy with " + mOperation + " after " +
                            std::to_string(kLongestOperation.count()) +
                            " s; keep it powered, check its status and try again later");
    }
    pause = mNextPause;
    mNextPause = std::min(mNextPause * 2, kLongestPause);
    return {};
}
