#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace simulator {

/// How many commands of each kind came. GVCP: "DISCOVERY", "READREG", "WRITEREG", "READMEM",
/// "WRITEMEM", "FORCEIP", "PACKETRESEND"; "HEARTBEAT" (a READREG of the control privilege alone,
/// not counted as READREG); "REPEATED" (answered from memory, not counted otherwise); "OTHER";
/// "PENDING_ACK" (sent).
/// May be used from any thread.
class CommandCounters {
  public:
    using Counts = std::map<std::string, std::uint64_t>;

    void Count(const std::string& kind) {
        const std::lock_guard lock(mMutex);
        ++mCounts[kind];
    }

    /// Kinds that never came are absent.
    [[nodiscard]] Counts All() const {
        const std::lock_guard lock(mMutex);
        return mCounts;
    }

  private:
    mutable std::mutex mMutex;
    Counts mCounts;
};

}  // namespace simulator
