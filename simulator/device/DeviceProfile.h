#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "DeviceService.h"
#include "FaultOptions.h"
#include "simulator/description/DescriptionShape.h"
#include "simulator/firmware/FirmwareStore.h"
#include "simulator/layouts/RegisterLayout.h"
#include "simulator/tftp/protocol/TftpSettings.h"

namespace simulator {

/// What a device offers for updating it.
enum class Profile {
    kFileAccess,          ///< files RemoteUpdateDfw and StatusTxt behind a FileSelector
    kSingleFile,          ///< file access without FileSelector and DeviceFirmwareLoad
    kNoFileAccess,        ///< GenICam without any file access
    kBackupLoad,          ///< no FileSelector; only a backup load is offered
    kMainLoad,            ///< no FileSelector; the main load is offered
    kSelectorWithoutDfw,  ///< a FileSelector that lacks RemoteUpdateDfw
    kLoader               ///< a boot loader: answers discovery, no control channel, no GenICam
};

/// "file-access", "single-file", "no-file-access", "backup-load", "main-load",
/// "selector-without-dfw", "loader".
[[nodiscard]] const char* NameOf(Profile profile);
[[nodiscard]] std::optional<Profile> ProfileNamed(const std::string& name);

[[nodiscard]] bool HasFiles(Profile profile);
[[nodiscard]] bool HasFileSelector(Profile profile);

/// All that makes one simulated device differ from another.
struct DeviceOptions {
    Profile profile = Profile::kFileAccess;
    std::string vendor = "Mirsko";
    std::string model = "Simulated Camera";
    std::string serial = "SIM-0001";
    std::string mac = "02:4d:53:00:00:01";  ///< as discovery reports it
    NetworkPlace place;

    /// FileAccessBuffer, bytes; a multiple of 4, at most 16 MiB.
    std::uint32_t bufferSize = 4096;
    RegisterLayout layout = RegisterLayout::kPlain;
    /// FileOperationExecute shows for good what was written to it last.
    bool executeKeepsValue = false;
    /// READREG and WRITEREG give and take the numbers of little-endian registers in network order.
    bool registerCommandsSwap = false;
    /// An event for each file operation, with the commands that have come so far.
    bool operationEvents = false;
    /// How long FileOperationExecute shows that an operation is still being done.
    std::chrono::milliseconds operationTime{0};
    /// Every so many file writes only half of the bytes are taken; 0: never.
    std::uint32_t shortWriteEvery = 0;
    DescriptionShapes description;
    /// Of nodes that nobody asks for, at least; as a description of a real camera's size has.
    std::size_t additionalNodeBytes = 0;
    bool zippedXml = false;
    bool secondUrlOnly = false;  ///< the first URL register is empty

    bool concatenation = true;  ///< READREG and WRITEREG of several registers
    /// Time before each answer.
    std::chrono::microseconds latency{0};
    /// Time that starting a file operation takes; beyond what a client waits, PENDING_ACK is sent.
    std::chrono::milliseconds executeLatency{0};
    std::uint32_t heartbeatTimeout = 3000;  ///< ms, until an application sets another

    bool serveTftp = true;
    TftpSettings tftp;

    FirmwareStore::Options firmware;
    /// How long the device is gone when it reboots.
    std::chrono::milliseconds rebootTime{1000};
    FaultOptions faults;
};

/// The six bytes of "02:4d:53:00:00:01"; nothing for any other text.
[[nodiscard]] std::optional<std::uint64_t> ParseMac(const std::string& text);

/// @return why no GigE Vision device reports that model name, one line; empty when one can
[[nodiscard]] std::string WhyNoGigEVisionModel(const std::string& model);

/// @return what is wrong with the options, one line; empty when nothing is
[[nodiscard]] std::string WhyUnusable(const DeviceOptions& options);

}  // namespace simulator
