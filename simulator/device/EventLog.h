#pragma once

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace simulator {

/// What happened to the device, in order: the last 10000 are kept in memory and, when a file was
/// opened, all of them written as JSON lines. Each event is an object with "time_ms" (since this
/// log was made), "event" (its name) and members of its own. May be used from any thread.
class EventLog {
  public:
    EventLog();
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    /// Appends events to that file from now on. @return false when it cannot be opened
    [[nodiscard]] bool OpenFile(const std::string& path);

    void Add(const std::string& name);
    void Add(const std::string& name, nlohmann::json fields);

    [[nodiscard]] std::vector<nlohmann::json> All() const;
    /// Number of events of that name so far.
    [[nodiscard]] std::size_t Count(const std::string& name) const;

  private:
    struct Events;

    const std::chrono::steady_clock::time_point mStart;
    mutable std::mutex mMutex;
    const std::unique_ptr<Events> mEvents;
    std::map<std::string, std::size_t> mCounts;
    std::ofstream mFile;
};

}  // namespace simulator
