#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// Commands that were sent more than once, of which a copy may still be on its way.
///
/// A device carries out whatever arrives. A copy that arrives after a later write to the same
/// place undoes that write; one that starts an operation starts it again, on whatever the device
/// holds by then. So such a later write has to wait until the copy is too old to come any more.
class LateCopies {
  public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    /// A device that takes longer for a command than this would get copies faster than it can carry
    /// them out, one after the other.
    static constexpr std::chrono::milliseconds kSlow{300};

    /// A command that may have been sent more than once.
    struct Write {
        std::uint16_t id = 0;
        std::uint32_t address = 0;
        std::size_t size = 0;            ///< bytes; 0 for a read, which spoils nothing
        bool mayStartOperation = false;  ///< a register rather than a block of data
    };

    /// @param copies sendings that were not answered yet; nothing is remembered when 0
    /// @param answered when the first answer came: not soon after the last sending when it was a
    ///        slow device that took its time for it, which then takes as long for each copy
    void Add(const Write& write, int copies, Time firstSent, Time lastSent, Time answered);
    /// An ack with an earlier command's id has arrived.
    /// @return how long that command's first answer took, when it was sent more than once
    std::optional<Duration> NoteLateAck(std::uint16_t id, Time now);
    /// When the next write may be sent; `now` when at once.
    [[nodiscard]] Time SafeTime(const Write& next, Time now);

    /// The age at which a copy is given up as lost.
    [[nodiscard]] Duration MaxAge() const { return mMaxAge; }

  private:
    struct Resent {
        Write write;
        Time firstSent;
        Time answered;
        Time end;         ///< of the wait
        Time remembered;  ///< for acks that come after it all the same
        Duration took;
        int copies;
    };

    void Forget(Time now);

    std::vector<Resent> mResent;
    Duration mMaxAge = std::chrono::milliseconds(200);
};
