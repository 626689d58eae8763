#include "EventLog.h"

#include <algorithm>

namespace simulator {

EventLog::EventLog() : mStart(std::chrono::steady_clock::now()) {}

bool EventLog::OpenFile(const std::string& path) {
    const std::lock_guard lock(mMutex);
    mFile.open(path, std::ios::app);
    return mFile.is_open();
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
    mEvents.push_back(std::move(fields));
}

std::vector<nlohmann::json> EventLog::All() const {
    const std::lock_guard lock(mMutex);
    return mEvents;
}

std::size_t EventLog::Count(const std::string& name) const {
    const std::lock_guard lock(mMutex);
    return static_cast<std::size_t>(
        std::count_if(mEvents.begin(), mEvents.end(),
                      [&name](const nlohmann::json& event) { return event["event"] == name; }));
}

}  // namespace simulator
