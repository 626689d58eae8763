#pragma once

/// How many blocks of a window are sent in one go.
///
/// The window itself cannot shrink once agreed: a server answers only full windows. But a window
/// sent in several bursts with pauses in between needs less of the server's receive buffer.
class TftpPacing {
  public:
    explicit TftpPacing(unsigned int windowSize) : mWindowSize(windowSize), mBurst(windowSize) {}

    [[nodiscard]] unsigned int Burst() const { return mBurst; }
    /// A block of a burst of this size was lost: halves the burst.
    void OnLoss();
    /// A whole window arrived at its first sending. Bursts grow back quickly to what has not lost
    /// a block lately, and beyond that the more slowly the more losses there were: each step there
    /// is a risk of one more loss.
    void OnCleanWindow();

  private:
    unsigned int mWindowSize;
    unsigned int mBurst;
    unsigned int mTooMany = 0;  ///< the burst that lost a block last; 0: none
    unsigned int mCleanWindows = 0;
    unsigned int mCleanWindowsPerStep = 1;
};
