#pragma once

#include <chrono>
#include <functional>
#include <set>
#include <vector>

#include <libusb.h>

#include "FakeClock.h"

/// Simulates libusb's asynchronous transfers and the clock. One at a time.
class FakeTransfers {
  public:
    FakeTransfers();
    ~FakeTransfers();
    FakeTransfers(const FakeTransfers&) = delete;
    FakeTransfers& operator=(const FakeTransfers&) = delete;

    /// Ends a transfer, as libusb does when it handles events.
    void End(libusb_transfer* transfer, libusb_transfer_status status, int length = 0);
    /// What libusb does when it handles events.
    int HandleEvents(std::chrono::microseconds wait);

    FakeClock clock;
    int submitError = LIBUSB_SUCCESS;
    int eventsError = LIBUSB_SUCCESS;  ///< at once, and no transfer ends
    bool endsCancelled = true;
    int lengthOfCancelled = 0;
    /// What happens when events are handled; nothing, after the time that is waited, when empty.
    std::function<void()> onEvents;

    int clearError = LIBUSB_SUCCESS;
    std::chrono::milliseconds clearTime{0};  ///< of clearing one endpoint
    int cleared = 0;

    std::vector<libusb_transfer*> submitted;  ///< and not ended
    std::set<libusb_transfer*> cancelled;     ///< and not ended
    int eventsHandled = 0;
    int freed = 0;
};
