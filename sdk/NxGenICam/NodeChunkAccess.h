#pragma once

#include "FileChunkAccess.h"
#include "NodeMap.h"

/// Chunks through the node map, feature by feature: for devices whose file access features are
/// more than plain registers.
class NodeChunkAccess : public FileChunkAccess {
  public:
    NodeChunkAccess(NodeMap& nodes, std::size_t chunkSize) : mNodes(nodes), mChunkSize(chunkSize) {}

    [[nodiscard]] std::size_t ChunkSize() const override { return mChunkSize; }
    NxResult Write(std::uint64_t offset, std::span<const std::byte> chunk,
                   std::uint64_t& taken) override;
    NxResult Read(std::uint64_t offset, std::span<std::byte> chunk, std::uint64_t& given) override;

  private:
    NxResult SetRange(std::uint64_t offset, std::size_t length);
    NxResult ReadResult(const char* operation, std::size_t asked, std::uint64_t& moved);

    NodeMap& mNodes;
    std::size_t mChunkSize;
};
