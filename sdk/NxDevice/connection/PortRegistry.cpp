#include "PortRegistry.h"

#include <algorithm>
#include <iterator>
#include <thread>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "history/DeviceHistory.h"

namespace {

using std::chrono::milliseconds;

// A device that was told to restart and has not begun to by then goes on as it is.
constexpr milliseconds kLongestRestartDelay{2000};
constexpr milliseconds kRestartPoll{20};

}  // namespace

PortRegistry& PortRegistry::OfThisProcess() {
    static PortRegistry registry;
    return registry;
}

// A device answers for a while before it restarts, and would drop the connection then.
NxResult PortRegistry::AwaitRestart(const ConnectionId& id, DevicePort& port) {
    while (true) {
        NxResult result = port.Probe();
        const bool isDue =
            DeviceHistory::OfThisProcess().WasResetSince(id, Clock::now() - kLongestRestartDelay);
        if (!result.IsOK() || !isDue) {
            return result;
        }
        std::this_thread::sleep_for(kRestartPoll);
    }
}

std::shared_ptr<std::mutex> PortRegistry::MutexOf(const ConnectionId& id) {
    const std::lock_guard lock(mMutex);
    std::erase_if(mMutexes, [](const auto& known) { return known.second.expired(); });
    // Without the interface, since any path to the address will do.
    std::weak_ptr<std::mutex>& known =
        mMutexes[id.guid.empty() ? std::to_string(id.address) : id.guid];
    std::shared_ptr<std::mutex> mutex = known.lock();
    if (mutex == nullptr) {
        mutex = std::make_shared<std::mutex>();
        known = mutex;
    }
    return mutex;
}

std::vector<PortRegistry::Entry> PortRegistry::EntriesOf(const ConnectionId& id) {
    const std::lock_guard lock(mMutex);
    std::erase_if(mEntries, [](const Entry& entry) { return entry.port.expired(); });
    std::vector<Entry> found;
    std::copy_if(mEntries.begin(), mEntries.end(), std::back_inserter(found),
                 [&id](const Entry& entry) { return NameSameDevice(entry.id, id); });
    return found;
}

NxResult PortRegistry::Acquire(const ConnectionId& id, Share& share) {
    const std::shared_ptr<std::mutex> device = MutexOf(id);
    const std::lock_guard lock(*device);
    for (const Entry& entry : EntriesOf(id)) {
        std::shared_ptr<DevicePort> known = entry.port.lock();
        if (known == nullptr || !known->IsAlive()) {
            continue;
        }
        const bool wasReset = DeviceHistory::OfThisProcess().WasResetSince(id, entry.opened);
        NxResult result = wasReset ? AwaitRestart(id, *known) : known->Probe();
        if (result.IsOK()) {
            share = {.port = std::move(known), .xml = entry.xml, .device = device};
            return {};
        }
        // While its channel lives, this process holds the interface, and nobody can claim it twice.
        // One that is there and does not answer would not do so for a new connection either, unless
        // it is silent because it restarts.
        if (known->IsAlive() || (result.GetCode() == kNxTimeout && !wasReset)) {
            return result;
        }
    }
    const Clock::time_point opened = Clock::now();
    std::shared_ptr<DevicePort> port;
    NX_RETURN_IF_FAILED(mOpen(id, port));
    port->SetConnectionId(id);
    std::string xml;
    NX_RETURN_IF_FAILED(port->ReadDescription(xml));
    share = {
        .port = port, .xml = std::make_shared<const std::string>(std::move(xml)), .device = device};
    const std::lock_guard entries(mMutex);
    mEntries.push_back({.id = id, .opened = opened, .port = port, .xml = share.xml});
    return {};
}

void PortRegistry::Release(Share& share) {
    if (const std::shared_ptr<std::mutex> device = share.device) {
        const std::lock_guard lock(*device);
        share = Share();
    }
}
