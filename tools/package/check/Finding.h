#pragma once

#include <array>
#include <string>
#include <string_view>

/// Names of the warnings, by which a user accepts them.
namespace WarningName {

inline constexpr std::string_view kNoHeader = "no-header";
inline constexpr std::string_view kManifestMember = "manifest-member";
inline constexpr std::string_view kManifestCut = "manifest-cut";
inline constexpr std::string_view kMemberName = "member-name";
inline constexpr std::string_view kUnusedProcedure = "unused-procedure";
inline constexpr std::string_view kReset = "reset-before-upload";
inline constexpr std::string_view kTransport = "unknown-transport";
inline constexpr std::string_view kMissingInfo = "missing-info";
inline constexpr std::string_view kUpdaterLimit = "updater-limit";
inline constexpr std::string_view kModelTag = "model-tag";
inline constexpr std::string_view kModelLength = "model-length";
inline constexpr std::string_view kFileName = "file-name";

inline constexpr std::array kAll{kNoHeader,        kManifestMember, kManifestCut, kMemberName,
                                 kUnusedProcedure, kReset,          kTransport,   kMissingInfo,
                                 kUpdaterLimit,    kModelTag,       kModelLength, kFileName};

}  // namespace WarningName

/// Something that a check has to say of a payload or package.
struct Finding {
    bool isError = false;   ///< the update would fail or go wrong; else a warning
    std::string_view name;  ///< of a warning, see WarningName; empty for an error
    std::string text;       ///< one line
};

inline Finding ErrorFinding(const std::string& text) {
    return {true, "", text};
}

inline Finding WarningFinding(std::string_view name, const std::string& text) {
    return {false, name, text};
}
