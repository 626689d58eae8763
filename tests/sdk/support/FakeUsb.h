#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <libusb.h>

#include "FakeClock.h"

/// A USB3 Vision device of the libusb that FakeUsb simulates.
struct libusb_device {
    std::map<std::uint8_t, std::u16string> texts{{1, u"123456789ABC"}, {2, u"Maker"}, {3, u"Model"},
                                                 {4, u"1.0"},          {5, u"7"},     {6, u"Left"}};
    std::chrono::milliseconds delay{0};  ///< of every answer; one that is too late is none
    int late = 0;                        ///< how many of the next answers never come
    std::uint16_t language = 0x0409;     ///< the only one; texts in others are refused
    std::uint8_t port = 3;               ///< of bus 250
};

/// Simulates libusb for the libraries that this program is linked with, and the clock: nothing but
/// waiting for a device takes time. One at a time.
class FakeUsb {
  public:
    FakeUsb();
    ~FakeUsb();
    FakeUsb(const FakeUsb&) = delete;
    FakeUsb& operator=(const FakeUsb&) = delete;

    /// Waits as long as the device takes to answer, and no longer than that.
    /// @return false when the answer is too late
    bool Await(libusb_device& device, std::chrono::milliseconds timeout);

    FakeClock clock;
    std::vector<libusb_device> devices;
    std::vector<std::chrono::milliseconds> timeouts;  ///< of the requests for texts
};
