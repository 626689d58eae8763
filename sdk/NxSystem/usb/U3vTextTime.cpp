#include <internal/NxSystem/U3vTextTime.h>

#include <algorithm>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kForOne{500};

}  // namespace

U3vTextTime::U3vTextTime(std::size_t devices, milliseconds forAll)
    : mEnd(Clock::now() + forAll), mDevices(devices) {}

milliseconds U3vTextTime::TakeShare() {
    const auto left = std::chrono::floor<milliseconds>(mEnd - Clock::now());
    const auto devices = static_cast<milliseconds::rep>(std::max<std::size_t>(mDevices, 1));
    mDevices -= mDevices > 0 ? 1 : 0;
    return std::clamp(left / devices, milliseconds(0), kForOne);
}
