#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "NodeMap.h"

/// The file access features of a device and what is done with them through its node map.
namespace FileNodes {

inline constexpr const char* kSelector = "FileSelector";
inline constexpr const char* kOperationSelector = "FileOperationSelector";
inline constexpr const char* kExecute = "FileOperationExecute";
inline constexpr const char* kOpenMode = "FileOpenMode";
inline constexpr const char* kBuffer = "FileAccessBuffer";
inline constexpr const char* kOffset = "FileAccessOffset";
inline constexpr const char* kLength = "FileAccessLength";
inline constexpr const char* kStatus = "FileOperationStatus";
inline constexpr const char* kResult = "FileOperationResult";
inline constexpr const char* kSize = "FileSize";
inline constexpr const char* kSuccess = "Success";

/// The value that starts a command, and whether its register tells when the command is done.
struct CommandState {
    ArvGcNode* valueNode = nullptr;
    std::int64_t commandValue = 0;
    bool isReadable = false;
};

NxResult FindCommandState(NodeMap& nodes, CommandState& state);
/// Writes the beginning of FileAccessBuffer, with zeros up to the next multiple of four bytes where
/// the buffer has room for them: some devices take no other lengths.
/// @param room bytes of the buffer that may be written
NxResult WriteBuffer(GenPort& port, std::uint64_t address, std::span<const std::byte> chunk,
                     std::size_t room);
/// Executes the selected operation and waits for its end.
/// @return kNxFileOperation when the device reports another status than success
NxResult RunOperation(NodeMap& nodes, const std::string& operation);
/// @param status the device's word, e.g. "Failure"
NxResult Refusal(const GenPort& port, const std::string& operation, const std::string& status);
/// A device that reports more bytes than it was given room for.
NxResult Impossible(const GenPort& port, const std::string& operation, std::uint64_t reported,
                    std::uint64_t asked);

}  // namespace FileNodes
