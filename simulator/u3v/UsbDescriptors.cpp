#include "UsbDescriptors.h"

#include <algorithm>
#include <array>

namespace simulator {

namespace {

using Descriptor = std::vector<std::uint8_t>;

constexpr std::size_t kDeviceLength = 18;
constexpr std::uint8_t kLow = kUsbVendor & 0xFFU;
constexpr std::uint8_t kHigh = kUsbVendor >> 8U;

constexpr std::uint8_t kGetStatus = 0;
constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kGetConfiguration = 8;
constexpr std::uint8_t kToHost = 0x80;

constexpr std::uint8_t kDeviceDescriptor = 1;
constexpr std::uint8_t kConfigurationDescriptor = 2;
constexpr std::uint8_t kStringDescriptor = 3;

Descriptor Join(const std::vector<Descriptor>& parts) {
    Descriptor whole;
    for (const Descriptor& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

// Class, subclass and protocol; size of control packets, as its exponent from USB 3 on; numbers of
// the texts for manufacturer, product and serial number.
Descriptor Device(std::uint8_t usbVersion, const Descriptor& kind, std::uint8_t controlPacket,
                  std::uint8_t product, const Descriptor& texts) {
    return Join({{kDeviceLength, kDeviceDescriptor, 0x00, usbVersion},
                 kind,
                 {controlPacket, kLow, kHigh, product, 0x00, 0x00, 0x01},
                 texts,
                 {1}});
}

Descriptor Configuration(std::uint8_t interfaces, std::uint8_t attributes,
                         const std::vector<Descriptor>& parts) {
    const Descriptor body = Join(parts);
    const std::size_t total = 9 + body.size();
    Descriptor whole = {9,
                        kConfigurationDescriptor,
                        static_cast<std::uint8_t>(total & 0xFFU),
                        static_cast<std::uint8_t>(total >> 8U),
                        interfaces,
                        1,
                        0,
                        attributes,
                        0x32};
    whole.insert(whole.end(), body.begin(), body.end());
    return whole;
}

Descriptor BulkEndpoint(std::uint8_t address) {
    return {7, 5,    address, 2, 0x00, 0x04, 0,  // 1024-byte packets
            6, 0x30, 15,      0, 0,    0};       // SuperSpeed companion, bursts of 16
}

Descriptor StringBytes(const std::string& text) {
    Descriptor bytes = {0, kStringDescriptor};
    for (const char character : text.substr(0, 126)) {
        bytes.push_back(static_cast<std::uint8_t>(character));
        bytes.push_back(0);
    }
    bytes[0] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

std::optional<Descriptor> GetDescriptor(std::uint16_t value, const Descriptor& descriptors,
                                        const std::vector<std::string>& strings) {
    const auto configuration = descriptors.begin() + kDeviceLength;
    const std::uint8_t index = value & 0xFFU;
    switch (value >> 8U) {
        case kDeviceDescriptor:
            return Descriptor(descriptors.begin(), configuration);
        case kConfigurationDescriptor:
            return Descriptor(configuration, descriptors.end());
        case kStringDescriptor:
            if (strings.empty() || index > strings.size()) {
                return std::nullopt;
            }
            return index == 0 ? Descriptor{4, kStringDescriptor, 0x09, 0x04}
                              : StringBytes(strings[index - 1]);
        default:
            return std::nullopt;
    }
}

}  // namespace

std::vector<std::uint8_t> U3vDescriptors() {
    const Descriptor device = Device(3, {0xEF, 0x02, 0x01}, 9, 0x01, {1, 2, 3});
    const Descriptor association = {8, 11, 0, 2, 0xEF, 0x05, 0x00, 0};
    const Descriptor control = {9, 4, 0, 0, 2, 0xEF, 0x05, 0x00, 0};
    // GenCP 1.1, USB3 Vision 1.0, the string indices, SuperSpeed.
    const Descriptor info = {20, 0x24, 1, 1, 0, 1, 0, 0, 0, 1, 0, 4, 1, 2, 0, 5, 6, 3, 7, 0x08};
    const Descriptor stream = {9, 4, 1, 0, 1, 0xEF, 0x05, 0x02, 0};
    return Join(
        {device, Configuration(2, 0x80,
                               {association, control, info, BulkEndpoint(kControlIn),
                                BulkEndpoint(kControlOut), stream, BulkEndpoint(kStreamIn)})});
}

std::vector<std::uint8_t> HubDescriptors(bool superSpeed) {
    const auto version = static_cast<std::uint8_t>(superSpeed ? 3 : 2);
    const auto protocol = static_cast<std::uint8_t>(superSpeed ? 3 : 1);
    const auto packet = static_cast<std::uint8_t>(superSpeed ? 9 : 64);
    const Descriptor device = Device(version, {9, 0, protocol}, packet, 0x02, {0, 0, 0});
    return Join(
        {device, Configuration(1, 0xE0, {{9, 4, 0, 0, 1, 9, 0, 0, 0}, {7, 5, 0x81, 3, 4, 0, 12}})});
}

std::vector<std::uint8_t> KeyboardDescriptors() {
    const Descriptor device = Device(2, {0, 0, 0}, 8, 0x03, {0, 0, 0});
    return Join({device, Configuration(1, 0xA0,
                                       {{9, 4, 0, 0, 1, 3, 1, 1, 0},
                                        {9, 0x21, 0x11, 0x01, 0, 1, 0x22, 63, 0},
                                        {7, 5, 0x81, 3, 8, 0, 10}})});
}

std::vector<std::string> StringsOf(const U3vTexts& texts) {
    return {texts.vendor,  texts.model, texts.serial,  texts.guid,
            texts.version, texts.info,  texts.userName};
}

std::optional<std::vector<std::uint8_t>> AnswerStandardRequest(
    const UsbFunction::Setup& setup, const std::vector<std::uint8_t>& descriptors,
    const std::vector<std::string>& strings) {
    if ((setup.type & kToHost) == 0) {
        return Descriptor();
    }
    std::optional<Descriptor> answer;
    switch (setup.request) {
        case kGetStatus:
            answer = Descriptor{0, 0};
            break;
        case kGetDescriptor:
            answer = GetDescriptor(setup.value, descriptors, strings);
            break;
        case kGetConfiguration:
            answer = Descriptor{1};
            break;
        default:
            break;
    }
    if (answer.has_value()) {
        answer->resize(std::min<std::size_t>(answer->size(), setup.length));
    }
    return answer;
}

}  // namespace simulator
