#include <vector>

#include <gtest/gtest.h>

#include "NxDeviceFixture.h"

namespace {

using simulator::RegisterLayout;

struct LayoutCost {
    RegisterLayout layout = RegisterLayout::kPlain;
    std::uint32_t bufferSize = 1024;
    bool commandsSwap = false;
    std::uint64_t commands = 0;  ///< per chunk
    bool concatenation = true;
};

/// The cost of a chunk with each way of laying the features of file access over registers.
class RegisterLayoutTest : public NxDeviceTest, public testing::WithParamInterface<LayoutCost> {};

TEST_P(RegisterLayoutTest, TakesTheFewestCommands) {
    const LayoutCost& cost = GetParam();
    StartAndConnect(Builder()
                        .bufferSize(cost.bufferSize)
                        .layout(cost.layout)
                        .registerCommandsSwap(cost.commandsSwap)
                        .concatenation(cost.concatenation));
    ASSERT_TRUE(NxGenFile::IsSupported(device->GetParameters()));
    const std::size_t first = 4 * std::size_t{cost.bufferSize};
    // What is found out once per connection is found out here.
    ExpectOK(Update(first - 64));
    ExpectUpdated();
    const std::uint64_t start = Commands();
    ExpectOK(Update(first - 64));
    const std::uint64_t middle = Commands();
    ExpectOK(Update(first + 8 * cost.bufferSize - 64));
    const std::uint64_t end = Commands();
    ExpectUpdated();
    EXPECT_EQ((end - middle) - (middle - start), 8 * cost.commands);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RegisterLayoutTest,
    testing::Values(LayoutCost{RegisterLayout::kPlain, 1024, false, 4},
                    LayoutCost{RegisterLayout::kSelectorDependent, 1024, false, 4},
                    LayoutCost{RegisterLayout::kBitFields, 1024, false, 4},
                    LayoutCost{RegisterLayout::kLocalSelectors, 1024, false, 4},
                    LayoutCost{RegisterLayout::kCommandRegister, 1024, false, 4},
                    LayoutCost{RegisterLayout::kWriteOnlyExecute, 1024, false, 4},
                    LayoutCost{RegisterLayout::kReadOnlyOffset, 1024, false, 4},
                    LayoutCost{RegisterLayout::kWide, 1024, false, 6},
                    LayoutCost{RegisterLayout::kLittleEndian, 1024, false, 4},
                    LayoutCost{RegisterLayout::kLittleEndian, 1024, true, 4},
                    LayoutCost{RegisterLayout::kLegacyEndian, 1024, false, 4},
                    LayoutCost{RegisterLayout::kLegacyEndian, 1024, true, 4},
                    LayoutCost{RegisterLayout::kLittleEndian, 4096, false, 10},
                    LayoutCost{RegisterLayout::kLittleEndian, 4096, true, 10},
                    LayoutCost{RegisterLayout::kBitFields, 1024, false, 6, false},
                    LayoutCost{RegisterLayout::kLocalSelectors, 1024, false, 6, false},
                    LayoutCost{RegisterLayout::kCommandRegister, 1024, false, 5, false}),
    [](const auto& cost) {
        std::string name = simulator::kLayoutNames.NameOf(cost.param.layout);
        std::erase(name, '-');
        return name + std::to_string(cost.param.bufferSize) +
               (cost.param.commandsSwap ? "Swapped" : "") +
               (cost.param.concatenation ? "" : "Single");
    });

}  // namespace
