#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/device/SimulatedDevice.h"

using simulator::DeviceOptions;
using simulator::RegisterLayout;
using testing::HasSubstr;

TEST(RegisterLayoutTest, HasANameForEachLayout) {
    EXPECT_EQ(simulator::kLayoutNames.Values().size(), 10U);
    for (const RegisterLayout layout : simulator::kLayoutNames.Values()) {
        EXPECT_EQ(simulator::LayoutNamed(simulator::kLayoutNames.NameOf(layout)), layout);
    }
    EXPECT_EQ(simulator::LayoutNamed("selector-dependent"), RegisterLayout::kSelectorDependent);
    EXPECT_FALSE(simulator::LayoutNamed("odd").has_value());
}

TEST(RegisterLayoutTest, RefusesOptionsThatALayoutCannotHave) {
    DeviceOptions options;
    options.registerCommandsSwap = true;
    EXPECT_THAT(WhyUnusable(options), HasSubstr("little-endian"));
    options.layout = RegisterLayout::kLegacyEndian;
    EXPECT_EQ(WhyUnusable(options), "");
    options = {};
    options.layout = RegisterLayout::kCommandRegister;
    options.bufferSize = 65536;
    EXPECT_THAT(WhyUnusable(options), HasSubstr("65532"));
    options.bufferSize = 65532;
    EXPECT_EQ(WhyUnusable(options), "");
    options.executeKeepsValue = true;
    EXPECT_EQ(WhyUnusable(options),
              "--execute-keeps-value cannot be used with the layout command-register");
}
