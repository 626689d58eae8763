#pragma once

#include <chrono>
#include <string>

/// What became of one camera.
struct Outcome {
    enum class Kind {
        kUpdated,      ///< it has restarted and runs the file's version
        kCurrent,      ///< it ran that version before; nothing was written
        kNeeded,       ///< it would be updated (dry run)
        kRefused,      ///< nothing was written, for a reason
        kFailed,       ///< something was written, and it is not known to run the file's version
        kStored,       ///< it has stored the firmware, and runs it after its next power cycle
        kInterrupted,  ///< given up while it was being updated
        kNotStarted,   ///< interrupted before its turn
    };

    Kind kind = Kind::kNotStarted;
    std::string reason;         ///< one line; empty where there is nothing to add
    std::string transport;      ///< "GenICam file access", "TFTP"; empty when it was not asked
    std::string storedVersion;  ///< before; empty when the camera does not tell
    std::string file;           ///< empty when none fits
    std::string fileVersion;
    std::string runningVersion;  ///< afterwards, as seen last; empty when it was not seen since
    std::chrono::duration<double> time{0};

    /// "updated", "current", "needed", "refused", "failed", "stored", "interrupted", "not started".
    [[nodiscard]] const char* Name() const;
    /// Whether the camera does not run the firmware although it should.
    [[nodiscard]] bool IsFailure() const;
};
