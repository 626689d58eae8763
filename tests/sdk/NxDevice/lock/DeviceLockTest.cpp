#include "lock/DeviceLock.h"

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <internal/NxSystem/HardwareAddresses.h>

#include "OtherProcess.h"

namespace {

using Lock = std::shared_ptr<DeviceLock>;

ConnectionId Id(const std::string& text) {
    ConnectionId id;
    EXPECT_TRUE(ConnectionId::Parse(text, id).IsOK()) << text;
    return id;
}

NxResult Acquire(const std::string& id, Lock& lock) {
    return DeviceLock::Acquire(Id(id), lock);
}

std::vector<std::string> LockFiles() {
    std::vector<std::string> files;
    for (const char* folder : {"/run/lock", "/tmp"}) {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
            if (entry.path().extension() == ".lock") {
                files.push_back(entry.path());
            }
        }
    }
    return files;
}

class DeviceLockTest : public testing::Test {
  protected:
    void TearDown() override { HardwareAddresses::Remember({}); }
};

TEST_F(DeviceLockTest, IsSharedWithinAProcess) {
    Lock first;
    Lock second;
    EXPECT_TRUE(Acquire("192.168.1.20%eth1", first).IsOK());
    EXPECT_TRUE(Acquire("192.168.1.20%eth1", second).IsOK());
    first.reset();
    EXPECT_EQ(LockFiles().size(), 1U);
    second.reset();
    EXPECT_EQ(LockFiles().size(), 0U);
}

TEST_F(DeviceLockTest, IsRefusedWhileAnotherProcessHasIt) {
    Lock lock;
    for (const char* id : {"192.168.1.20%eth1", "192.168.1.20", "u3v:123456789ABC"}) {
        OtherProcess other([&] { return Acquire(id, lock).IsOK(); });
        ASSERT_TRUE(other.Result());
        const NxResult result = Acquire(id, lock);
        EXPECT_EQ(result.GetCode(), kNxAccessDenied);
        ASSERT_EQ(LockFiles().size(), 1U);
        EXPECT_EQ(result.GetDescription().GetAscii(),
                  "Cannot use " + std::string(id) +
                      ": another program on this computer is using it; wait until that program "
                      "ends (it holds " +
                      LockFiles().front() + ")");
        EXPECT_EQ(lock, nullptr);
        other.Kill();
        EXPECT_TRUE(Acquire(id, lock).IsOK());
        lock.reset();
        EXPECT_EQ(LockFiles().size(), 0U);
    }
}

TEST_F(DeviceLockTest, LeavesOtherDevicesAlone) {
    Lock lock;
    OtherProcess other([&] { return Acquire("192.168.1.20%eth1", lock).IsOK(); });
    for (const char* id : {"192.168.1.21%eth1", "192.168.1.20%eth2", "u3v:123456789ABC"}) {
        EXPECT_TRUE(Acquire(id, lock).IsOK()) << id;
    }
}

TEST_F(DeviceLockTest, KnowsADeviceBehindTwoInterfacesByItsHardwareAddress) {
    HardwareAddresses::Remember({{"169.254.0.2%eth1", "00:11:22:ab:cd:ef"},
                                 {"169.254.0.2%eth2", "00:11:22:ab:cd:ef"},
                                 {"169.254.0.3%eth2", "00:11:22:ab:cd:f0"}});
    Lock lock;
    OtherProcess other([&] { return Acquire("169.254.0.2%eth1", lock).IsOK(); });
    ASSERT_TRUE(other.Result());
    EXPECT_EQ(Acquire("169.254.0.2%eth2", lock).GetCode(), kNxAccessDenied);
    EXPECT_TRUE(Acquire("169.254.0.3%eth2", lock).IsOK());
    // By its connection ID, for a process that has not searched for it.
    HardwareAddresses::Remember({});
    EXPECT_EQ(Acquire("169.254.0.2%eth1", lock).GetCode(), kNxAccessDenied);
}

TEST_F(DeviceLockTest, ARefusalLeavesNothingTaken) {
    HardwareAddresses::Remember(
        {{"169.254.0.2%eth1", "00:11:22:ab:cd:ef"}, {"169.254.0.2%eth2", "00:11:22:ab:cd:ef"}});
    Lock lock;
    OtherProcess other([&] { return Acquire("169.254.0.2%eth1", lock).IsOK(); });
    EXPECT_EQ(Acquire("169.254.0.2%eth2", lock).GetCode(), kNxAccessDenied);
    HardwareAddresses::Remember({});
    OtherProcess third([&] { return Acquire("169.254.0.2%eth2", lock).IsOK(); });
    EXPECT_TRUE(third.Result());
}

TEST_F(DeviceLockTest, NoConnectionIdLeadsOutOfTheFolder) {
    Lock lock;
    ConnectionId id = Id("192.168.1.20%eth1");
    id.interfaceName = "../../../x";  // which no interface can be named
    ASSERT_TRUE(DeviceLock::Acquire(id, lock).IsOK());
    ASSERT_EQ(LockFiles().size(), 1U);
    const std::string name = std::filesystem::path(LockFiles().front()).filename();
    EXPECT_EQ(name.substr(name.find("192")), "192.168.1.20%.._.._.._x.lock");
    lock.reset();
    ASSERT_TRUE(Acquire("u3v:/../etc", lock).IsOK());
    EXPECT_EQ(LockFiles().size(), 1U);
}

TEST_F(DeviceLockTest, ThreadsOfOneProcessNeverRefuseEachOther) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                Lock lock;
                EXPECT_TRUE(Acquire("192.168.1.20%eth1", lock).IsOK());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(LockFiles().size(), 0U);
}

}  // namespace
