#include "TftpWriterFixture.h"

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "ScriptedSocket.h"
#include "TextSource.h"
#include "TftpScript.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace TftpScript;

TEST_F(TftpWriterTest, SendsAnEmptyFileAsOneEmptyBlock) {
    OpenWithBlocksOfEight("0");
    Exchange(1, "");
    EXPECT_TRUE(Write("", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, EndsAnExactMultipleWithAnEmptyBlock) {
    OpenWithBlocksOfEight("16");
    Exchange(1, "01234567");
    Exchange(2, "89abcdef");
    Exchange(3, "");
    EXPECT_TRUE(Write("0123456789abcdef", Blocks(8)).IsOK());
    EXPECT_EQ(mMonitor.Done(), 16U);
}

TEST_F(TftpWriterTest, UsesTheSmallerBlockSizeThatIsGranted) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "10", "blksize", "1468"}))
        .Reply(kPeer, OptionAck({"tsize", "10", "blksize", "9"}));
    Exchange(1, "012345678");
    Exchange(2, "9");
    EXPECT_TRUE(Write("0123456789", Blocks(1468)).IsOK());
}

TEST_F(TftpWriterTest, SendsPlainBlocksToAServerThatKnowsNoOptions) {
    const std::string text(600, 'x');
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "600", "blksize", "1468"}))
        .Reply(kPeer, Ack(0));
    Exchange(1, text.substr(0, 512));
    Exchange(2, text.substr(512));
    EXPECT_TRUE(Write(text, Blocks(1468)).IsOK());
}

TEST_F(TftpWriterTest, AsksAgainWithoutOptionsWhenTheyAreRefused) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kPeer, Error(8, "no options here"))
        .ExpectSend(kServer, WriteRequest({}))
        .Reply(kPeer, Error(8, "no options here"))  // a copy that was delayed
        .Reply(kForeignPort, Ack(0))
        .ExpectSend(kForeignPort, Data(1, "abc"))
        .Reply(kForeignPort, Ack(1));
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, ReportsAServersErrorWithItsText) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kPeer, Error(2, "flash is \"locked\"\x07"));
    const NxResult result = Write("abc", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxTftpError);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: its TFTP server sent ERROR 2 "
                 "(access violation): \"flash is \"locked\"?\"");
}

TEST_F(TftpWriterTest, ReportsAnErrorInTheMiddle) {
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "89abcdef")).Reply(kPeer, Error(3, ""));
    const NxResult result = Write("0123456789abcdefghij", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxTftpError);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: its TFTP server sent ERROR 3 "
                 "(disk full)");
    EXPECT_EQ(mMonitor.Done(), 8U);
    EXPECT_EQ(mMonitor.Total(), 0U);
}

TEST_F(TftpWriterTest, AnswersABadOptionWithError8) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kPeer, OptionAck({"blksize", "9"}))
        .ExpectSend(kPeer, Error(8, "it granted option blksize=9, which is out of range"));
    const NxResult result = Write("abc", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxProtocol);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: it granted option blksize=9, "
                 "which is out of range");
}

TEST_F(TftpWriterTest, PassesOverFirstAnswersThatAreNone) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kPeer, Ack(1))
        .Reply(kPeer, Data(1, "data"))
        .Reply(kPeer, "")
        .Reply(kPeer, "\0"s)
        .Reply(kForeignAddress, Ack(0))
        .Reply(kPeer, OptionAck({"blksize", "8"}));
    Exchange(1, "abc");
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, ADuplicateAckDrawsNoData) {
    OpenWithBlocksOfEight("20");
    mSocket.ExpectSend(kPeer, Data(1, "01234567"))
        .Reply(kPeer, OptionAck({"blksize", "8"}))
        .Reply(kPeer, Ack(0))
        .Reply(kPeer, Ack(1))
        .ExpectSend(kPeer, Data(2, "89abcdef"))
        .Reply(kPeer, Ack(1))
        .Reply(kPeer, Ack(1))
        .Reply(kPeer, Ack(0))
        .Reply(kPeer, Ack(3))  // of a block that was never sent
        .Reply(kPeer, Ack(2));
    Exchange(3, "ghij");
    EXPECT_TRUE(Write("0123456789abcdefghij", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, ALateRepeatedOptionAckDrawsTheFirstBlockAgain) {
    // Nothing is known of the server's pace, since the answer may be one to either request.
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .TimeOut(1s, 1s)
        .ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kPeer, OptionAck({"blksize", "8"}))
        .ExpectSend(kPeer, Data(1, "abc"))
        .TimeOut(1s, 1s)
        .ExpectSend(kPeer, Data(1, "abc"))
        .Reply(kPeer, OptionAck({"blksize", "8"}), 499ms)  // may be a copy on a detour
        .Reply(kPeer, OptionAck({"blksize", "8"}), 501ms)
        .ExpectSend(kPeer, Data(1, "abc"))
        .Reply(kPeer, OptionAck({"blksize", "8"}))
        .Reply(kPeer, Ack(1));
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, RepeatedOptionAcksDoNotKeepATransferAlive) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "20", "blksize", "8"}))
        .TimeOut(1s, 1s)
        .ExpectSend(kServer, WriteRequest({"tsize", "20", "blksize", "8"}))
        .Reply(kPeer, OptionAck({"blksize", "8"}));
    for (int i = 0; i < 16; ++i) {
        mSocket.ExpectSend(kPeer, Data(1, "01234567"))
            .Reply(kPeer, OptionAck({"blksize", "8"}), 600ms);
    }
    mSocket.ExpectSend(kPeer, Data(1, "01234567")).TimeOut(400ms, 400ms);
    EXPECT_EQ(Write("0123456789abcdefghij", Blocks(8)).GetCode(), kNxTimeout);
}

TEST_F(TftpWriterTest, SendsABlockAgainAfterATimeOutWithBackOff) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8"))
        .TimeOut(20ms, 20ms)
        .ExpectSend(kPeer, Data(2, "8"))
        .TimeOut(40ms, 40ms)
        .ExpectSend(kPeer, Data(2, "8"))
        .TimeOut(80ms, 80ms)
        .ExpectSend(kPeer, Data(2, "8"))
        .Reply(kPeer, Ack(2));
    EXPECT_TRUE(Write("012345678", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, WaitsLongerForASlowServer) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "9", "blksize", "8"}))
        .Reply(kPeer, OptionAck({"blksize", "8"}), 300ms)
        .ExpectSend(kPeer, Data(1, "01234567"))
        .TimeOut(900ms, 900ms)  // 300 ms and four times their assumed variation of 150 ms
        .ExpectSend(kPeer, Data(1, "01234567"))
        .Reply(kPeer, Ack(1));
    Exchange(2, "8");
    EXPECT_TRUE(Write("012345678", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, ADuplicateAckDoesNotPutTheTimeOutOff) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8"))
        .Reply(kPeer, Ack(1), 15ms)
        .Reply(kPeer, Ack(1), 15ms)  // past the time-out of 20 ms now
        .ExpectSend(kPeer, Data(2, "8"))
        .Reply(kPeer, Ack(2));
    EXPECT_TRUE(Write("012345678", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, AnswersOtherPortsWithError5AndGoesOn) {
    OpenWithBlocksOfEight("9");
    mSocket.ExpectSend(kPeer, Data(1, "01234567"))
        .Reply(kForeignPort, Ack(1))
        .ExpectSend(kForeignPort, Error(5, "Unknown transfer ID"))
        .Reply(kForeignAddress, OptionAck({}))
        .ExpectSend(kForeignAddress, Error(5, "Unknown transfer ID"))
        .Reply(kForeignPort, Error(3, "an ERROR is not answered"))
        .Reply(kForeignPort, "nor is rubbish")
        .Reply(kPeer, Ack(1));
    Exchange(2, "8");
    EXPECT_TRUE(Write("012345678", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, ServesAServerThatAnswersFromItsOwnPort) {
    mSocket.ExpectSend(kServer, WriteRequest({"tsize", "3", "blksize", "8"}))
        .Reply(kServer, OptionAck({"blksize", "8"}))
        .ExpectSend(kServer, Data(1, "abc"))
        .Reply(kServer, Ack(1));
    EXPECT_TRUE(Write("abc", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, GivesUpAfterSevenSecondsWithoutAnyAnswer) {
    const std::string request = WriteRequest({"tsize", "3", "blksize", "8"});
    for (int attempt = 0; attempt < 7; ++attempt) {
        mSocket.ExpectSend(kServer, request).TimeOut(1000ms, 1000ms);
    }
    const NxResult result = Write("abc", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: its TFTP server has not responded for "
                 "7 s; check cable, power and address");
    EXPECT_EQ(mDuration, 7s);
}

TEST_F(TftpWriterTest, GivesUpWhenTheServerStopsInTheMiddle) {
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    for (const auto wait :
         {20ms, 40ms, 80ms, 160ms, 320ms, 640ms, 1280ms, 2000ms, 2000ms, 2000ms, 1460ms}) {
        mSocket.ExpectSend(kPeer, Data(2, "89abcdef")).TimeOut(wait, wait);
    }
    const NxResult result = Write("0123456789abcdefghij", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: its TFTP server stopped responding "
                 "after 8 of 20 bytes");
    EXPECT_LE(mDuration, 10100ms);
}

TEST_F(TftpWriterTest, AnswersDataWithError4) {
    OpenWithBlocksOfEight("3");
    mSocket.ExpectSend(kPeer, Data(1, "abc"))
        .Reply(kPeer, Data(1, "x"))
        .ExpectSend(kPeer, Error(4, "its TFTP server replied to a write request with data"));
    EXPECT_EQ(Write("abc", Blocks(8)).GetCode(), kNxProtocol);
}

TEST_F(TftpWriterTest, TellsTheServerThatTheLocalFileFailed) {
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Error(0, "the disk is gone"));
    TextSource source("0123456789abcdefghij");
    source.failsAt = 8;
    EXPECT_EQ(Write(source, Blocks(8)).GetCode(), kNxLocalFile);
}

TEST_F(TftpWriterTest, GoesOnWhenTheNetworkWasDownForAMoment) {
    mSocket.Fail(kNxSocket).TimeOut(1000ms, 1000ms);
    OpenWithBlocksOfEight("12");
    mSocket.Fail(kNxSocket).TimeOut();
    Exchange(1, "01234567");
    Exchange(2, "8901");
    EXPECT_TRUE(Write("012345678901", Blocks(8)).IsOK());
}

TEST_F(TftpWriterTest, SaysWhyNothingCouldBeSent) {
    for (int i = 0; i < 7; ++i) {
        mSocket.Fail(kNxSocket).TimeOut(1000ms, 1000ms);
    }
    const NxResult result = Write("abc", Blocks(8));
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot send file to 192.168.1.20 on eth1: as scripted");
}

TEST_F(TftpWriterTest, CountsAcknowledgedBytesAndWarnsWhileItWaits) {
    OpenWithBlocksOfEight("9");
    Exchange(1, "01234567");
    mSocket.ExpectSend(kPeer, Data(2, "8")).TimeOut();
    mSocket.ExpectSend(kPeer, Data(2, "8")).Fail(kNxSocket);
    EXPECT_FALSE(Write("012345678", Blocks(8)).IsOK());
    EXPECT_EQ(mMonitor.Done(), 8U);
    EXPECT_EQ(mMonitor.Warning(mSocket.Now()), "");
    EXPECT_EQ(mMonitor.Warning(mSocket.Now() + 3500ms),
              "Waiting 3 s for 192.168.1.20 on eth1 to acknowledge byte 8 (retry 1)");
    mMonitor.End();
    EXPECT_EQ(mMonitor.Warning(mSocket.Now() + 3500ms), "");
}

}  // namespace
