#include <internal/NxSystem/U3vIdentity.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <memory>
#include <span>
#include <utility>

#include <libusb.h>

#include <NxBase/Ascii.h>
#include <NxBase/NxResultCodes.h>
#include <NxBase/Utf8.h>

#include <NxBase/PrintableText.h>
#include <internal/NxSystem/UsbContext.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// One text takes most devices well under a millisecond, and may take 500 (USB 2.0,
// section 9.2.6.4).
constexpr milliseconds kTextTimeout{500};
// US English, the one language that every device has to offer.
constexpr std::uint16_t kEnglish = 0x0409;
constexpr std::size_t kLongestName = 64;

struct CloseHandle {
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using Handle = std::unique_ptr<libusb_device_handle, CloseHandle>;

// A string descriptor holds up to 126 units of UTF-16 (USB 3.0, section 9.6.9).
using StringDescriptor = std::array<unsigned char, 255>;
// As UTF-8.
constexpr std::size_t kLongestText = std::size_t{3} * 126;

int ReadStringDescriptor(libusb_device_handle* handle, std::uint8_t index, std::uint16_t language,
                         Clock::time_point deadline, StringDescriptor& bytes) {
    const auto timeout =
        std::min(kTextTimeout, std::chrono::ceil<milliseconds>(deadline - Clock::now()));
    // libusb takes 0 for "wait for ever".
    if (timeout <= milliseconds(0)) {
        return LIBUSB_ERROR_TIMEOUT;
    }
    const int length = libusb_control_transfer(
        handle, LIBUSB_ENDPOINT_IN, LIBUSB_REQUEST_GET_DESCRIPTOR,
        static_cast<std::uint16_t>((LIBUSB_DT_STRING << 8) | index), language, bytes.data(),
        static_cast<std::uint16_t>(bytes.size()), static_cast<unsigned int>(timeout.count()));
    if (length < 0) {
        return length;
    }
    if (length < 2 || bytes[1] != LIBUSB_DT_STRING) {
        return LIBUSB_ERROR_IO;
    }
    return std::min<int>(length, bytes[0]);
}

std::string DecodeUtf16(const StringDescriptor& bytes, int length) {
    std::u16string units;
    for (std::size_t at = 2; at + 1 < static_cast<std::size_t>(length); at += 2) {
        units += static_cast<char16_t>(bytes[at] | bytes[at + 1] << 8);
    }
    units.resize(std::min(units.find(u'\0'), units.size()));
    return PrintableText(Utf8::FromUtf16(units));
}

std::string ReadSystemText(const std::string& place, const std::string& attribute) {
    std::ifstream file("/sys/bus/usb/devices/" + place + "/" + attribute);
    std::string line;
    std::getline(file, line);
    line.resize(std::min(line.size(), kLongestText));
    return PrintableText(line);
}

bool IsUsableName(const std::string& guid) {
    return !guid.empty() && guid.size() <= kLongestName && guid[0] != '@' && Ascii::IsGraphic(guid);
}

// Index of the string descriptor and where its text goes.
using Text = std::pair<std::uint8_t, std::string*>;

/// Reads the texts of one device until its time is over.
class TextReader {
  public:
    TextReader(libusb_device_handle* device, milliseconds timeout)
        : mDevice(device), mDeadline(Clock::now() + timeout) {}

    /// @param text untouched on failure and when the device has no such text
    /// @return LIBUSB_ERROR_TIMEOUT or LIBUSB_ERROR_NO_DEVICE when there is no use in asking on
    int Read(std::uint8_t index, std::string& text) {
        if (index == 0) {
            return LIBUSB_SUCCESS;
        }
        StringDescriptor bytes{};
        int length = ReadStringDescriptor(mDevice, index, mLanguage, mDeadline, bytes);
        // A device that lacks the language says so at once; the others save the question.
        if (length == LIBUSB_ERROR_PIPE && !mAskedForLanguages) {
            mAskedForLanguages = true;
            length = ReadStringDescriptor(mDevice, 0, 0, mDeadline, bytes);
            if (length >= 4) {
                mLanguage = static_cast<std::uint16_t>(bytes[2] | (bytes[3] << 8));
                length = ReadStringDescriptor(mDevice, index, mLanguage, mDeadline, bytes);
            }
        }
        if (length > 0) {
            text = DecodeUtf16(bytes, length);
        }
        return std::min<int>(length, LIBUSB_SUCCESS);
    }

  private:
    libusb_device_handle* mDevice;
    Clock::time_point mDeadline;
    std::uint16_t mLanguage = kEnglish;
    bool mAskedForLanguages = false;
};

NxResult ReadTexts(libusb_device* device, U3vIdentity& identity, milliseconds timeout,
                   std::span<const Text> texts) {
    identity = U3vIdentity::FromSystem(device);
    libusb_device_handle* opened = nullptr;
    const int error = libusb_open(device, &opened);
    if (error != LIBUSB_SUCCESS) {
        return DescribeU3vOpenFailure(identity, error);
    }
    const Handle handle(opened);
    TextReader reader(opened, timeout);
    for (const auto& [index, text] : texts) {
        const int failure = reader.Read(index, *text);
        if (failure == LIBUSB_ERROR_TIMEOUT || failure == LIBUSB_ERROR_NO_DEVICE) {
            return DescribeU3vOpenFailure(identity, failure);
        }
    }
    if (!IsUsableName(identity.guid)) {
        identity.guid.clear();
        return NxResult(kNxProtocol, "USB3 Vision device at USB port " + identity.place +
                                         " reports no usable GUID");
    }
    return NxResult();
}

}  // namespace

U3vIdentity U3vIdentity::FromSystem(libusb_device* device) {
    U3vIdentity identity;
    identity.place = UsbContext::GetPlace(device);
    identity.vendor = ReadSystemText(identity.place, "manufacturer");
    identity.model = ReadSystemText(identity.place, "product");
    identity.serial = ReadSystemText(identity.place, "serial");
    return identity;
}

NxResult U3vIdentity::Read(libusb_device* device, const U3vDescriptor& descriptor,
                           milliseconds timeout, U3vIdentity& identity) {
    return ReadTexts(device, identity, timeout,
                     std::array<Text, 6>{{{descriptor.guid, &identity.guid},
                                          {descriptor.vendor, &identity.vendor},
                                          {descriptor.model, &identity.model},
                                          {descriptor.version, &identity.version},
                                          {descriptor.serial, &identity.serial},
                                          {descriptor.userName, &identity.userName}}});
}

NxResult U3vIdentity::ReadGuid(libusb_device* device, const U3vDescriptor& descriptor,
                               milliseconds timeout, U3vIdentity& identity) {
    return ReadTexts(device, identity, timeout,
                     std::array<Text, 1>{{{descriptor.guid, &identity.guid}}});
}

std::string U3vIdentity::GetName() const {
    return guid.empty() ? "@" + place : guid;
}

std::string U3vIdentity::Describe() const {
    return "USB3 Vision device " + (model.empty() ? "" : model + " ") +
           (guid.empty() ? "" : "(GUID " + guid + ") ") + "at USB port " + place;
}

NxResult DescribeU3vOpenFailure(const U3vIdentity& identity, int error) {
    const std::string device = identity.Describe();
    switch (error) {
        case LIBUSB_ERROR_ACCESS:
            return NxResult(kNxAccessDenied,
                            "Cannot open " + device + ": access denied (EACCES); install " +
                                kU3vRuleFile +
                                " in /etc/udev/rules.d, then unplug and reconnect the device");
        case LIBUSB_ERROR_BUSY:
            return NxResult(kNxAccessDenied,
                            "Cannot control " + device +
                                ": another program holds its control interface (EBUSY); close "
                                "that program");
        case LIBUSB_ERROR_NO_DEVICE:
        case LIBUSB_ERROR_NOT_FOUND:
            return NxResult(kNxDeviceGone, "Cannot open " + device + ": it was unplugged");
        case LIBUSB_ERROR_TIMEOUT:
            return NxResult(kNxTimeout, "Cannot open " + device +
                                            ": it does not respond; unplug and reconnect it");
        default:
            return NxResult(kNxDeviceGone,
                            "Cannot open " + device + ": " + libusb_error_name(error));
    }
}
