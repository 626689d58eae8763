#pragma once

#include <chrono>

/// When to poll a socket for the next reply and when to sleep, learnt from how long the earlier
/// ones took: waking up a sleeping thread may take longer than a near device takes to reply.
/// While another program uses this CPU, hardly any wait polls.
class ReplyTimes {
  public:
    using Duration = std::chrono::steady_clock::duration;

    /// A span of a wait, from its start; empty when both are the same.
    struct Span {
        Duration from{0};
        Duration until{0};

        [[nodiscard]] bool Contains(Duration time) const { return time >= from && time < until; }
    };

    /// When the next wait polls because the reply may come at once; empty while replies come later.
    [[nodiscard]] Span AtOnce() const;
    /// When the next wait polls because a reply is usually due; empty when it is due so soon that
    /// polling for it would take a large part of the CPU's time.
    [[nodiscard]] Span WhenDue() const;
    /// @param waited from the start of the wait to the reply
    void Learn(Duration waited);
    /// After a wait that polled.
    /// @param longestTurn between asking the socket twice, with the CPU offered to others
    /// @param datagrams sent since the reply before, repeated ones included
    void LearnFromPolling(Duration longestTurn, unsigned int datagrams);

  private:
    [[nodiscard]] bool MayPoll() const;

    unsigned int mLateInARow = 0;    ///< waits for which polling at once was too short
    unsigned int mSharedInARow = 0;  ///< waits in which something else ran instead
    unsigned int mWaits = 0;
    Duration mEarliest{0};  ///< of the latest replies; 0 before the first one
};
