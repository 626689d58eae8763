// What silence and errors in the place of an upload's last ACK mean.
#include "TftpWriterFixture.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "ScriptedSocket.h"
#include "TftpScript.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace TftpScript;

using TftpLastAckTest = TftpWriterTest;

TEST_F(TftpLastAckTest, SilenceInPlaceOfTheLastAckIsAFailureOnceADeviceWouldHaveFlashed) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    StayAwayFrom(2, "8", 36);
    const NxResult result = Write("012345678", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: its TFTP server stopped responding "
                 "after 8 of 9 bytes; the rest was sent but never acknowledged");
    EXPECT_GE(mDuration, 60s);
    EXPECT_LE(mDuration, 60100ms);
}

TEST_F(TftpLastAckTest, WaitsForADeviceThatFlashesBeforeItAcknowledgesTheLastBlock) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    StayAwayFrom(2, "8", 20);
    Exchange(2, "8");
    const NxResult result = Write("012345678", Blocks(8));
    EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    EXPECT_GE(mDuration, 20s);
}

TEST_F(TftpLastAckTest, SilenceInPlaceOfTheOnlyAckIsAFailure) {
    OpenWithBlocksOfEight("3");
    StayAwayFrom(1, "abc");
    EXPECT_EQ(Write("abc", Blocks(8)).GetCode(), kNxTimeout);
}

TEST_F(TftpLastAckTest, SilenceInPlaceOfTheLastAckIsArrivalOfWhatMakesTheServerGoAway) {
    mLastSilence = TftpWriter::LastSilence::kIsArrival;
    OpenWithBlocksOfEight("3");
    StayAwayFrom(1, "abc");
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
    EXPECT_LE(mDuration, 10100ms);
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    StayAwayFrom(2, "8");
    EXPECT_TRUE(Write("012345678", Blocks(8)).IsOK());
}

TEST_F(TftpLastAckTest, SilenceBeforeTheLastBlockIsAlwaysAFailure) {
    mLastSilence = TftpWriter::LastSilence::kIsArrival;
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    StayAwayFrom(2, "89abcdef");
    EXPECT_EQ(Write("0123456789abcdefghij", Blocks(8)).GetCode(), kNxTimeout);
}

TEST_F(TftpLastAckTest, AClosedTransferThatHadAllButTheLastAckIsDone) {
    for (const auto& text : {"012345678"s, "01234567"s}) {
        OpenWithBlocksOfEight(std::to_string(text.size()));
        Exchange(1, "01234567");
        CloseWhenRepeated(2, text.substr(8));
        EXPECT_TRUE(Write(text, Blocks(8)).IsOK());
        EXPECT_LE(mDuration, 100ms);
    }
}

TEST_F(TftpLastAckTest, AClosedTransferOfASingleBlockIsDone) {
    OpenWithBlocksOfEight("3");
    CloseWhenRepeated(1, "abc");
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
}

TEST_F(TftpLastAckTest, ATransferClosedBeforeTheLastBlockCameTwiceIsAFailure) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8")).Reply(kPeer, Error(5, "no transfer"));
    EXPECT_EQ(Write("012345678", Blocks(8)).GetCode(), kNxTftpError);
}

TEST_F(TftpLastAckTest, ATransferClosedBeforeTheLastBlockIsAFailure) {
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    CloseWhenRepeated(2, "89abcdef");
    EXPECT_EQ(Write("0123456789abcdefghij", Blocks(8)).GetCode(), kNxTftpError);
}

TEST_F(TftpLastAckTest, ATransferClosedByAServerThatWaitedForTheLastBlockIsAFailure) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8")).Reply(kPeer, Ack(1)).TimeOut();
    mSocket.ExpectSend(kPeer, Data(2, "8")).Reply(kPeer, Error(5, "no transfer"));
    EXPECT_EQ(Write("012345678", Blocks(8)).GetCode(), kNxTftpError);
    OpenWithBlocksOfEight("3");
    mSocket.ExpectSend(kPeer, Data(1, "abc")).Reply(kPeer, OptionAck({"blksize", "8"})).TimeOut();
    mSocket.ExpectSend(kPeer, Data(1, "abc")).Reply(kPeer, Error(5, "no transfer"));
    EXPECT_EQ(Write("abc", Blocks(8)).GetCode(), kNxTftpError);
}

TEST_F(TftpLastAckTest, SilenceIsAFailureWhenTheServerWasLastHeardToLackTheOnlyBlock) {
    mLastSilence = TftpWriter::LastSilence::kIsArrival;
    for (const std::string& firstAnswer : {OptionAck({"blksize", "8"}), Ack(0)}) {
        mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
            .TimeOut(1s, 1s)
            .ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
            .Reply(kPeer, firstAnswer)
            .ExpectSend(kPeer, Data(1, "abc"))
            .Reply(kPeer, firstAnswer, 600ms);
        for (const auto wait : {1s, 2s, 2s, 2s, 2s, 2s}) {
            mSocket.ExpectSend(kPeer, Data(1, "abc")).TimeOut({}, wait);
        }
        EXPECT_EQ(Write("abc", Blocks(8)).GetCode(), kNxTimeout);
        EXPECT_LE(mDuration, 11200ms);
    }
}

TEST_F(TftpLastAckTest, AnErrorInPlaceOfTheLastAckIsAFailure) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8")).TimeOut();
    mSocket.ExpectSend(kPeer, Data(2, "8")).Reply(kPeer, Error(0, "flash failure"));
    EXPECT_EQ(Write("012345678", Blocks(8)).GetCode(), kNxTftpError);
}

TEST_F(TftpLastAckTest, NeverTakesALastBlockThatCouldNotBeSentForArrived) {
    mLastSilence = TftpWriter::LastSilence::kIsArrival;
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    for (int i = 0; i < 11; ++i) {
        mSocket.Fail(kNxSocket).TimeOut();
    }
    const NxResult result = Write("012345678", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxSocket);
}

}  // namespace
