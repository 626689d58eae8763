// Lets a test look at the moment before a lock: linked with --wrap=pthread_mutex_lock, through
// which the standard library's locks go.
#include <pthread.h>

#include "Script.h"

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    Script* const script = Script::Current();
    if (script != nullptr && script->onLock) {
        script->onLock(mutex);
    }
    return __real_pthread_mutex_lock(mutex);
}
