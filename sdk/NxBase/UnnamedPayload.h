#pragma once

/// What is said of a payload whose path is empty: a package reader gives that path for a member
/// that it cannot hand out, and says no more.
inline constexpr const char* kUnnamedPayload =
    "Cannot read the payload: it is missing from the package or cannot be unpacked (damaged, "
    "encrypted, or /tmp is full)";
