#include "NodeChunkAccess.h"

#include "FileNodes.h"

NxResult NodeChunkAccess::Write(std::uint64_t offset, std::span<const std::byte> chunk,
                                std::uint64_t& taken) {
    if (NxResult result = SetRange(offset, chunk.size()); !result.IsOK()) {
        return result;
    }
    // Through the port: Aravis would write the whole register, padded with zeros.
    std::uint64_t address = 0;
    if (NxResult result = mNodes.ReadRegisterAddress(FileNodes::kBuffer, address); !result.IsOK()) {
        return result;
    }
    if (NxResult result =
            FileNodes::WriteBuffer(mNodes.Device().Port(), address, chunk, mChunkSize);
        !result.IsOK()) {
        return result;
    }
    if (NxResult result = FileNodes::RunOperation(mNodes, "Write"); !result.IsOK()) {
        return result;
    }
    return ReadResult("Write", chunk.size(), taken);
}

NxResult NodeChunkAccess::Read(std::uint64_t offset, std::span<std::byte> chunk,
                               std::uint64_t& given) {
    if (NxResult result = SetRange(offset, chunk.size()); !result.IsOK()) {
        return result;
    }
    if (NxResult result = FileNodes::RunOperation(mNodes, "Read"); !result.IsOK()) {
        return result;
    }
    std::uint64_t available = 0;
    if (NxResult result = ReadResult("Read", chunk.size(), available); !result.IsOK()) {
        return result;
    }
    if (available > 0) {
        std::uint64_t address = 0;
        if (NxResult result = mNodes.ReadRegisterAddress(FileNodes::kBuffer, address);
            !result.IsOK()) {
            return result;
        }
        if (NxResult result = mNodes.Device().Port().ReadMemory(address, chunk.first(available));
            !result.IsOK()) {
            return result;
        }
    }
    given = available;
    return {};
}

NxResult NodeChunkAccess::SetRange(std::uint64_t offset, std::size_t length) {
    NxResult result = mNodes.WriteInteger(FileNodes::kOffset, static_cast<std::int64_t>(offset));
    if (result.IsOK()) {
        result = mNodes.WriteInteger(FileNodes::kLength, static_cast<std::int64_t>(length));
    }
    return result;
}

NxResult NodeChunkAccess::ReadResult(const char* operation, std::size_t asked,
                                     std::uint64_t& moved) {
    std::int64_t value = 0;
    if (NxResult result = mNodes.ReadInteger(FileNodes::kResult, value); !result.IsOK()) {
        return result;
    }
    const auto reported = static_cast<std::uint64_t>(value);
    if (reported > asked) {
        return FileNodes::Impossible(mNodes.Device().Port(), operation, reported, asked);
    }
    moved = reported;
    return {};
}
