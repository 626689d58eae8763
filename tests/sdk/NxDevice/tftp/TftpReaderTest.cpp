#include "tftp/TftpReader.h"

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "Bytes.h"
#include "ScriptedSocket.h"
#include "TftpScript.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace TftpScript;

class TftpReaderTest : public testing::Test {
  protected:
    NxResult Read(std::size_t size, unsigned int blockSize = 8, unsigned int window = 1) {
        std::vector<std::byte> buffer(size);
        TftpOptions wanted;
        wanted.blockSize = blockSize;
        wanted.windowSize = window;
        TftpSession session(mSocket, kServer, "192.168.1.20 on eth1", mMonitor);
        TftpReader reader(session, buffer);
        const auto start = mSocket.Now();
        NxResult result = reader.Run("file", wanted);
        mText = TextOf(std::span(buffer).first(reader.Received()));
        mDuration = mSocket.Now() - start;
        return result;
    }
    // The request for eight-byte blocks, and the answer that grants them.
    void OpenWithBlocksOfEight(const std::string& size) {
        mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8"}))
            .Reply(kPeer, OptionAck({"blksize", "8", "tsize", size}))
            .ExpectSend(kPeer, Ack(0));
    }
    void Exchange(std::uint16_t block, const std::string& data) {
        mSocket.Reply(kPeer, Data(block, data)).ExpectSend(kPeer, Ack(block));
    }

    ScriptedSocket mSocket;
    TftpMonitor mMonitor;
    std::string mText;
    DatagramSocket::Clock::duration mDuration{};
};

TEST_F(TftpReaderTest, ReadsBlockAfterBlock) {
    OpenWithBlocksOfEight("10");
    Exchange(1, "01234567");
    Exchange(2, "89");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "0123456789");
    EXPECT_EQ(mMonitor.Done(), 10U);
    EXPECT_EQ(mMonitor.Total(), 10U);
}

TEST_F(TftpReaderTest, ReadsAnEmptyFile) {
    OpenWithBlocksOfEight("0");
    Exchange(1, "");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "");
}

TEST_F(TftpReaderTest, ReadsAnExactMultipleIntoABufferOfThatSize) {
    OpenWithBlocksOfEight("16");
    Exchange(1, "01234567");
    Exchange(2, "89abcdef");
    Exchange(3, "");
    ASSERT_TRUE(Read(16).IsOK());
    EXPECT_EQ(mText, "0123456789abcdef");
}

TEST_F(TftpReaderTest, ReadsPlainBlocksFromAServerThatKnowsNoOptions) {
    const std::string block(512, 'x');
    mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "1468"}))
        .Reply(kPeer, Data(1, block))
        .ExpectSend(kPeer, Ack(1));
    Exchange(2, "end");
    ASSERT_TRUE(Read(1024, 1468).IsOK());
    EXPECT_EQ(mText, block + "end");
}

TEST_F(TftpReaderTest, AsksAgainWithoutOptionsWhenTheyAreRefused) {
    mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8"}))
        .Reply(kPeer, Error(8, "no options here"))
        .ExpectSend(kServer, ReadRequest({}))
        .Reply(kForeignPort, Data(1, "abc"))
        .ExpectSend(kForeignPort, Ack(1));
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "abc");
}

TEST_F(TftpReaderTest, CutsAFileThatIsLongerThanTheBuffer) {
    for (const char* announced : {"17", "0"}) {
        mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8"}))
            .Reply(kPeer, OptionAck({"tsize", announced, "blksize", "8"}))
            .ExpectSend(kPeer, Ack(0));
        Exchange(1, "01234567");
        mSocket.Reply(kPeer, Data(2, "89abcdef"))
            .ExpectSend(kPeer, Error(3, "Only the first 12 bytes are needed"));
        ASSERT_TRUE(Read(12).IsOK());
        EXPECT_EQ(mText, "0123456789ab");
    }
}

TEST_F(TftpReaderTest, CutsAFileOfWhichOnlyWholeBlocksFit) {
    OpenWithBlocksOfEight("17");
    Exchange(1, "01234567");
    Exchange(2, "89abcdef");
    mSocket.Reply(kPeer, Data(3, "g"))
        .ExpectSend(kPeer, Error(3, "Only the first 16 bytes are needed"));
    ASSERT_TRUE(Read(16).IsOK());
    EXPECT_EQ(mText, "0123456789abcdef");
}

TEST_F(TftpReaderTest, TakesAFileThatJustFillsTheBuffer) {
    OpenWithBlocksOfEight("16");
    Exchange(1, "01234567");
    Exchange(2, "89abcdef");
    Exchange(3, "");
    ASSERT_TRUE(Read(16).IsOK());
    EXPECT_EQ(mText, "0123456789abcdef");
}

TEST_F(TftpReaderTest, RefusesABlockLongerThanAgreed) {
    OpenWithBlocksOfEight("20");
    mSocket.Reply(kPeer, Data(1, "012345678"))
        .ExpectSend(kPeer,
                    Error(4, "its TFTP server sent a block of 9 bytes; the negotiated size is 8"));
    EXPECT_EQ(Read(100).GetCode(), kNxProtocol);
}

TEST_F(TftpReaderTest, ReportsAServersErrorWithItsText) {
    mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8"}))
        .Reply(kPeer, Error(1, "no such file"));
    const NxResult result = Read(100);
    EXPECT_EQ(result.GetCode(), kNxTftpError);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot read file from 192.168.1.20 on eth1: its TFTP server sent ERROR 1 "
                 "(file not found): \"no such file\"");
}

TEST_F(TftpReaderTest, AcknowledgesARepeatedBlockAgain) {
    OpenWithBlocksOfEight("10");
    mSocket.Reply(kPeer, OptionAck({"blksize", "8", "tsize", "10"})).ExpectSend(kPeer, Ack(0));
    Exchange(1, "01234567");
    Exchange(1, "01234567");
    mSocket.Reply(kPeer, OptionAck({"blksize", "8"}));
    Exchange(2, "89");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "0123456789");
}

TEST_F(TftpReaderTest, PassesOverOlderBlocks) {
    OpenWithBlocksOfEight("20");
    Exchange(1, "01234567");
    Exchange(2, "89abcdef");
    mSocket.Reply(kPeer, Data(1, "01234567"));
    Exchange(3, "ghij");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "0123456789abcdefghij");
}

TEST_F(TftpReaderTest, AcknowledgesAgainAfterATimeOut) {
    OpenWithBlocksOfEight("10");
    Exchange(1, "01234567");
    mSocket.TimeOut(100ms, 100ms)
        .ExpectSend(kPeer, Ack(1))
        .TimeOut(200ms, 200ms)
        .ExpectSend(kPeer, Ack(1));
    Exchange(2, "89");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "0123456789");
}

TEST_F(TftpReaderTest, GivesUpWhenTheServerStopsInTheMiddle) {
    OpenWithBlocksOfEight("10");
    Exchange(1, "01234567");
    for (const auto wait : {100ms, 200ms, 400ms, 800ms, 1600ms, 2000ms, 2000ms, 2000ms}) {
        mSocket.TimeOut(wait, wait).ExpectSend(kPeer, Ack(1));
    }
    mSocket.TimeOut(900ms, 900ms);
    const NxResult result = Read(100);
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot read file from 192.168.1.20 on eth1: its TFTP server stopped sending "
                 "after 8 bytes");
    EXPECT_LE(mDuration, 10100ms);
}

TEST_F(TftpReaderTest, SaysWhyNothingCouldBeSent) {
    OpenWithBlocksOfEight("10");
    mSocket.Reply(kPeer, Data(1, "01234567")).Fail(kNxSocket);
    for (int i = 0; i < 8; ++i) {
        mSocket.TimeOut().Fail(kNxSocket);
    }
    mSocket.TimeOut();
    const NxResult result = Read(100);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "Cannot read file from 192.168.1.20 on eth1: as scripted");
}

TEST_F(TftpReaderTest, AsksAServerThatWasSilentBeforeFourTimesWithinASecond) {
    for (int i = 0; i < 4; ++i) {
        mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8"}))
            .TimeOut(250ms, 250ms);
    }
    std::vector<std::byte> buffer(8);
    TftpOptions wanted;
    wanted.blockSize = 8;
    TftpSession session(mSocket, kServer, "192.168.1.20 on eth1", mMonitor);
    session.SetAnswerLimit(TftpTimer::kAnswerLimitOfSilentServer);
    EXPECT_EQ(TftpReader(session, buffer).Run("file", wanted).GetCode(), kNxTimeout);
    EXPECT_TRUE(session.EndedInSilence());
}

TEST_F(TftpReaderTest, EndlessDuplicatesCannotStallIt) {
    OpenWithBlocksOfEight("10");
    Exchange(1, "01234567");
    for (int i = 0; i < 200; ++i) {
        mSocket.Reply(kPeer, Data(1, "01234567"), 50ms);
        if (i < 199) {
            mSocket.ExpectSend(kPeer, Ack(1));
        }
    }
    mSocket.ExpectSend(kPeer, Ack(1));
    EXPECT_EQ(Read(100).GetCode(), kNxTimeout);
    EXPECT_LE(mDuration, 10100ms);
}

TEST_F(TftpReaderTest, AnswersOtherPortsWithError5AndGoesOn) {
    OpenWithBlocksOfEight("10");
    mSocket.Reply(kForeignPort, Data(1, "deadbeef"))
        .ExpectSend(kForeignPort, Error(5, "Unknown transfer ID"));
    Exchange(1, "01234567");
    Exchange(2, "89");
    ASSERT_TRUE(Read(100).IsOK());
    EXPECT_EQ(mText, "0123456789");
}

TEST_F(TftpReaderTest, AnswersAnAckWithError4) {
    OpenWithBlocksOfEight("10");
    mSocket.Reply(kPeer, Ack(0))
        .ExpectSend(kPeer, Error(4, "its TFTP server replied to a read request with an ACK"));
    EXPECT_EQ(Read(100).GetCode(), kNxProtocol);
}

TEST_F(TftpReaderTest, AcknowledgesWholeWindowsAndGapsOnce) {
    mSocket.ExpectSend(kServer, ReadRequest({"tsize", "0", "blksize", "8", "windowsize", "3"}))
        .Reply(kPeer, OptionAck({"tsize", "34", "windowsize", "3", "blksize", "8"}))
        .ExpectSend(kPeer, Ack(0))
        .Reply(kPeer, Data(1, "01234567"))
        .Reply(kPeer, Data(2, "89abcdef"))
        .Reply(kPeer, Data(3, "ghijklmn"))
        .ExpectSend(kPeer, Ack(3))
        .Reply(kPeer, Data(5, "wx"))  // block 4 was lost
        .ExpectSend(kPeer, Ack(3))
        .Reply(kPeer, Data(5, "wx"))
        .Reply(kPeer, Data(4, "opqrstuv"))
        .Reply(kPeer, Data(5, "wx"))
        .ExpectSend(kPeer, Ack(5));
    ASSERT_TRUE(Read(100, 8, 3).IsOK());
    EXPECT_EQ(mText, "0123456789abcdefghijklmnopqrstuvwx");
}

}  // namespace
