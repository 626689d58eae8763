#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include <NxBase/NxResult.h>

#include "FileOperation.h"
#include "node_map/NodeMap.h"

/// Moves one buffer's worth of bytes after the other between this computer and the device's open
/// file (SFNC 2.7, section 14 "File Access Control").
class FileChunks {
  public:
    enum class Direction { kWrite, kRead };

    FileChunks(NodeMap& nodes, Direction direction, FileOperation::Habits& habits);

    /// Finds what the features allow. The operation is selected and the file open.
    NxResult Prepare();
    /// Bytes that one call moves at most; at least 1.
    [[nodiscard]] std::size_t ChunkSize() const { return mChunkSize; }
    /// @param offset byte of the device's file at which the chunk begins
    /// @param taken bytes that the device took, at most the chunk's; 0 is possible
    /// @return kNxTransferIncomplete when a device that keeps the position itself is not where it
    ///         has to be: it carried out an operation twice, or not at all
    NxResult Write(std::uint64_t offset, std::span<const std::byte> chunk, std::uint64_t& taken);
    /// @param given bytes that the device gave, at most the chunk's; 0 at the end of the file
    NxResult Read(std::uint64_t offset, std::span<std::byte> chunk, std::uint64_t& given);

  private:
    NxResult FindLimits();
    /// A length up to that one whose result differs from that of the last chunk, where it matters.
    [[nodiscard]] std::size_t UnlikeTheLast(std::size_t length) const;
    NxResult AwaitNewResult(std::int64_t& value);
    NxResult CheckPosition(std::uint64_t expected);
    NxResult WriteBuffer(std::span<const std::byte> chunk, std::size_t length);
    NxResult WriteOnce(std::uint64_t offset, std::span<const std::byte> chunk, std::size_t length,
                       std::uint64_t& taken);
    NxResult Run(std::uint64_t offset, std::size_t length, std::uint64_t& moved);
    /// The length that the device can be given for that many bytes.
    [[nodiscard]] std::size_t Allowed(std::size_t length) const;

    NodeMap& mNodes;
    Direction mDirection;
    FileOperation::Habits& mHabits;
    FileOperation mOperation;
    NodeMap::Id mOffset = NodeTable::kNone;
    NodeMap::Id mLength = NodeTable::kNone;
    bool mSetsOffset = false;
    bool mSetsLength = false;
    bool mChecksPosition = false;
    bool mKnowsPosition = false;
    std::size_t mRoom = 0;  ///< bytes of the buffer
    std::size_t mChunkSize = 1;
    std::size_t mIncrement = 1;
    std::size_t mLeast = 0;
    std::optional<std::int64_t> mLastResult;     ///< of the operation before
    std::optional<std::size_t> mLengthInDevice;  ///< what was written to FileAccessLength last
};
