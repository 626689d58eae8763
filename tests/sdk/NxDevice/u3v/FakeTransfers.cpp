#include "FakeTransfers.h"

#include <algorithm>

namespace {

FakeTransfers* fake = nullptr;

}  // namespace

FakeTransfers::FakeTransfers() {
    fake = this;
}

FakeTransfers::~FakeTransfers() {
    fake = nullptr;
}

void FakeTransfers::End(libusb_transfer* transfer, libusb_transfer_status status, int length) {
    submitted.erase(std::remove(submitted.begin(), submitted.end(), transfer), submitted.end());
    cancelled.erase(transfer);
    transfer->status = status;
    transfer->actual_length = length;
    transfer->callback(transfer);
}

int FakeTransfers::HandleEvents(std::chrono::microseconds wait) {
    ++eventsHandled;
    clock.Pass(std::chrono::microseconds(1));
    if (eventsError != LIBUSB_SUCCESS) {
        return eventsError;
    }
    if (endsCancelled && !cancelled.empty()) {
        End(*cancelled.begin(), LIBUSB_TRANSFER_CANCELLED, lengthOfCancelled);
    } else if (onEvents) {
        onEvents();
    } else {
        clock.Pass(wait);
    }
    return LIBUSB_SUCCESS;
}

// In the place of libusb's own.
extern "C" {
libusb_transfer* LIBUSB_CALL libusb_alloc_transfer(int /*packets*/) {
    return new libusb_transfer{};
}
void LIBUSB_CALL libusb_free_transfer(libusb_transfer* transfer) {
    ++fake->freed;
    delete transfer;
}
int LIBUSB_CALL libusb_submit_transfer(libusb_transfer* transfer) {
    if (fake->submitError == LIBUSB_SUCCESS) {
        fake->submitted.push_back(transfer);
    }
    return fake->submitError;
}
int LIBUSB_CALL libusb_cancel_transfer(libusb_transfer* transfer) {
    fake->cancelled.insert(transfer);
    return LIBUSB_SUCCESS;
}
int LIBUSB_CALL libusb_clear_halt(libusb_device_handle* /*handle*/, unsigned char /*endpoint*/) {
    ++fake->cleared;
    fake->clock.Pass(fake->clearTime);
    return fake->clearError;
}
int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context* /*context*/, timeval* wait,
                                                       int* /*completed*/) {
    return fake->HandleEvents(std::chrono::seconds(wait->tv_sec) +
                              std::chrono::microseconds(wait->tv_usec));
}
}
