#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "tftp/TftpReader.h"
#include "tftp/TftpWriter.h"

#include "Bytes.h"
#include "FakeTftpServer.h"
#include "FaultyNetwork.h"
#include "TemporaryFolder.h"
#include "TextSource.h"
#include "TftpScript.h"

namespace {

using namespace std::chrono_literals;
using Behaviour = FakeTftpServer::Behaviour;
using Faults = FaultyNetwork::Faults;

struct Outcome {
    NxResult result;
    std::chrono::steady_clock::duration duration{};
    std::string received;
    unsigned int rejections = 0;
};

Outcome Write(FakeTftpServer& server, const Faults& faults, unsigned int seed,
              const std::string& content, unsigned int blockSize, unsigned int window) {
    FaultyNetwork network(server, faults, seed);
    TftpMonitor monitor;
    TextSource source(content);
    TftpOptions wanted;
    wanted.blockSize = blockSize;
    wanted.windowSize = window;
    const auto start = network.Now();
    TftpSession session(network, TftpScript::kServer, "the server", monitor);
    Outcome outcome;
    outcome.result = TftpWriter(session, source).Run("file", wanted);
    outcome.duration = network.Now() - start;
    outcome.rejections = network.Rejections();
    return outcome;
}

Outcome Read(FakeTftpServer& server, const Faults& faults, unsigned int seed, std::size_t size,
             unsigned int blockSize, unsigned int window) {
    FaultyNetwork network(server, faults, seed);
    TftpMonitor monitor;
    std::vector<std::byte> buffer(size);
    TftpOptions wanted;
    wanted.blockSize = blockSize;
    wanted.windowSize = window;
    const auto start = network.Now();
    TftpSession session(network, TftpScript::kServer, "the server", monitor);
    TftpReader reader(session, buffer);
    Outcome outcome;
    outcome.result = reader.Run("file", wanted);
    outcome.duration = network.Now() - start;
    outcome.received = TextOf(std::span(buffer).first(reader.Received()));
    return outcome;
}

bool HoldsOnly(const FakeTftpServer& server, const std::string& content) {
    return !server.Files().empty() &&
           std::all_of(server.Files().begin(), server.Files().end(),
                       [&content](const std::string& file) { return file == content; });
}

// What one seed makes of all that may vary.
struct Variation {
    explicit Variation(unsigned int seed) {
        std::mt19937 random(seed);
        const auto below = [&random](unsigned int limit) {
            return static_cast<unsigned int>(random() % limit);
        };
        const unsigned int blockSizes[] = {8, 64, 512};
        blockSize = blockSizes[below(3)];
        window = 1 + below(20);
        behaviour.options = static_cast<Behaviour::Options>(below(4));
        behaviour.rolloverToOne = below(2) == 1;
        behaviour.vanishesAfterLastAck = below(2) == 1;
        faults.loss = 0.02 * below(11);
        faults.duplication = 0.02 * below(11);
        faults.reordering = 0.02 * below(11);
        faults.lateDuplication = 0.01 * below(6);
        faults.foreignEvery = below(3) == 0 ? 7ms : 0ms;
        content = RandomBytes(below(4) == 0 ? blockSize * below(40) : below(20'000), seed);
    }

    unsigned int blockSize;
    unsigned int window;
    Behaviour behaviour;
    Faults faults;
    std::string content;
};

class TftpFaultsTest : public testing::TestWithParam<unsigned int> {};

INSTANTIATE_TEST_SUITE_P(Seeds, TftpFaultsTest, testing::Range(0U, 20U));

constexpr unsigned int kRunsPerTest = 25;

TEST_P(TftpFaultsTest, LossDuplicationAndReorderingEndInIdenticalBytesAtTheServer) {
    for (unsigned int seed = GetParam() * kRunsPerTest; seed < (GetParam() + 1) * kRunsPerTest;
         ++seed) {
        const Variation run(seed);
        FakeTftpServer server(run.behaviour);
        const Outcome outcome =
            Write(server, run.faults, seed, run.content, run.blockSize, run.window);
        // Whoever vanishes with the one acknowledgement that was lost leaves the client in doubt.
        ASSERT_TRUE(outcome.result.IsOK() ||
                    (run.behaviour.vanishesAfterLastAck && outcome.result.GetCode() == kNxTimeout))
            << "seed " << seed << ": " << outcome.result.GetDescription().GetAscii();
        ASSERT_TRUE(HoldsOnly(server, run.content)) << "seed " << seed;
        ASSERT_LT(outcome.duration, 10min) << "seed " << seed;
    }
}

TEST_P(TftpFaultsTest, AServerThatFallsSilentIsNeverTakenToHaveEverything) {
    for (unsigned int seed = GetParam() * kRunsPerTest; seed < (GetParam() + 1) * kRunsPerTest;
         ++seed) {
        Variation run(seed);
        const std::uint64_t blockSize =
            run.behaviour.options <= Behaviour::Options::kWithoutWindow ? run.blockSize : 512;
        const std::uint64_t blocks = run.content.size() / blockSize + 1;
        // Most of them in what the last window may hold.
        run.behaviour.muteAfterBlock = blocks - std::min<std::uint64_t>(blocks, seed % 24);
        FakeTftpServer server(run.behaviour);
        const Outcome outcome =
            Write(server, run.faults, seed, run.content, run.blockSize, run.window);
        ASSERT_FALSE(outcome.result.IsOK()) << "seed " << seed;
        ASSERT_LT(outcome.duration, 10min) << "seed " << seed;
    }
}

TEST_P(TftpFaultsTest, ASuccessMeansThatTheServerHasEverything) {
    for (unsigned int seed = GetParam() * kRunsPerTest; seed < (GetParam() + 1) * kRunsPerTest;
         ++seed) {
        Variation run(seed);
        run.window = 1 + run.window % 3;
        run.behaviour.vanishesAfterLastAck = true;
        run.behaviour.rejectsStrays = true;
        FakeTftpServer server(run.behaviour);
        const Outcome outcome =
            Write(server, run.faults, seed, run.content, run.blockSize, run.window);
        ASSERT_TRUE(!outcome.result.IsOK() || HoldsOnly(server, run.content)) << "seed " << seed;
        ASSERT_LT(outcome.duration, 10min) << "seed " << seed;
    }
}

TEST(TftpBoundsTest, AClosedTransferInPlaceOfTheLastAckIsDone) {
    unsigned int settledByError = 0;
    unsigned int doubts = 0;
    for (unsigned int seed = 0; seed < 200; ++seed) {
        FakeTftpServer server({.vanishesAfterLastAck = true, .rejectsStrays = true});
        const std::string content = RandomBytes(1'000, seed);
        const Outcome outcome = Write(server, {.loss = 0.3}, seed, content, 64, 1);
        ASSERT_TRUE(HoldsOnly(server, content)) << "seed " << seed;
        if (outcome.result.IsOK()) {
            settledByError += server.RejectedStrays() > 0 ? 1 : 0;
        } else {
            // The server had asked for the last block again before it came.
            EXPECT_EQ(outcome.result.GetCode(), kNxTftpError) << "seed " << seed;
            ++doubts;
        }
    }
    EXPECT_GT(settledByError, 20U);
    EXPECT_LT(doubts, 5U);
}

TEST_P(TftpFaultsTest, LossDuplicationAndReorderingEndInIdenticalBytesInTheBuffer) {
    for (unsigned int seed = GetParam() * kRunsPerTest; seed < (GetParam() + 1) * kRunsPerTest;
         ++seed) {
        Variation run(seed);
        // Lost data waits for the server's own time-out of a second.
        run.content.resize(std::min<std::size_t>(run.content.size(), 40 * run.blockSize));
        FakeTftpServer server(run.behaviour);
        server.fileToRead = run.content;
        const Outcome outcome = Read(server, run.faults, seed, 20'000, run.blockSize, run.window);
        ASSERT_TRUE(outcome.result.IsOK())
            << "seed " << seed << ": " << outcome.result.GetDescription().GetAscii();
        ASSERT_TRUE(outcome.received == run.content) << "seed " << seed;
        ASSERT_LT(outcome.duration, 30min) << "seed " << seed;
    }
}

struct RolloverCase {
    bool toOne;
    unsigned int window;
    double loss;
};

void PrintTo(const RolloverCase& rollover, std::ostream* stream) {
    *stream << (rollover.toOne ? "to 1" : "to 0") << ", window " << rollover.window << ", loss "
            << rollover.loss;
}

class TftpRolloverTest : public testing::TestWithParam<RolloverCase> {
  protected:
    // Two rollovers.
    const std::string mContent = RandomBytes(8 * 131'100 + 3, 1);
    Faults mFaults{.loss = GetParam().loss, .reordering = GetParam().loss};
};

INSTANTIATE_TEST_SUITE_P(Cases, TftpRolloverTest,
                         testing::Values(RolloverCase{false, 1, 0}, RolloverCase{true, 1, 0},
                                         RolloverCase{false, 16, 0}, RolloverCase{true, 16, 0},
                                         RolloverCase{false, 1, 0.02}, RolloverCase{true, 1, 0.02},
                                         RolloverCase{false, 16, 0.02},
                                         RolloverCase{true, 16, 0.02}));

TEST_P(TftpRolloverTest, AServerMayGoOnWithZeroOrOneWhenItReceives) {
    FakeTftpServer server({.rolloverToOne = GetParam().toOne});
    const Outcome outcome = Write(server, mFaults, 1, mContent, 8, GetParam().window);
    ASSERT_TRUE(outcome.result.IsOK()) << outcome.result.GetDescription().GetAscii();
    EXPECT_TRUE(HoldsOnly(server, mContent));
}

TEST_P(TftpRolloverTest, AServerMayGoOnWithZeroOrOneWhenItSends) {
    FakeTftpServer server({.rolloverToOne = GetParam().toOne});
    server.fileToRead = mContent;
    // Without loss: each lost block of this size would wait for the server's time-out of a second.
    const Faults faults{.reordering = GetParam().loss};
    const Outcome outcome = Read(server, faults, 1, mContent.size(), 8, GetParam().window);
    ASSERT_TRUE(outcome.result.IsOK()) << outcome.result.GetDescription().GetAscii();
    EXPECT_TRUE(outcome.received == mContent);
}

TEST(TftpBoundsTest, DuplicateAcksCauseNoDuplicateData) {
    FakeTftpServer server({});
    const std::string content = RandomBytes(100'000, 1);
    const Outcome outcome = Write(server, {.duplication = 0.5}, 1, content, 64, 1);
    ASSERT_TRUE(outcome.result.IsOK());
    EXPECT_TRUE(HoldsOnly(server, content));
    // The network itself doubled about half of the 1,563 blocks, and no more than that came twice.
    EXPECT_LT(server.RepeatedBlocks(), 900U);
}

TEST(TftpBoundsTest, AServerThatNeverAnswersIsGivenUpAfterSevenSeconds) {
    FakeTftpServer server({.muteAfterBlock = 0});
    const Outcome outcome = Write(server, {}, 1, "content", 512, 1);
    EXPECT_EQ(outcome.result.GetCode(), kNxTimeout);
    EXPECT_EQ(outcome.duration, 7s);
}

TEST(TftpBoundsTest, StrangersCannotKeepItWaiting) {
    FakeTftpServer server({.muteAfterBlock = 0});
    for (const auto every : std::vector<std::chrono::microseconds>{100us, 1ms, 900ms}) {
        const Outcome outcome = Write(server, {.foreignEvery = every}, 1, "content", 512, 1);
        EXPECT_EQ(outcome.result.GetCode(), kNxTimeout);
        EXPECT_LT(outcome.duration, 11s);
    }
}

TEST(TftpBoundsTest, StrangersAreRejectedWhileDataMoves) {
    FakeTftpServer server({});
    const std::string content = RandomBytes(100'000, 1);
    const Outcome outcome = Write(server, {.foreignEvery = 1ms}, 1, content, 512, 1);
    ASSERT_TRUE(outcome.result.IsOK());
    EXPECT_TRUE(HoldsOnly(server, content));
    EXPECT_GT(outcome.rejections, 5U);
}

TEST(TftpBoundsTest, AServerThatStopsInTheMiddleIsGivenUpAfterTenSeconds) {
    for (const unsigned int window : {1U, 8U}) {
        FakeTftpServer server({.muteAfterBlock = 50});
        const Outcome outcome = Write(server, {}, 1, std::string(8'000, 'x'), 64, window);
        EXPECT_EQ(outcome.result.GetCode(), kNxTimeout);
        EXPECT_LT(outcome.duration, 11s);
        FakeTftpServer sender({.muteAfterBlock = 50});
        sender.fileToRead = std::string(8'000, 'x');
        const Outcome read = Read(sender, {}, 1, 10'000, 64, window);
        EXPECT_EQ(read.result.GetCode(), kNxTimeout);
        EXPECT_LT(read.duration, 11s);
    }
}

TEST(TftpBoundsTest, ASlowDripIsGivenUp) {
    FakeTftpServer server({.answerDelay = 6s});
    const Outcome outcome = Write(server, {}, 1, std::string(80'000, 'x'), 512, 1);
    EXPECT_EQ(outcome.result.GetCode(), kNxTimeout);
    EXPECT_NE(
        std::string(outcome.result.GetDescription().GetAscii()).find("bytes were transferred"),
        std::string::npos);
    EXPECT_LT(outcome.duration, 80s);
}

TEST(TftpBoundsTest, ASlowServerIsNotGivenUp) {
    FakeTftpServer server({.answerDelay = 100ms});
    const std::string content = RandomBytes(512 * 1'000, 1);
    const Outcome outcome = Write(server, {}, 1, content, 512, 1);
    ASSERT_TRUE(outcome.result.IsOK()) << outcome.result.GetDescription().GetAscii();
    EXPECT_TRUE(HoldsOnly(server, content));
}

}  // namespace
