#pragma once

#include <utility>

#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

/// A second process of the test, which runs a function and then waits to be ended.
class OtherProcess {
  public:
    /// Returns when the function has.
    template <typename Function>
    explicit OtherProcess(Function&& run) {
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0) {
            return;
        }
        mId = ::fork();
        if (mId == 0) {
            (void)::close(ends[0]);
            const bool result = std::forward<Function>(run)();
            const char byte = result ? 1 : 0;
            (void)!::write(ends[1], &byte, 1);
            for (;;) {
                (void)::pause();
            }
        }
        (void)::close(ends[1]);
        char byte = 0;
        mResult = ::read(ends[0], &byte, 1) == 1 && byte == 1;
        (void)::close(ends[0]);
    }
    ~OtherProcess() { Kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    /// What the function returned.
    [[nodiscard]] bool Result() const { return mResult; }
    /// Ends it without giving it the chance to clean up.
    void Kill() {
        if (mId > 0) {
            (void)::kill(mId, SIGKILL);
            (void)::waitpid(mId, nullptr, 0);
            mId = -1;
        }
    }

  private:
    pid_t mId = -1;
    bool mResult = false;
};
