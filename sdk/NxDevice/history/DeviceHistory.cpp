#include "DeviceHistory.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <NxBase/PrintableText.h>
#include <NxBase/Utf8.h>

namespace {

constexpr std::size_t kMostDevices = 64;
constexpr std::size_t kMostDescriptions = 8;
// Several times what cameras have; a longer one is downloaded each time.
constexpr std::size_t kLongestKept = 4U << 20U;
constexpr std::chrono::seconds kOldestDescription{10};
constexpr std::chrono::seconds kLongestRestart{60};
constexpr std::size_t kLongestReason = 400;

}  // namespace

bool NameSameDevice(const ConnectionId& one, const ConnectionId& other) {
    if (one.kind != other.kind || one.address != other.address || one.guid != other.guid) {
        return false;
    }
    return one.interfaceName.empty() || other.interfaceName.empty() ||
           one.interfaceName == other.interfaceName;
}

DeviceHistory& DeviceHistory::OfThisProcess() {
    static DeviceHistory history;
    return history;
}

const DeviceHistory::Entry* DeviceHistory::Find(const ConnectionId& device) const {
    const auto found = std::find_if(
        mEntries.begin(), mEntries.end(),
        [&device](const Entry& entry) { return NameSameDevice(entry.device, device); });
    return found != mEntries.end() ? &*found : nullptr;
}

DeviceHistory::Entry& DeviceHistory::FindOrAdd(const ConnectionId& device) {
    const auto known = std::find_if(
        mEntries.begin(), mEntries.end(),
        [&device](const Entry& entry) { return NameSameDevice(entry.device, device); });
    if (known != mEntries.end()) {
        std::rotate(known, known + 1, mEntries.end());
        return mEntries.back();
    }
    if (mEntries.size() == kMostDevices) {
        mEntries.erase(mEntries.begin());
    }
    mEntries.emplace_back().device = device;
    return mEntries.back();
}

void DeviceHistory::NoteReset(const ConnectionId& device) {
    const std::lock_guard lock(mMutex);
    Entry& entry = FindOrAdd(device);
    entry.reset = Clock::now();
    entry.description.reset();
}

bool DeviceHistory::WasResetSince(const ConnectionId& device, Clock::time_point time) const {
    const std::lock_guard lock(mMutex);
    const Entry* const entry = Find(device);
    return entry != nullptr && entry->reset.has_value() && *entry->reset >= time;
}

void DeviceHistory::NoteNoFileAccess(const ConnectionId& device, const std::string& reason) {
    const std::lock_guard lock(mMutex);
    FindOrAdd(device).noFileAccess =
        PrintableText(Utf8::Cut(reason, kLongestReason), kLongestReason);
}

void DeviceHistory::NoteConnected(const ConnectionId& device) {
    const std::lock_guard lock(mMutex);
    FindOrAdd(device).noFileAccess.clear();
}

std::string DeviceHistory::WhyNoFileAccess(const ConnectionId& device) const {
    const std::lock_guard lock(mMutex);
    const Entry* const entry = Find(device);
    return entry != nullptr ? entry->noFileAccess : std::string();
}

void DeviceHistory::KeepDescription(const ConnectionId& device,
                                    std::shared_ptr<const DescriptionCopy> copy) {
    if (copy->xml.size() > kLongestKept) {
        return;
    }
    const std::lock_guard lock(mMutex);
    Entry& entry = FindOrAdd(device);
    entry.described = Clock::now();
    if (entry.reset.has_value() && entry.described - *entry.reset < kLongestRestart) {
        return;
    }
    entry.description = std::move(copy);
    std::size_t kept = 0;
    for (auto known = mEntries.rbegin(); known != mEntries.rend(); ++known) {
        kept += known->description != nullptr ? 1 : 0;
        if (kept > kMostDescriptions) {
            known->description.reset();
        }
    }
}

std::shared_ptr<const DescriptionCopy> DeviceHistory::Description(
    const ConnectionId& device) const {
    const std::lock_guard lock(mMutex);
    const Entry* const entry = Find(device);
    return entry != nullptr && Clock::now() - entry->described <= kOldestDescription
               ? entry->description
               : nullptr;
}
