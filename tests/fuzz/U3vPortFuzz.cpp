// A USB3 Vision device that answers as it likes while a connection is made: its limits, its
// manifest table and its description are the input's bytes.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

#include <libusb.h>

#include <internal/NxBase/ByteOrder.h>

#include "u3v/U3vPackets.h"
#include "u3v/U3vPort.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::span<const std::byte>;

// Each answer begins with a byte of the input: below kRaw, the rest of the input is what is read;
// at kRaw and above, a length byte and a whole transfer (but for its id) follow. The device is
// unplugged at the end.
constexpr std::byte kRaw{0xF0};

class FuzzedPipe : public UsbPipe {
  public:
    explicit FuzzedPipe(Input input) : mInput(input) {}

    int Send(std::span<const std::byte> bytes, Milliseconds) override {
        std::copy_n(bytes.begin(), std::min(bytes.size(), mCommand.size()), mCommand.begin());
        mIsAsked = true;
        return LIBUSB_SUCCESS;
    }
    int Receive(std::span<std::byte> buffer, Milliseconds, std::size_t& length) override {
        // Nothing waits in it before it is asked.
        if (!mIsAsked) {
            return LIBUSB_ERROR_TIMEOUT;
        }
        if (mInput.empty()) {
            return LIBUSB_ERROR_NO_DEVICE;
        }
        const std::byte kind = Take(1).front();
        if (kind >= kRaw) {
            const std::size_t wanted =
                mInput.empty() ? 0 : std::to_integer<std::size_t>(Take(1)[0]);
            const Input transfer = Take(std::min(wanted, buffer.size()));
            std::ranges::copy(transfer, buffer.begin());
            length = transfer.size();
            if (length >= U3vPackets::kHeaderLength) {
                std::copy_n(&mCommand[10], 2, &buffer[10]);
            }
            return LIBUSB_SUCCESS;
        }
        return Answer(buffer, length);
    }
    void ClearStall() override {}

  private:
    // READMEM_ACK with as many bytes as were asked for.
    int Answer(std::span<std::byte> buffer, std::size_t& length) {
        const std::size_t asked = ByteOrder::LoadLittle16(&mCommand[22]);
        length = U3vPackets::kHeaderLength + asked;
        if (mInput.empty() || buffer.size() < length) {
            return LIBUSB_ERROR_NO_DEVICE;
        }
        std::ranges::fill(buffer.first(length), std::byte{0});
        std::copy_n(mCommand.begin(), 4, buffer.begin());
        ByteOrder::StoreLittle16(&buffer[6], U3vPackets::kReadMemoryAck);
        ByteOrder::StoreLittle16(&buffer[8], static_cast<std::uint16_t>(asked));
        std::copy_n(&mCommand[10], 2, &buffer[10]);
        const Input bytes = Take(std::min(asked, mInput.size()));
        std::ranges::copy(bytes, buffer.begin() + U3vPackets::kHeaderLength);
        return LIBUSB_SUCCESS;
    }
    Input Take(std::size_t count) {
        const Input taken = mInput.first(std::min(count, mInput.size()));
        mInput = mInput.subspan(taken.size());
        return taken;
    }

    Input mInput;
    bool mIsAsked = false;
    std::array<std::byte, U3vPackets::kReadCommandLength> mCommand{};
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    U3vPort port(nullptr, std::make_unique<FuzzedPipe>(std::as_bytes(std::span(data, size))),
                 "Device X");
    if (!port.Start(std::chrono::seconds(2)).IsOK()) {
        return 0;
    }
    std::string xml = "untouched";
    if (!port.ReadDescription(xml).IsOK() && xml != "untouched") {
        std::abort();
    }
    return 0;
}
