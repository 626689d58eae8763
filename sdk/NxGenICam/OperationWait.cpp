#include "OperationWait.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <NxBase/NxResultCodes.h>

namespace {

// A device that erases its flash first takes seconds; one that is still busy later hangs.
constexpr std::chrono::seconds kLongestOperation{10};
constexpr std::chrono::microseconds kFirstPause{200};
constexpr std::chrono::microseconds kLongestPause{50000};

}  // namespace

OperationWait::OperationWait(std::string what)
    : mWhat(std::move(what)),
      mDeadline(std::chrono::steady_clock::now() + kLongestOperation),
      mNextPause(kFirstPause) {}

NxResult OperationWait::Pause() {
    if (std::chrono::steady_clock::now() >= mDeadline) {
        return NxResult(kNxTimeout, mWhat + " was not done after " +
                                        std::to_string(kLongestOperation.count()) +
                                        " s; restart the device");
    }
    std::this_thread::sleep_for(mNextPause);
    mNextPause = std::min(mNextPause * 2, kLongestPause);
    return {};
}
