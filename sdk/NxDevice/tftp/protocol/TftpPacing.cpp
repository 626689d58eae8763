#include "TftpPacing.h"

#include <algorithm>

namespace {

// A lost block costs about as much time as that many windows.
constexpr unsigned int kMostWindowsPerStep = 64;

}  // namespace

void TftpPacing::OnLoss() {
    mTooMany = mBurst;
    mBurst = std::max(1U, mBurst / 2);
    mCleanWindows = 0;
    mCleanWindowsPerStep = std::min(2 * mCleanWindowsPerStep, kMostWindowsPerStep);
}

void TftpPacing::OnCleanWindow() {
    if (mBurst == mWindowSize) {
        return;
    }
    if (mBurst + 1 < mTooMany) {
        mBurst += (mTooMany - mBurst) / 2;
    } else if (++mCleanWindows >= mCleanWindowsPerStep) {
        ++mBurst;
        mCleanWindows = 0;
    }
}
