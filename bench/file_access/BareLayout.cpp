#include "BareLayout.h"

namespace {

constexpr std::uint32_t kFileSelector = 0x10300;
constexpr std::uint32_t kOperationSelector = 0x10304;
constexpr std::uint32_t kStatusWord = 0xfffffc;
constexpr std::uint32_t kResultOfStatusWord = 0x1ffffff;
constexpr std::uint32_t kWriteBlock = 0x11300;  // of the layout "selector", of the first file

BareLayout Plain() {
    BareLayout layout;
    layout.open = {{kFileSelector, 0}, {kOperationSelector, 0}, {0x10324, 1}, {0x10318, 1}};
    layout.begin = {{kOperationSelector, 3}};
    layout.close = {{kOperationSelector, 1}, {0x10318, 1}};
    layout.offset = 0x10310;
    layout.length = 0x10314;
    layout.execute = {0x10318, 1};
    layout.state = {0x10318, 0x1031c, 0x10320};
    layout.resultIndex = 2;
    return layout;
}

BareLayout Selector() {
    BareLayout layout;
    layout.open = {{kFileSelector, 0}, {kOperationSelector, 0}, {0x11014, 1}, {0x11008, 1}};
    layout.begin = {{kOperationSelector, 3}};
    layout.close = {{kOperationSelector, 1}, {0x11108, 1}};
    layout.offset = kWriteBlock;
    layout.length = kWriteBlock + 4;
    layout.execute = {kWriteBlock + 8, 1};
    layout.state = {kWriteBlock + 8, kWriteBlock + 0xc, kWriteBlock + 0x10};
    layout.resultIndex = 2;
    return layout;
}

BareLayout BitFields() {
    BareLayout layout = Plain();
    layout.open = {{kFileSelector, 0}, {kOperationSelector, 0}, {0x1031c, 1}, {0x10318, 1}};
    layout.state = {0x10318, kStatusWord};
    layout.resultIndex = 1;
    layout.resultMask = kResultOfStatusWord;
    return layout;
}

BareLayout LocalSelectors() {
    BareLayout layout = BitFields();
    layout.open = {{kFileSelector, 0}, {0x10318, 0x11}};
    layout.begin = {};
    layout.close = {{0x10318, 1}};
    layout.execute = {0x10318, 3};
    return layout;
}

BareLayout CommandRegister() {
    BareLayout layout = LocalSelectors();
    layout.open = {{kFileSelector, 0}, {0x10318, 0x10}};
    layout.close = {{0x10318, 0x11}};
    layout.execute = {0x10318, 0x13};
    layout.state = {0x10318};
    layout.resultIndex = 0;
    layout.resultMask = 0xffff;
    layout.resultShift = 16;
    return layout;
}

}  // namespace

std::optional<BareLayout> BareLayout::Named(const std::string& name) {
    BareLayout layout = Plain();
    if (name == "selector") {
        return Selector();
    }
    if (name == "bitfields") {
        return BitFields();
    }
    if (name == "local-selectors") {
        return LocalSelectors();
    }
    if (name == "command-register") {
        return CommandRegister();
    }
    if (name == "write-only-execute") {
        layout.state = {0x1031c, 0x10320};
        layout.resultIndex = 1;
        return layout;
    }
    if (name == "read-only-offset") {
        layout.offset.reset();
        layout.state.push_back(0x10400);
        return layout;
    }
    if (name == "little-endian") {
        layout.littleEndian = true;
        return layout;
    }
    return name == "plain" ? std::optional(layout) : std::nullopt;
}
