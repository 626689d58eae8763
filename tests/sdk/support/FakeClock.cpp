#include "FakeClock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr long kNanoseconds = 1000000000;

FakeClock* fake = nullptr;

}  // namespace

FakeClock::FakeClock() {
    fake = this;
}

FakeClock::~FakeClock() {
    fake = nullptr;
}

// In the place of the system's own, which the libraries would call otherwise.
extern "C" {
[[gnu::visibility("default")]] int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock != CLOCK_MONOTONIC || fake == nullptr) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    const auto passed = fake->GetPassed().count();
    time->tv_sec = 1000 + passed / kNanoseconds;
    time->tv_nsec = passed % kNanoseconds;
    return 0;
}
[[gnu::visibility("default")]] int nanosleep(const timespec* time, timespec* left) {
    if (fake == nullptr) {
        return static_cast<int>(syscall(SYS_nanosleep, time, left));
    }
    fake->Pass(std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec));
    return 0;
}
}
