#pragma once

#include <cstddef>

#include <pthread.h>

/// While it lives, the system has no room for another thread of this process: a new one's stack
/// would have to be larger than the address space.
class NoThreads {
  public:
    NoThreads() {
        (void)pthread_attr_init(&mBefore);
        (void)pthread_getattr_default_np(&mBefore);
        pthread_attr_t tooLarge;
        (void)pthread_attr_init(&tooLarge);
        (void)pthread_attr_setstacksize(&tooLarge, std::size_t{1} << 47U);
        (void)pthread_setattr_default_np(&tooLarge);
        (void)pthread_attr_destroy(&tooLarge);
    }
    ~NoThreads() {
        (void)pthread_setattr_default_np(&mBefore);
        (void)pthread_attr_destroy(&mBefore);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

  private:
    pthread_attr_t mBefore{};
};
