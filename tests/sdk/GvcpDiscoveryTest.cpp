#include <chrono>
#include <thread>
#include <vector>

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <gtest/gtest.h>

#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "NxDeviceFixture.h"
#include "Process.h"
#include "simulator/SimulatedDevice.h"

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

}  // namespace
