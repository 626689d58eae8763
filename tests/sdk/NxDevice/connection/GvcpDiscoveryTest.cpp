#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <gtest/gtest.h>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "NxDeviceFixture.h"
#include "Process.h"
#include "simulator/device/SimulatedDevice.h"
#include "simulator/network/BoundSocket.h"

using std::chrono::milliseconds;

namespace {

timespec wakeTime;

void SleepUntilWakeTime(int /*signal*/) {
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wakeTime, nullptr) != 0) {
    }
}

/// A simulated device on loopback that is searched for.
class GvcpDiscoveryTest : public NxDeviceTest {
  protected:
    // Without the USB host controllers of the computer that runs the test.
    std::vector<const NxNetworkAdapter*> FindAdapters() {
        ExpectOK(system.Find());
        std::vector<const NxNetworkAdapter*> adapters;
        for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
            if (const auto* adapter =
                    dynamic_cast<const NxNetworkAdapter*>(system.GetInterface(i))) {
                adapters.push_back(adapter);
            }
        }
        return adapters;
    }

    NxSystem system;
};

TEST_F(GvcpDiscoveryTest, ListsADeviceOnceBehindAnInterfaceWithTwoAddresses) {
    ASSERT_EQ(Process::Run({"ip", "address", "add", "10.99.98.1/32", "dev", "lo"}).exitStatus, 0);
    StartDevice(Builder());
    const auto adapters = FindAdapters();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0]->GetDeviceCount(), 1U);
}

TEST_F(GvcpDiscoveryTest, TakesTheAnswersThatCameWhileTheComputerWasBusyElsewhere) {
    simulator::FaultOptions faults;
    faults.discoveryDelay = milliseconds(500);
    StartDevice(Builder().faults(faults));
    struct sigaction sleep {};
    sleep.sa_handler = SleepUntilWakeTime;
    ASSERT_EQ(sigaction(SIGUSR1, &sleep, nullptr), 0);
    // Holds the search from its first command on until its time is over.
    std::thread busyComputer([this, search = pthread_self()] {
        EXPECT_TRUE(WaitUntil([this] { return simulated->GvcpCounts()["DISCOVERY"] > 0; }));
        EXPECT_EQ(clock_gettime(CLOCK_MONOTONIC, &wakeTime), 0);
        wakeTime.tv_sec += 2;
        EXPECT_EQ(pthread_kill(search, SIGUSR1), 0);
    });
    const auto adapters = FindAdapters();
    busyComputer.join();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0]->GetDeviceCount(), 1U);
}

// Answers every search, as devices do, but with an address that is not its own.
class LiarOnLoopback {
  public:
    LiarOnLoopback() {
        std::string why;
        EXPECT_TRUE(mEverybody.Open("lo", 0xFFFFFFFFU, 3956, true, why)) << why;
        EXPECT_TRUE(mOwn.Open("lo", 0x7F000001U, 3956, false, why)) << why;
        mThread = std::thread([this] {
            while (!mStops) {
                if (const auto asked = mEverybody.Receive(); asked && asked->bytes.size() == 8) {
                    const unsigned int id = asked->bytes[6] * 256U + asked->bytes[7];
                    Answer(asked->peer, id, 1);
                    // To a search that nobody has begun.
                    Answer(asked->peer, (id + 100) & 0xFFFFU, 2);
                    Answer(asked->peer, (id - 100) & 0xFFFFU, 3);
                    Answer(asked->peer, 0, 4);
                }
                std::this_thread::sleep_for(milliseconds(1));
            }
        });
    }
    ~LiarOnLoopback() {
        mStops = true;
        mThread.join();
    }

  private:
    void Answer(const simulator::Peer& peer, unsigned int id, std::uint8_t mac) {
        std::vector<std::uint8_t> bytes(8 + 0xF8);
        bytes[3] = 3;
        bytes[5] = 0xF8;
        bytes[6] = static_cast<std::uint8_t>(id >> 8U);
        bytes[7] = static_cast<std::uint8_t>(id);
        bytes[8 + 0x0F] = mac;
        bytes[8 + 0x24] = 10;
        bytes[8 + 0x27] = 99;
        mOwn.Send({peer, std::move(bytes)});
    }

    simulator::BoundSocket mEverybody;
    simulator::BoundSocket mOwn;
    std::atomic<bool> mStops{false};
    std::thread mThread;
};

TEST_F(GvcpDiscoveryTest, BelievesTheAddressThatAnAnswerCameFromAndNotTheOneWrittenInIt) {
    const LiarOnLoopback liar;
    const auto adapters = FindAdapters();
    ASSERT_EQ(adapters.size(), 1U);
    ASSERT_EQ(adapters[0]->GetDeviceCount(), 1U);
    EXPECT_STREQ(adapters[0]->GetDeviceInfo(0)->GetConnectionID().GetAscii(), "127.0.0.1%lo");
}

}  // namespace
