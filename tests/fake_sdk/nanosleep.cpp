// Takes the waiting out of the tests: linked with --wrap=nanosleep, through which the standard
// library's sleeps go.
#include <cerrno>
#include <ctime>

#include "Script.h"

extern "C" {
int __real_nanosleep(const timespec* wanted, timespec* left);
int __wrap_nanosleep(const timespec* wanted, timespec* left);
}

int __wrap_nanosleep(const timespec* wanted, timespec* left) {
    Script* const script = Script::Current();
    if (script == nullptr) {
        return __real_nanosleep(wanted, left);
    }
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t rest = script->Sleep(wanted->tv_sec * kSecond + wanted->tv_nsec);
    if (rest == 0) {
        return 0;
    }
    if (left != nullptr) {
        left->tv_sec = rest / kSecond;
        left->tv_nsec = rest % kSecond;
    }
    errno = EINTR;
    return -1;
}
