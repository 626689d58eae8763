// Updates with a fault of the device, the network or the bus, one test per cell of the fault
// matrix. The ordinary tests run a quick subset; scripts/faults.sh runs the whole matrix
// (MIRSKO_FAULT_MATRIX=all) and prints the cells as a table.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "FaultRun.h"

namespace {

std::vector<FaultCell> Cells() {
    std::vector<FaultCell> cells = FaultMatrix();
    if (std::getenv("MIRSKO_FAULT_MATRIX") == nullptr) {
        std::erase_if(cells, [](const FaultCell& cell) { return !cell.quick; });
    }
    return cells;
}

class FaultMatrixTest : public testing::TestWithParam<FaultCell> {};

}  // namespace

TEST_P(FaultMatrixTest, EndsAsExpectedAndCanBeUpdatedAgain) {
    const FaultResult result = RunFaultCell(GetParam());
    std::printf("%s\n", result.Line(GetParam()).c_str());
    EXPECT_EQ(result.wrong, "");
}

INSTANTIATE_TEST_SUITE_P(Cells, FaultMatrixTest, testing::ValuesIn(Cells()),
                         [](const auto& cell) { return cell.param.Name(); });
