#include "Fleet.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace {

constexpr std::size_t kMostPerInterface = 2;

}  // namespace

Fleet::Fleet(std::vector<std::string> interfaces, std::size_t jobs, Job job)
    : mInterfaces(std::move(interfaces)), mJob(std::move(job)), mWaiting(mInterfaces.size()) {
    std::iota(mWaiting.begin(), mWaiting.end(), 0U);
    const std::set<std::string> different(mInterfaces.begin(), mInterfaces.end());
    std::size_t threads = std::min(different.size() * kMostPerInterface, mInterfaces.size());
    if (jobs > 0) {
        threads = std::min(threads, jobs);
    }
    for (std::size_t i = 0; i < threads; ++i) {
        mThreads.emplace_back([this] { Work(); });
    }
}

Fleet::~Fleet() {
    for (std::thread& thread : mThreads) {
        thread.join();
    }
}

void Fleet::Stop() {
    const std::lock_guard<std::mutex> lock(mMutex);
    mWaiting.clear();
    mChanged.notify_all();
}

bool Fleet::IsDone() {
    const std::lock_guard<std::mutex> lock(mMutex);
    return mWaiting.empty() && mBusy == 0;
}

bool Fleet::Take(std::unique_lock<std::mutex>& lock, std::size_t& camera) {
    while (!mWaiting.empty()) {
        const auto next = std::ranges::find_if(mWaiting, [this](std::size_t candidate) {
            return mRunning[mInterfaces[candidate]] < static_cast<int>(kMostPerInterface);
        });
        if (next != mWaiting.end()) {
            camera = *next;
            mWaiting.erase(next);
            return true;
        }
        mChanged.wait(lock);
    }
    return false;
}

void Fleet::Work() {
    std::unique_lock<std::mutex> lock(mMutex);
    std::size_t camera = 0;
    while (Take(lock, camera)) {
        int& running = mRunning[mInterfaces[camera]];
        ++running;
        ++mBusy;
        lock.unlock();
        mJob(camera);
        lock.lock();
        --running;
        --mBusy;
        mChanged.notify_all();
    }
}
