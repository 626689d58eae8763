// Many cameras, many updates and many stray datagrams. The ordinary tests run small variants;
// scripts/load.sh runs the full ones (MIRSKO_LOAD=full) and prints the figures.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <nlohmann/json.hpp>

#include "NetworkPair.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "UsbCamera.h"

namespace {

using nlohmann::json;
using std::chrono::seconds;

bool IsFull() {
    return std::getenv("MIRSKO_LOAD") != nullptr;
}

bool IsComplete(const ProcessResult& result) {
    return result.out.ends_with("\nFirmware upload complete.\n") && result.err.empty();
}

// Of a sanitizer's bookkeeping as well.
#ifdef MIRSKO_SANITIZED
constexpr long kMostGrowthKiB = 65536;
#else
constexpr long kMostGrowthKiB = 512;
#endif

const std::string kUpdateInARow = MIRSKO_BUILD_FOLDER "/tests/update_in_a_row";

/// One process that updates one camera again and again.
class ManyUpdatesTest : public testing::Test {
  protected:
    static constexpr int kSmall = 20;
    static constexpr int kFull = 500;

    static std::string Count() { return std::to_string(IsFull() ? kFull : kSmall); }

    void ExpectFlat(const std::string& transport, const ProcessResult& result) {
        ASSERT_EQ(result.exitStatus, 0) << result.out << result.err;
        const json figures = json::parse(result.out);
        std::printf("%s: %s", transport.c_str(), result.out.c_str());
        EXPECT_EQ(figures["succeeded"], figures["updates"]) << figures["failure"];
        const json& early = figures["early"];
        const json& late = figures["late"];
        EXPECT_EQ(early["descriptors"], late["descriptors"]);
        EXPECT_EQ(early["threads"], late["threads"]);
        EXPECT_LE(late["memory_kib"].get<long>() - early["memory_kib"].get<long>(), kMostGrowthKiB);
    }

    static constexpr seconds kLimit{500};
    TemporaryFolder mFolder;
    const std::string mFile = mFolder.Write("camera.dfw", MakePayload(RandomBytes(20000, 1)));
};

}  // namespace

TEST_F(ManyUpdatesTest, HoldNoMoreAtTheEndByFileAccess) {
    SimulatedCamera camera({"--buffer-size", "4096"});
    ExpectFlat("file access",
               Process::Run({kUpdateInARow, "genicam", "127.0.0.1%lo", mFile, Count()}, kLimit));
    EXPECT_EQ(camera.State()["transfers"], std::stoi(Count()));
}

TEST_F(ManyUpdatesTest, HoldNoMoreAtTheEndByTftp) {
    SimulatedCamera camera({"--profile", "loader"});
    ExpectFlat("TFTP",
               Process::Run({kUpdateInARow, "tftp", "127.0.0.1%lo", mFile, Count()}, kLimit));
    EXPECT_EQ(camera.State()["transfers"], std::stoi(Count()));
}

TEST_F(ManyUpdatesTest, HoldNoMoreAtTheEndByUsb3Vision) {
    UsbCamera camera({"--buffer-size", "4096"});
    ExpectFlat("USB3 Vision",
               camera.Run({kUpdateInARow, "genicam", "u3v:FFF0BF57C219", mFile, Count()}, kLimit));
    EXPECT_EQ(camera.State()["transfers"], std::stoi(Count()));
}

TEST(ManyCamerasTest, AreUpdatedAllAtOnceEachBehindItsInterface) {
    const unsigned int count = IsFull() ? 64 : 6;
    std::vector<NetworkPair::Cable> cables;
    for (unsigned int i = 0; i < count; ++i) {
        const std::string subnet = "10.1." + std::to_string(i);
        cables.push_back({subnet + ".1/24", subnet + ".2/24"});
    }
    const NetworkPair network(cables);
    TemporaryFolder folder;
    std::vector<std::unique_ptr<SimulatedCamera>> cameras;
    std::vector<std::string> files;
    std::vector<std::string> bodies;
    for (unsigned int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        bodies.push_back(RandomBytes(100000, i));
        files.push_back(folder.Write(number + ".dfw", MakePayload(bodies.back())));
        cameras.push_back(std::make_unique<SimulatedCamera>(
            std::vector<std::string>{"--profile", i % 2 == 0 ? "file-access" : "no-file-access",
                                     "--interface", "far" + number, "--address",
                                     "10.1." + number + ".2", "--mac",
                                     NetworkPair::NearMac(i).replace(0, 2, "06")},
            &network));
    }
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::unique_ptr<Process>> updaters;
    for (unsigned int i = 0; i < count; ++i) {
        updaters.push_back(std::make_unique<Process>(
            std::vector<std::string>{Program("MirskoFirmwareUpdater"),
                                     "--localinterface=" + NetworkPair::NearMac(i), files[i]}));
    }
    std::chrono::milliseconds longest{0};
    unsigned int complete = 0;
    for (unsigned int i = 0; i < count; ++i) {
        const ProcessResult result = updaters[i]->Wait(seconds(240));
        EXPECT_TRUE(IsComplete(result)) << i << ": " << result.out << result.err;
        EXPECT_TRUE(cameras[i]->Firmware() == bodies[i]) << i;
        complete += cameras[i]->Firmware() == bodies[i] ? 1 : 0;
        longest = std::max(longest, result.duration);
    }
    const std::chrono::duration<double> all = std::chrono::steady_clock::now() - start;
    std::printf("cameras: %u of %u updated in %.1f s, the longest update %.1f s\n", complete, count,
                all.count(), static_cast<double>(longest.count()) / 1000);
}

namespace {

/// Datagrams that came to a socket of this network, taken or lost there for want of room.
long DatagramsAtSockets() {
    std::ifstream file("/proc/self/net/snmp");
    long received = 0;
    for (std::string word; file >> word;) {
        long noPort = 0;
        long errors = 0;
        if (word == "Udp:" && file >> received >> noPort >> errors) {
            return received + errors;
        }
        file.clear();
    }
    return 0;
}

/// Stray datagrams to every port that the updater can have.
class FloodTest : public testing::Test {
  protected:
    FloodTest() {
        // So that every socket of the updater gets its share.
        std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "40000 40003";
    }

    void ExpectUpdatesOrTimeouts(const std::string& transport, const std::string& profile) {
        SimulatedCamera camera(
            {"--profile", profile, "--interface", "far0", "--address", "169.254.0.2"}, &mNetwork);
        Process flood(mNetwork.OnFarSide({MIRSKO_BUILD_FOLDER "/tests/flood", "169.254.0.1",
                                          "40000", "40003", IsFull() ? "120000" : "20000"}));
        const long before = DatagramsAtSockets();
        const int runs = IsFull() ? 5 : 1;
        int complete = 0;
        for (int run = 0; run < runs; ++run) {
            const std::string body = RandomBytes(200000, static_cast<unsigned int>(run));
            const ProcessResult result =
                RunUpdater({"--localinterface=" + NetworkPair::NearMac(0), "--noreset",
                            mFolder.Write("camera.dfw", MakePayload(body))},
                           seconds(120));
            EXPECT_FALSE(result.timedOut);
            EXPECT_EQ(result.signal, 0);
            if (IsComplete(result)) {
                EXPECT_TRUE(camera.Firmware() == body);
                ++complete;
            } else {
                std::printf("%s", result.err.c_str());
                EXPECT_THAT(result.err, testing::AnyOf(testing::HasSubstr("respond"),
                                                       testing::HasSubstr("timed out"),
                                                       testing::HasSubstr("must specify")));
            }
        }
        const ProcessResult flooded = flood.Terminate();
        const json figures = json::parse(flooded.out);
        const double rate =
            figures["sent"].get<double>() / std::max(figures["seconds"].get<double>(), 1e-3);
        const long arrived = DatagramsAtSockets() - before;
        std::printf(
            "flood: %d of %d updates by %s complete under %.0f datagrams a second, "
            "%ld of which came to their sockets\n",
            complete, runs, transport.c_str(), rate, arrived);
        EXPECT_GT(arrived, figures["sent"].get<long>() / 100) << "the flood went elsewhere";
        EXPECT_GE(rate, IsFull() ? 100000.0 : 1000.0);
    }

    const NetworkPair mNetwork{{NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}}};
    TemporaryFolder mFolder;
};

}  // namespace

TEST_F(FloodTest, LetsFileAccessTimeOutAtMost) {
    ExpectUpdatesOrTimeouts("file access", "file-access");
}

TEST_F(FloodTest, LetsTftpTimeOutAtMost) {
    ExpectUpdatesOrTimeouts("TFTP", "no-file-access");
}
