#include "EventLog.h"

#include <deque>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

constexpr std::size_t kMaxKept = 10000;

}  // namespace

struct EventLog::Events {
    std::deque<nlohmann::json> last;
};

EventLog::EventLog()
    : mStart(std::chrono::steady_clock::now()), mEvents(std::make_unique<Events>()) {}

EventLog::~EventLog() = default;

bool EventLog::OpenFile(const std::string& path) {
    const std::lock_guard lock(mMutex);
    mFile.open(path, std::ios::app);
    return mFile.is_open();
}

void EventLog::Add(const std::string& name) {
    Add(name, nlohmann::json::object());
}

void EventLog::Add(const std::string& name, nlohmann::json fields) {
    const std::lock_guard lock(mMutex);
    const auto age = std::chrono::steady_clock::now() - mStart;
    fields["time_ms"] = std::chrono::duration_cast<std::chrono::milliseconds>(age).count();
    fields["event"] = name;
    if (mFile.is_open()) {
        // Texts may hold whatever bytes a peer sent; they must not make the log throw.
        mFile << fields.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) << std::endl;
    }
    ++mCounts[name];
    mEvents->last.push_back(std::move(fields));
    if (mEvents->last.size() > kMaxKept) {
        mEvents->last.pop_front();
    }
}

std::vector<nlohmann::json> EventLog::All() const {
    const std::lock_guard lock(mMutex);
    return {mEvents->last.begin(), mEvents->last.end()};
}

std::size_t EventLog::Count(const std::string& name) const {
    const std::lock_guard lock(mMutex);
    const auto found = mCounts.find(name);
    return found == mCounts.end() ? 0 : found->second;
}

}  // namespace simulator
