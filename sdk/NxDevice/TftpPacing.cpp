#include <NxDevice/TftpPacing.h>

#include <algorithm>

namespace {

constexpr unsigned int kMostWindowsPerStep = 1024;

}  // namespace

void TftpPacing::OnLoss() {
    mBurst = std::max(1U, mBurst / 2);
    mCleanWindows = 0;
    mCleanWindowsPerStep = std::min(2 * mCleanWindowsPerStep, kMostWindowsPerStep);
}

void TftpPacing::OnCleanWindow() {
    if (mBurst < mWindowSize && ++mCleanWindows >= mCleanWindowsPerStep) {
        ++mBurst;
        mCleanWindows = 0;
    }
}
