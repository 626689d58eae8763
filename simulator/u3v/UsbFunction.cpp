#include "UsbFunction.h"

#include <utility>

#include "UsbDescriptors.h"

namespace simulator {

UsbFunction::Transfer UsbFunction::Out(std::uint8_t /*endpoint*/, ConstBytes /*bytes*/) {
    return Transfer::kStalled;
}

UsbFunction::Transfer UsbFunction::In(std::uint8_t /*endpoint*/,
                                      std::vector<std::uint8_t>& /*bytes*/) {
    return Transfer::kNotReady;
}

std::optional<UsbFunction::Clock::time_point> UsbFunction::ReadyAt() const {
    return std::nullopt;
}

void UsbFunction::ClearStall(std::uint8_t /*endpoint*/) {}

void UsbFunction::Released() {}

bool UsbFunction::IsPresent() const {
    return true;
}

PassiveUsbFunction::PassiveUsbFunction(std::vector<std::uint8_t> descriptors)
    : mDescriptors(std::move(descriptors)) {}

std::vector<std::uint8_t> PassiveUsbFunction::Descriptors() const {
    return mDescriptors;
}

std::optional<std::vector<std::uint8_t>> PassiveUsbFunction::Control(const Setup& setup) {
    return AnswerStandardRequest(setup, mDescriptors, {});
}

}  // namespace simulator
