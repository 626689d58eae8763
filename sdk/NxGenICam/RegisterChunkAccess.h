#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FileChunkAccess.h"
#include "NodeMap.h"
#include "PlainRegister.h"

/// Chunks with the fewest commands that the bus allows: addresses are resolved once, then the data,
/// the registers that start the operation and the registers that tell its outcome are accessed on
/// the port itself.
class RegisterChunkAccess : public FileChunkAccess {
  public:
    /// Resolves the addresses for the file and operation that are selected now.
    /// @return null when one of the features is more than a plain register
    static std::unique_ptr<RegisterChunkAccess> Resolve(NodeMap& nodes, std::size_t chunkSize);

    [[nodiscard]] std::size_t ChunkSize() const override { return mChunkSize; }
    NxResult Write(std::uint64_t offset, std::span<const std::byte> chunk,
                   std::uint64_t& taken) override;
    NxResult Read(std::uint64_t offset, std::span<std::byte> chunk, std::uint64_t& given) override;

  private:
    struct Outcome {
        std::int64_t execute = 0;
        std::int64_t status = 0;
        std::int64_t result = 0;
    };

    RegisterChunkAccess(GenPort& port, std::size_t chunkSize)
        : mPort(port), mChunkSize(chunkSize) {}
    bool ResolveStatus(NodeMap& nodes);
    NxResult Run(const char* operation, std::uint64_t offset, std::size_t length,
                 std::uint64_t& moved);
    NxResult Start(std::uint64_t offset, std::size_t length);
    NxResult Finish(const char* operation, Outcome& outcome);
    NxResult WaitUntilDone(const char* operation);
    NxResult ReadOutcome(Outcome& outcome);

    GenPort& mPort;
    std::size_t mChunkSize;
    std::uint64_t mBuffer = 0;
    PlainRegister mOffset;
    PlainRegister mLength;
    PlainRegister mExecute;
    PlainRegister mStatus;
    PlainRegister mResult;
    std::int64_t mCommandValue = 0;
    bool mExecuteIsReadable = false;
    std::map<std::int64_t, std::string> mStatusNames;
    std::optional<std::size_t> mLengthInDevice;  ///< what was written to FileAccessLength last
    std::vector<GenPort::Register> mRegisters;   ///< kept for its memory
};
