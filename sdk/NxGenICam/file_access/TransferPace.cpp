#include "TransferPace.h"

#include <string>

#include <NxBase/NxResultCodes.h>

namespace {

constexpr std::chrono::seconds kGrace{120};
constexpr std::uint64_t kSlowestBytesPerSecond = 4096;

}  // namespace

NxResult TransferPace::Check(std::uint64_t moved, Clock::time_point now) const {
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(now - mStart);
    if (elapsed <= kGrace + std::chrono::seconds(moved / kSlowestBytesPerSecond)) {
        return {};
    }
    return NxResult(kNxTimeout, "only " + std::to_string(moved) + " bytes were transferred in " +
                                    std::to_string(elapsed.count()) + " s");
}
