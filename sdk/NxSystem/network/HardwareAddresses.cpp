#include <internal/NxSystem/HardwareAddresses.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

struct Memory {
    std::mutex mutex;
    std::vector<HardwareAddresses::Entry> entries;
};

Memory& OfThisProcess() {
    static Memory memory;
    return memory;
}

}  // namespace

void HardwareAddresses::Remember(std::vector<Entry> found) {
    Memory& memory = OfThisProcess();
    const std::lock_guard lock(memory.mutex);
    memory.entries = std::move(found);
}

std::string HardwareAddresses::Find(const std::string& connectionId) {
    Memory& memory = OfThisProcess();
    const std::lock_guard lock(memory.mutex);
    const auto entry = std::ranges::find(memory.entries, connectionId, &Entry::connectionId);
    return entry != memory.entries.end() ? entry->mac : std::string();
}
