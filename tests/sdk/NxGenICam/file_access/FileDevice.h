#pragma once

#include <map>
#include <memory>
#include <string>

#include "MemoryPort.h"

/// A device with SFNC file access in memory: what it does when FileOperationExecute is written.
class FileDevice {
  public:
    struct Layout {
        unsigned int bufferSize = 512;
        bool dependsOnSelectors = false;  ///< registers lie elsewhere for each file and operation
        bool executeIsWriteOnly = false;
        bool hasSelector = true;
        bool selectorIsOptional = false;  ///< a register says whether FileSelector is implemented
        bool hasFileSize = true;
        std::string lengthLimit = {};      ///< "<Max>…" or "<pMax>…" of FileAccessLength
        std::string statusTag = "IntReg";  ///< "MaskedIntReg": not a plain register
    };

    explicit FileDevice(Layout layout);
    FileDevice() : FileDevice(Layout{}) {}

    /// Of the register that says whether FileSelector is implemented.
    static constexpr std::uint64_t kHasSelectorAddress = 0x100c;

    /// Of FileAccessBuffer, unless it depends on the selectors.
    static constexpr std::uint64_t kBufferAddress = 0x2100;

    [[nodiscard]] std::string Xml() const;
    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();

    std::map<std::string, std::string> files{{"RemoteUpdateDfw", ""}, {"StatusTxt", "ready"}};
    std::string openFile;                 ///< name; empty when none is open
    std::size_t takesAtMost = 1U << 30U;  ///< bytes of one write
    std::size_t isFullAt = 1U << 30U;     ///< size beyond which it takes nothing
    std::size_t failsAt = 1U << 30U;      ///< size at which a write gives the status "Failure"
    int asksUntilDone = 0;                ///< reads of FileOperationExecute until it says done
    bool forgetsLength = false;           ///< FileAccessLength is 0 after each operation
    bool refusesEveryOpen = false;
    int operations = 0;
    int opens = 0;
    int closes = 0;

  private:
    [[nodiscard]] std::uint64_t Base() const;
    void Execute();
    void Finish(std::uint32_t status, std::uint32_t result);
    std::uint32_t Run(std::uint32_t operation, std::uint32_t& result);

    Layout mLayout;
    int mAsksLeft = 0;
    std::uint32_t mStatus = 0;
    std::uint32_t mResult = 0;
};
