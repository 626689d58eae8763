#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

/// How the firmware gets to the device.
enum class Transport {
    kFileAccess,         ///< a .dfw, by GenICam file access on GigE Vision
    kTftp,               ///< a .dfw, by TFTP
    kFileAccessPackage,  ///< a package that asks for file access
    kTftpPackage,        ///< a package that asks for TFTP
    kUsb,                ///< a .dfw, by file access on USB3 Vision
    kUsbPackage          ///< a package, on USB3 Vision
};

/// What the updater says at the end, and what the device then holds.
enum class Outcome {
    kComplete,      ///< "Firmware upload complete."; the new firmware
    kFailed,        ///< a failure with its reason; either firmware
    kFailedOld,     ///< the same; the old firmware
    kFailedNew,     ///< the same; the new firmware, which the device could not confirm any more
    kNotFound,      ///< no device, status 100; the old firmware
    kUntouched,     ///< kComplete, before the fault struck
    kCompleteOrNot  ///< kComplete or kFailed, as the fault has it
};

/// One cell of the fault matrix: an update with a fault at a moment.
struct FaultCell {
    /// How the device works again.
    enum class Remedy {
        kNone,    ///< the next update succeeds as things are
        kRestart  ///< the fault is permanent: the device is switched off and on, without the fault
    };

    Transport transport = Transport::kFileAccess;
    std::string fault;
    std::string moment;
    std::vector<std::string> options;  ///< of mirsko-simulator
    Outcome expected = Outcome::kCompleteOrNot;
    Remedy remedy = Remedy::kNone;
    std::chrono::seconds limit{60};  ///< of the update
    bool quick = false;              ///< belongs to the subset that the ordinary tests run

    /// E.g. "tftp_reboot_at_status".
    [[nodiscard]] std::string Name() const;
};

[[nodiscard]] const char* NameOf(Transport transport);
[[nodiscard]] const char* NameOf(Outcome outcome);
/// What GoogleTest prints of a cell.
void PrintTo(const FaultCell& cell, std::ostream* stream);

/// The size of the payload that is sent, in bytes.
constexpr std::size_t kFaultPayloadSize = 6000;

/// The whole matrix.
[[nodiscard]] std::vector<FaultCell> FaultMatrix();
