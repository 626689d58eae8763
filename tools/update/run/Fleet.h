#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Runs one job per camera: on different interfaces in parallel, on one interface two at most,
/// since they share its bandwidth.
class Fleet {
  public:
    using Job = std::function<void(std::size_t camera)>;

    /// @param interfaces one for each camera: the name of the interface it is on
    /// @param jobs at most so many at once; 0: as many as the interfaces allow
    Fleet(std::vector<std::string> interfaces, std::size_t jobs, Job job);
    /// Waits for the jobs that are running.
    ~Fleet();
    Fleet(const Fleet&) = delete;
    Fleet& operator=(const Fleet&) = delete;

    /// Starts no further job.
    void Stop();
    /// @return true when no job is running and none will be started
    [[nodiscard]] bool IsDone();

  private:
    void Work();
    /// @return false when there is nothing left that this thread could start
    bool Take(std::unique_lock<std::mutex>& lock, std::size_t& camera);

    const std::vector<std::string> mInterfaces;
    const Job mJob;
    std::mutex mMutex;  // guards what is below
    std::condition_variable mChanged;
    std::vector<std::size_t> mWaiting;
    std::map<std::string, int> mRunning;  // by interface
    std::size_t mBusy = 0;
    std::vector<std::thread> mThreads;
};
