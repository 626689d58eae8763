#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "ScriptedSocket.h"
#include "TextSource.h"
#include "TftpScript.h"
#include "TftpWriterFixture.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace TftpScript;

/// Several blocks for each ACK (RFC 7440).
class TftpWindowTest : public TftpWriterTest {
  protected:
    // Blocks in a row, without an answer between them.
    ScriptedSocket& ExpectBlocks(std::uint16_t first, const std::vector<std::string>& blocks) {
        for (const std::string& block : blocks) {
            mSocket.ExpectSend(kPeer, Data(first++, block));
        }
        return mSocket;
    }
};

TEST_F(TftpWindowTest, SendsAWindowForEachAck) {
    OpenWithWindow("36", "2");
    ExpectBlocks(1, {"01234567", "89abcdef"})
        .Reply(kPeer, Ack(2))
        .ExpectSend(kPeer, Data(3, "ghijklmn"))
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .Reply(kPeer, Ack(4))
        .ExpectSend(kPeer, Data(5, "wxyz"))
        .Reply(kPeer, Ack(5));
    EXPECT_TRUE(Write("0123456789abcdefghijklmnopqrstuvwxyz", Blocks(8, 2)).IsOK());
}

TEST_F(TftpWindowTest, AsksForAWindowOfHalfTheBlocksAtMost) {
    OpenWithWindow("20", "2");
    ExpectBlocks(1, {"01234567", "89abcdef"}).Reply(kPeer, Ack(2));
    Exchange(3, "ghij");
    EXPECT_TRUE(Write("0123456789abcdefghij", Blocks(8, 64)).IsOK());
}

TEST_F(TftpWindowTest, GoesBackToTheBlockThatTheServerLacks) {
    OpenWithWindow("40", "3");
    ExpectBlocks(1, {"01234567", "89abcdef", "ghijklmn"})
        .Reply(kPeer, Ack(1))
        .TimeOut({}, 10ms)
        // The window goes on from there, at first in smaller bursts.
        .ExpectSend(kPeer, Data(2, "89abcdef"))
        .TimeOut({}, 10ms)
        .ExpectSend(kPeer, Data(3, "ghijklmn"))
        .TimeOut({}, 10ms)
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .Reply(kPeer, Ack(4))
        // One block lost nothing and three did: two.
        .ExpectSend(kPeer, Data(5, "wxyz0123"))
        .ExpectSend(kPeer, Data(6, ""))
        .Reply(kPeer, Ack(6));
    EXPECT_TRUE(Write("0123456789abcdefghijklmnopqrstuvwxyz0123", Blocks(8, 3)).IsOK());
}

TEST_F(TftpWindowTest, DoesNotGoBackForAServerThatAnswersEveryBlock) {
    OpenWithWindow("40", "3");
    ExpectBlocks(1, {"01234567", "89abcdef", "ghijklmn"})
        .Reply(kPeer, Ack(1))
        .Reply(kPeer, Ack(2))
        .Reply(kPeer, Ack(3))
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .ExpectSend(kPeer, Data(5, "wxyz0123"))
        .ExpectSend(kPeer, Data(6, ""))
        .Reply(kPeer, Ack(4))
        .Reply(kPeer, Ack(6));
    EXPECT_TRUE(Write("0123456789abcdefghijklmnopqrstuvwxyz0123", Blocks(8, 3)).IsOK());
}

TEST_F(TftpWindowTest, AsksWithOneBlockWhatArrivedWhenAWindowTimesOut) {
    OpenWithWindow("40", "3");
    ExpectBlocks(1, {"01234567", "89abcdef", "ghijklmn"})
        .TimeOut(20ms, 20ms)
        .ExpectSend(kPeer, Data(1, "01234567"))
        .Reply(kPeer, Ack(3))  // all had arrived; the ACK was lost
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .ExpectSend(kPeer, Data(5, "wxyz0123"))
        .ExpectSend(kPeer, Data(6, ""))
        .Reply(kPeer, Ack(6));
    EXPECT_TRUE(Write("0123456789abcdefghijklmnopqrstuvwxyz0123", Blocks(8, 3)).IsOK());
}

TEST_F(TftpWindowTest, HalvesTheBurstOnceForALossThatAWindowTimesOutOver) {
    OpenWithWindow("60", "4");
    mSocket.ExpectSend(kPeer, Data(1, "01234567"))
        .ExpectSend(kPeer, Data(2, "89abcdef"))
        .ExpectSend(kPeer, Data(3, "ghijklmn"))
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .TimeOut(20ms, 20ms)
        .ExpectSend(kPeer, Data(1, "01234567"))
        .Reply(kPeer, Ack(3))  // the last block was lost
        .TimeOut({}, 10ms)
        .ExpectSend(kPeer, Data(4, "opqrstuv"))
        .ExpectSend(kPeer, Data(5, "wxyz0123"))
        .TimeOut({}, 10ms)
        .ExpectSend(kPeer, Data(6, "456789AB"))
        .ExpectSend(kPeer, Data(7, "CDEFGHIJ"))
        .Reply(kPeer, Ack(7))
        .ExpectSend(kPeer, Data(8, "KLMN"))
        .Reply(kPeer, Ack(8));
    EXPECT_TRUE(
        Write("0123456789abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMN", Blocks(8, 4)).IsOK());
}

TEST_F(TftpWindowTest, AServerThatDiesBeforeTheFirstWindowIsAFailure) {
    OpenWithWindow("20", "2");
    ExpectBlocks(1, {"01234567", "89abcdef"});
    mSocket.TimeOut();
    for (int i = 0; i < 10; ++i) {
        mSocket.ExpectSend(kPeer, Data(1, "01234567"))
            .TimeOut()
            .ExpectSend(kPeer, Data(2, "89abcdef"))
            .TimeOut();
    }
    EXPECT_EQ(Write("0123456789abcdefghij", Blocks(8, 2)).GetCode(), kNxTimeout);
    EXPECT_LE(mDuration, 10200ms);
}

TEST_F(TftpWindowTest, AServerThatDiesBeforeTheLastWindowIsAFailure) {
    for (const auto silence :
         {TftpWriter::LastSilence::kIsFailure, TftpWriter::LastSilence::kIsArrival}) {
        mLastSilence = silence;
        OpenWithWindow("28", "2");
        ExpectBlocks(1, {"01234567", "89abcdef"}).Reply(kPeer, Ack(2));
        ExpectBlocks(3, {"ghijklmn", "opqr"}).TimeOut();
        for (int i = 0; i < 10; ++i) {
            mSocket.ExpectSend(kPeer, Data(3, "ghijklmn"))
                .TimeOut()
                .ExpectSend(kPeer, Data(4, "opqr"))
                .TimeOut();
        }
        EXPECT_EQ(Write("0123456789abcdefghijklmnopqr", Blocks(8, 2)).GetCode(), kNxTimeout);
        EXPECT_LE(mDuration, 10200ms);
    }
}

TEST_F(TftpWindowTest, ATransferThatIsClosedInTheLastWindowIsAFailure) {
    OpenWithWindow("28", "2");
    ExpectBlocks(1, {"01234567", "89abcdef"}).Reply(kPeer, Ack(2));
    ExpectBlocks(3, {"ghijklmn", "opqr"}).TimeOut();
    mSocket.ExpectSend(kPeer, Data(3, "ghijklmn")).Reply(kPeer, Error(5, "no transfer"));
    EXPECT_EQ(Write("0123456789abcdefghijklmnopqr", Blocks(8, 2)).GetCode(), kNxTftpError);
}

TEST_F(TftpWindowTest, EndlessDuplicatesCannotStallIt) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    // A minute's worth of copies of the first acknowledgement, 20 ms apart.
    mSocket.ExpectSend(kPeer, Data(2, "8"));
    std::chrono::milliseconds total{};
    for (auto wait = 20ms; total + wait < 60000ms; wait = std::min(2 * wait, 2000ms)) {
        for (auto waited = 0ms; waited < wait; waited += 20ms) {
            mSocket.Reply(kPeer, Ack(1), 20ms);
        }
        mSocket.ExpectSend(kPeer, Data(2, "8"));
        total += wait;
    }
    for (; total < 60000ms; total += 20ms) {
        mSocket.Reply(kPeer, Ack(1), 20ms);
    }
    EXPECT_EQ(Write("012345678", Blocks(8)).GetCode(), kNxTimeout);
    EXPECT_LE(mDuration, 60100ms);
}

}  // namespace
