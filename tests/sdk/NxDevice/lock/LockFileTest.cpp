#include "lock/LockFile.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "OtherProcess.h"
#include "TemporaryFolder.h"

namespace {

using Outcome = LockFile::Outcome;

class LockFileTest : public testing::Test {
  protected:
    Outcome Take() { return LockFile::Take(mPath, mLock); }
    [[nodiscard]] bool Exists() const { return std::filesystem::exists(mPath); }

    TemporaryFolder mFolder;
    const std::string mPath = (mFolder.Path() / "device.lock").string();
    std::unique_ptr<LockFile> mLock;
};

TEST_F(LockFileTest, IsHeldByOneAtATime) {
    OtherProcess other([this] { return Take() == Outcome::kTaken; });
    ASSERT_TRUE(other.Result());
    EXPECT_EQ(Take(), Outcome::kHeld);
    EXPECT_EQ(mLock, nullptr);
}

TEST_F(LockFileTest, IsFreeWhenItsHolderWasKilled) {
    OtherProcess other([this] { return Take() == Outcome::kTaken; });
    ASSERT_TRUE(other.Result());
    other.Kill();
    EXPECT_TRUE(Exists());
    EXPECT_EQ(Take(), Outcome::kTaken);
}

TEST_F(LockFileTest, LeavesNoFileBehind) {
    ASSERT_EQ(Take(), Outcome::kTaken);
    EXPECT_TRUE(Exists());
    mLock.reset();
    EXPECT_FALSE(Exists());
}

TEST_F(LockFileTest, CanBeTakenByEveryUserWhateverTheUmask) {
    const mode_t before = ::umask(0777);
    EXPECT_EQ(Take(), Outcome::kTaken);
    (void)::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(mPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0444U);
}

TEST_F(LockFileTest, FollowsNoLink) {
    const std::string target = mFolder.Write("target", "kept");
    std::filesystem::create_symlink(target, mPath);
    EXPECT_EQ(Take(), Outcome::kUnavailable);
    EXPECT_TRUE(std::filesystem::exists(target));
}

TEST_F(LockFileTest, IsUnavailableWhereNoFileCanBeMade) {
    EXPECT_EQ(LockFile::Take("/absent/device.lock", mLock), Outcome::kUnavailable);
}

// Each holder removes the file, so that others may just then be opening it.
TEST_F(LockFileTest, IsNeverHeldByTwoAmongManyThatTakeAndGiveItUp) {
    constexpr int kProcesses = 4;
    constexpr int kRounds = 2000;
    void* const memory = ::mmap(nullptr, sizeof(std::atomic<int>) * 2, PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto* const holders = new (memory) std::atomic<int>(0);
    auto* const failures = new (holders + 1) std::atomic<int>(0);
    for (int i = 0; i < kProcesses; ++i) {
        if (::fork() == 0) {
            for (int round = 0; round < kRounds;) {
                const Outcome outcome = Take();
                *failures += outcome == Outcome::kUnavailable ? 1 : 0;
                if (outcome == Outcome::kTaken) {
                    *failures += ++*holders == 1 ? 0 : 1;
                    --*holders;
                    mLock.reset();
                }
                round += outcome == Outcome::kHeld ? 0 : 1;
            }
            ::_exit(0);
        }
    }
    for (int i = 0; i < kProcesses; ++i) {
        ASSERT_GT(::wait(nullptr), 0);
    }
    EXPECT_EQ(*failures, 0);
    EXPECT_FALSE(Exists());
    (void)::munmap(memory, sizeof(std::atomic<int>) * 2);
}

}  // namespace
