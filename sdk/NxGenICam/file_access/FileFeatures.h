#pragma once

/// The features of file access (SFNC 2.7, section 14 "File Access Control").
namespace FileFeatures {

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

}  // namespace FileFeatures
