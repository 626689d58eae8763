#include "Interruption.h"

#include <time.h>

Interruption::Interruption() {
    (void)sigemptyset(&mSignals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        (void)sigaddset(&mSignals, signal);
    }
    (void)pthread_sigmask(SIG_BLOCK, &mSignals, &mBefore);
}

Interruption::~Interruption() {
    (void)pthread_sigmask(SIG_SETMASK, &mBefore, nullptr);
}

bool Interruption::IsPending() const {
    sigset_t pending{};
    (void)sigpending(&pending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (sigismember(&pending, signal) == 1) {
            return true;
        }
    }
    return false;
}

bool Interruption::WaitFor(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(time - seconds).count()};
    if (sigtimedwait(&mSignals, nullptr, &limit) < 0) {
        return false;
    }
    ++mCount;
    return true;
}
