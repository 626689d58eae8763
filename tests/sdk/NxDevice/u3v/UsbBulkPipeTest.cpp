#include "u3v/UsbBulkPipe.h"

#include <array>
#include <chrono>
#include <cstddef>

#include <gtest/gtest.h>

#include "FakeTransfers.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// For each of two transfers that libusb does not end.
constexpr seconds kGivingUp{2};
// A call to libusb that fails at once takes a microsecond of the clock's: thousands of them are a
// processor that does nothing else.
constexpr int kFewCalls = 500;

class UsbBulkPipeTest : public testing::Test {
  protected:
    // What libusb never ended is in nobody's hands.
    ~UsbBulkPipeTest() override {
        for (libusb_transfer* transfer : mUsb.submitted) {
            delete transfer;
        }
    }

    FakeTransfers mUsb;
    UsbBulkPipe mPipe;
    std::array<std::byte, 16> mBytes{};
    std::size_t mLength = 99;
};

}  // namespace

TEST_F(UsbBulkPipeTest, ReceivesWhatTheDeviceSends) {
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(0), LIBUSB_TRANSFER_COMPLETED, 5); };
    EXPECT_EQ(mPipe.Receive(mBytes, milliseconds(100), mLength), LIBUSB_SUCCESS);
    EXPECT_EQ(mLength, 5U);
}

TEST_F(UsbBulkPipeTest, WaitsAsLongAsItIsToldAndTellsWhatCameUntilThen) {
    mUsb.lengthOfCancelled = 7;
    EXPECT_EQ(mPipe.Receive(mBytes, milliseconds(100), mLength), LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(mLength, 7U);
    EXPECT_GE(mUsb.clock.GetPassed(), milliseconds(100));
    EXPECT_LT(mUsb.clock.GetPassed(), milliseconds(101));
    EXPECT_EQ(mUsb.freed, 1);
}

TEST_F(UsbBulkPipeTest, TellsHowATransferFailed) {
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(0), LIBUSB_TRANSFER_STALL); };
    EXPECT_EQ(mPipe.Receive(mBytes, milliseconds(100), mLength), LIBUSB_ERROR_PIPE);
    EXPECT_EQ(mPipe.Send(mBytes, milliseconds(100)), LIBUSB_ERROR_PIPE);
    mUsb.submitError = LIBUSB_ERROR_NO_DEVICE;
    mLength = 99;
    EXPECT_EQ(mPipe.Receive(mBytes, milliseconds(100), mLength), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(mLength, 0U);
    EXPECT_EQ(mPipe.Send(mBytes, milliseconds(100)), LIBUSB_ERROR_NO_DEVICE);
}

TEST_F(UsbBulkPipeTest, HasSentOnlyWhatTheDeviceTookAsAWhole) {
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(0), LIBUSB_TRANSFER_COMPLETED, 16); };
    EXPECT_EQ(mPipe.Send(mBytes, milliseconds(100)), LIBUSB_SUCCESS);
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(0), LIBUSB_TRANSFER_COMPLETED, 15); };
    EXPECT_EQ(mPipe.Send(mBytes, milliseconds(100)), LIBUSB_ERROR_IO);
}

TEST_F(UsbBulkPipeTest, EndsWhenLibusbHandlesNoEvents) {
    mUsb.eventsError = LIBUSB_ERROR_IO;
    EXPECT_NE(mPipe.Receive(mBytes, milliseconds(100), mLength), LIBUSB_SUCCESS);
    EXPECT_EQ(mLength, 0U);
    EXPECT_NE(mPipe.Send(mBytes, milliseconds(100)), LIBUSB_SUCCESS);
    EXPECT_LE(mUsb.clock.GetPassed(), milliseconds(200) + kGivingUp + milliseconds(100));
    EXPECT_LT(mUsb.eventsHandled, kFewCalls);
}

TEST_F(UsbBulkPipeTest, LeavesTheProcessorToOthersWhileAnExchangeCannotGoOn) {
    mUsb.eventsError = LIBUSB_ERROR_IO;
    UsbPipe::Sending sending;
    std::array<std::byte, 16> answer{};
    EXPECT_NE(mPipe.Exchange(mBytes, answer, milliseconds(100), mLength, sending), LIBUSB_SUCCESS);
    EXPECT_NE(sending.error, LIBUSB_SUCCESS);
    EXPECT_EQ(sending.taken, 0U);
    EXPECT_LE(mUsb.clock.GetPassed(), milliseconds(100) + kGivingUp + milliseconds(100));
    EXPECT_LT(mUsb.eventsHandled, kFewCalls);
}

TEST_F(UsbBulkPipeTest, TellsHowMuchOfACommandWasTakenBeforeItsEndpointStalled) {
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(1), LIBUSB_TRANSFER_STALL, 12); };
    UsbPipe::Sending sending;
    std::array<std::byte, 16> answer{};
    EXPECT_EQ(mPipe.Exchange(mBytes, answer, milliseconds(100), mLength, sending),
              LIBUSB_ERROR_PIPE);
    EXPECT_EQ(sending.error, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(sending.taken, 12U);
}

TEST_F(UsbBulkPipeTest, TellsAStallOfTheAnswerFromOneOfTheCommand) {
    mUsb.onEvents = [this] { mUsb.End(mUsb.submitted.at(0), LIBUSB_TRANSFER_STALL); };
    UsbPipe::Sending sending;
    std::array<std::byte, 16> answer{};
    EXPECT_EQ(mPipe.Exchange(mBytes, answer, milliseconds(100), mLength, sending),
              LIBUSB_ERROR_PIPE);
    EXPECT_EQ(sending.error, LIBUSB_ERROR_TIMEOUT);
}

TEST_F(UsbBulkPipeTest, ClearsBothEndpointsAlsoWhenTheDeviceRefusesOne) {
    mPipe.ClearStall();
    EXPECT_EQ(mUsb.cleared, 2);
    mUsb.clearError = LIBUSB_ERROR_OTHER;
    mPipe.ClearStall();
    EXPECT_EQ(mUsb.cleared, 4);
}

TEST_F(UsbBulkPipeTest, WaitsOnceForADeviceThatDoesNotAnswerToBeingCleared) {
    mUsb.clearError = LIBUSB_ERROR_OTHER;
    mUsb.clearTime = seconds(5);
    mPipe.ClearStall();
    EXPECT_EQ(mUsb.cleared, 1);
}
