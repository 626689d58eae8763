#include <NxSystem/U3vTextTime.h>

#include <algorithm>

namespace {

using std::chrono::milliseconds;

// Below the second for which discovery listens to the network, and with the 4 seconds for the
// limits and the description of one of the devices below the 5 seconds of a connection.
constexpr milliseconds kForAll{800};
constexpr milliseconds kForOne{500};

}  // namespace

U3vTextTime::U3vTextTime(std::size_t devices) : mEnd(Clock::now() + kForAll), mDevices(devices) {}

milliseconds U3vTextTime::TakeShare() {
    const auto left = std::chrono::floor<milliseconds>(mEnd - Clock::now());
    const auto devices = static_cast<milliseconds::rep>(std::max<std::size_t>(mDevices, 1));
    mDevices -= mDevices > 0 ? 1 : 0;
    return std::clamp(left / devices, milliseconds(0), kForOne);
}
