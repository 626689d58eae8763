#pragma once

#include <chrono>
#include <map>
#include <string>

#include "Inventory.h"

/// Reports what changed from one search to the next.
class Watch {
  public:
    /// @param asJson one JSON object per change and line instead of text
    explicit Watch(bool asJson) : mAsJson(asJson) {}

    /// The changes since the call before, one line each; at the first call, everything that is
    /// there.
    [[nodiscard]] std::string Changes(const Inventory::Json& inventory);

  private:
    struct Seen {
        std::string interface;
        Inventory::Json device;
    };

    [[nodiscard]] std::string Line(const char* event, const Seen& seen) const;

    const bool mAsJson;
    std::map<std::string, Seen> mSeen;           // by interface and hardware address or GUID
    std::map<std::string, std::string> mStates;  // of interfaces, by name
};
