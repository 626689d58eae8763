#include "WakeUp.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

namespace simulator {

WakeUp::WakeUp() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeUp::~WakeUp() {
    if (IsUsable()) {
        close(mDescriptor);
    }
}

void WakeUp::Signal() const {
    (void)eventfd_write(mDescriptor, 1);
}

bool WakeUp::Wait(const std::vector<int>& sockets, Clock::time_point until) const {
    std::vector<pollfd> descriptors{{mDescriptor, POLLIN, 0}};
    for (const int socket : sockets) {
        descriptors.push_back({socket, POLLIN, 0});
    }
    timespec limit{};
    const bool limited = until != Clock::time_point::max();
    if (limited) {
        const auto left =
            std::max<std::chrono::nanoseconds>(until - Clock::now(), std::chrono::nanoseconds(0));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        limit = {seconds.count(), (left - seconds).count()};
    }
    (void)ppoll(descriptors.data(), descriptors.size(), limited ? &limit : nullptr, nullptr);
    return (descriptors[0].revents & POLLIN) == 0;
}

}  // namespace simulator
