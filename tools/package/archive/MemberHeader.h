#pragma once

#include <optional>

#include <NxDevice/NxDfwHeader.h>

#include "Archive.h"

/// The payload header at the beginning of a member; nothing when it does not begin with one.
std::optional<NxDfwHeader> ReadMemberHeader(const Archive& archive, std::size_t member);
