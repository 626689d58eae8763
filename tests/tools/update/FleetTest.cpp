#include "run/Fleet.h"

#include <algorithm>
#include <atomic>
#include <set>

#include <gmock/gmock.h>

#include "Process.h"

namespace {

/// Jobs that run until they are let go.
class Jobs {
  public:
    void Run(std::size_t number) {
        std::unique_lock<std::mutex> lock(mMutex);
        mRunning.insert(number);
        mStarted.insert(number);
        mChanged.wait(lock, [this] { return mMayEnd; });
        mRunning.erase(number);
    }
    void LetGo() {
        const std::lock_guard<std::mutex> lock(mMutex);
        mMayEnd = true;
        mChanged.notify_all();
    }
    std::set<std::size_t> Started() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mStarted;
    }

  private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::set<std::size_t> mRunning;
    std::set<std::size_t> mStarted;
    bool mMayEnd = false;
};

}  // namespace

class FleetTest : public testing::Test {
  protected:
    void Start(const std::vector<std::string>& interfaces, std::size_t limit = 0) {
        fleet = std::make_unique<Fleet>(interfaces, limit,
                                        [this](std::size_t number) { jobs.Run(number); });
    }
    void ExpectStarted(const std::set<std::size_t>& numbers) {
        EXPECT_TRUE(WaitUntil([&] { return jobs.Started().size() == numbers.size(); }));
        EXPECT_EQ(jobs.Started(), numbers);
    }
    void ExpectEnd() {
        jobs.LetGo();
        EXPECT_TRUE(WaitUntil([&] { return fleet->IsDone(); }));
        fleet.reset();
    }

    Jobs jobs;
    std::unique_ptr<Fleet> fleet;
};

TEST_F(FleetTest, RunsTwoJobsOnEachInterfaceAtOnce) {
    Start({"eth1", "eth1", "eth1", "eth2", "eth2", "eth2", "eth3"});
    ExpectStarted({0, 1, 3, 4, 6});
    ExpectEnd();
    EXPECT_EQ(jobs.Started().size(), 7U);
}

TEST_F(FleetTest, RunsNoMoreJobsThanItIsAllowed) {
    Start({"eth1", "eth2", "eth3", "eth4"}, 3);
    ExpectStarted({0, 1, 2});
    ExpectEnd();
    EXPECT_EQ(jobs.Started().size(), 4U);
}

TEST_F(FleetTest, StartsNothingMoreOnceStopped) {
    Start({"eth1", "eth1", "eth1"});
    ExpectStarted({0, 1});
    fleet->Stop();
    EXPECT_FALSE(fleet->IsDone());
    ExpectEnd();
    EXPECT_EQ(jobs.Started().size(), 2U);
}

TEST_F(FleetTest, IsDoneWithoutCameras) {
    Start({});
    EXPECT_TRUE(fleet->IsDone());
}
