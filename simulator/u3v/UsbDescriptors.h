#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "UsbFunction.h"

namespace simulator {

/// The texts of a USB3 Vision device, ASCII.
struct U3vTexts {
    std::string vendor;
    std::string model;
    std::string serial;
    std::string guid;
    std::string version;
    std::string info;
    std::string userName;
};

// Endpoints of the USB3 Vision device.
inline constexpr std::uint8_t kControlIn = 0x81;
inline constexpr std::uint8_t kControlOut = 0x01;
inline constexpr std::uint8_t kStreamIn = 0x82;

/// A made-up vendor number; the first four characters of the devices' GUIDs.
inline constexpr std::uint16_t kUsbVendor = 0xFFF0;

/// Device and configuration descriptors of a USB3 Vision device with one stream (USB3 Vision 1.0,
/// section 2), of a hub, of a root hub and of a keyboard.
[[nodiscard]] std::vector<std::uint8_t> U3vDescriptors();
[[nodiscard]] std::vector<std::uint8_t> HubDescriptors(bool superSpeed);
[[nodiscard]] std::vector<std::uint8_t> KeyboardDescriptors();

/// The texts in the order of the string indices that U3vDescriptors uses, from index 1 on.
[[nodiscard]] std::vector<std::string> StringsOf(const U3vTexts& texts);

/// Answers GET_DESCRIPTOR, GET_CONFIGURATION, GET_STATUS and the requests that need no answer
/// (USB 3.0, section 9.4). Nothing: the request is stalled.
/// @param descriptors device and configuration descriptors
/// @param strings string descriptors from index 1 on
[[nodiscard]] std::optional<std::vector<std::uint8_t>> AnswerStandardRequest(
    const UsbFunction::Setup& setup, const std::vector<std::uint8_t>& descriptors,
    const std::vector<std::string>& strings);

}  // namespace simulator
