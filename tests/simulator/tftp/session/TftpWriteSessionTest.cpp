#include "simulator/tftp/session/TftpWriteSession.h"

#include <gmock/gmock.h>

#include "MemoryTftpFiles.h"
#include "Packets.h"

namespace simulator {
namespace {

using std::chrono::seconds;
using std::string_view_literals::operator""sv;
using testing::ElementsAre;
using testing::IsEmpty;

class TftpWriteSessionTest : public testing::Test {
  protected:
    TftpWriteSession& Begin(const TftpOptionList& options = {}) {
        session = std::make_unique<TftpWriteSession>(
            TftpSession::Context{files, settings, faults, 1U << 20U},
            RequestPacket(TftpOpcode::kWriteRequest, "file", options));
        session->Start(now);
        return *session;
    }

    /// Delivers DATA and returns the answer.
    Datagrams Data(std::uint16_t block, std::string_view content) {
        Deliver(*session, DataPacket(block, content), now);
        return session->TakeOutgoing();
    }

    /// Lets the time pass to the next deadline and returns what is sent then.
    Datagrams Expire() {
        now = session->Deadline();
        session->Expire(now);
        return session->TakeOutgoing();
    }

    MemoryTftpFiles files;
    TftpSettings settings;
    TftpFaults faults;
    TftpSession::Time now{seconds(100)};
    std::unique_ptr<TftpWriteSession> session;
    const std::string full = std::string(512, 'f');
};

TEST_F(TftpWriteSessionTest, AcknowledgesBlockByBlockWithoutOptions) {
    Begin();
    EXPECT_THAT(session->TakeOutgoing(), ElementsAre(TftpPacket::Ack(0)));
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_FALSE(session->IsSettled());
    EXPECT_THAT(Data(2, "end"), ElementsAre(TftpPacket::Ack(2)));
    EXPECT_TRUE(session->IsSettled());
    EXPECT_EQ(files.written["file"], full + "end");
    EXPECT_EQ(session->Transfer().bytes, 515U);
}

TEST_F(TftpWriteSessionTest, TakesAnEmptyFileAndAnExactMultiple) {
    Begin();
    Data(1, "");
    EXPECT_TRUE(files.written.contains("file"));
    EXPECT_EQ(files.written["file"], "");
    Begin();
    Data(1, full);
    Data(2, full);
    EXPECT_EQ(files.finished, 1U);
    Data(3, "");
    EXPECT_EQ(files.written["file"], full + full);
}

TEST_F(TftpWriteSessionTest, AnswersGrantedOptionsInTheRequestsOrder) {
    Begin({{"tsize", "5"}, {"blksize", "1024"}});
    EXPECT_THAT(session->TakeOutgoing(), ElementsAre(Bytes("\0\x06tsize\0"
                                                           "5\0blksize\0"
                                                           "1024\0"sv)));
    EXPECT_THAT(Data(1, std::string(1024, 'a')), ElementsAre(TftpPacket::Ack(1)));
}

TEST_F(TftpWriteSessionTest, AcknowledgesOnlyWholeWindowsAndTheLastBlock) {
    Begin({{"windowsize", "3"}});
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, full), IsEmpty());
    EXPECT_THAT(Data(2, full), IsEmpty());
    EXPECT_THAT(Data(3, full), ElementsAre(TftpPacket::Ack(3)));
    EXPECT_THAT(Data(4, full), IsEmpty());
    EXPECT_THAT(Data(5, "end"), ElementsAre(TftpPacket::Ack(5)));
    EXPECT_EQ(files.written["file"].size(), 4 * 512 + 3U);
}

TEST_F(TftpWriteSessionTest, AcknowledgesAGapOnceAndGoesOnFromThere) {
    Begin({{"windowsize", "4"}});
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, full), IsEmpty());
    EXPECT_THAT(Data(3, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(4, full), IsEmpty());
    EXPECT_THAT(Data(2, full), IsEmpty());
    EXPECT_THAT(Data(3, full), IsEmpty());
    EXPECT_THAT(Data(4, full), IsEmpty());
    EXPECT_THAT(Data(5, full), ElementsAre(TftpPacket::Ack(5)));
    EXPECT_THAT(Data(6, ""), ElementsAre(TftpPacket::Ack(6)));
    EXPECT_EQ(files.written["file"].size(), 5 * 512U);
}

TEST_F(TftpWriteSessionTest, AcknowledgesRepeatedDataAndDoesNotStoreItTwice) {
    Begin();
    (void)session->TakeOutgoing();
    Data(1, full);
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    Data(2, "end");
    EXPECT_EQ(files.written["file"], full + "end");
    EXPECT_EQ(session->Transfer().duplicates, 2U);
}

TEST_F(TftpWriteSessionTest, AcknowledgesTheEndOfARepeatedWindow) {
    Begin({{"windowsize", "2"}});
    (void)session->TakeOutgoing();
    Data(1, full);
    EXPECT_THAT(Data(2, full), ElementsAre(TftpPacket::Ack(2)));
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(2)));
    EXPECT_THAT(Data(2, full), ElementsAre(TftpPacket::Ack(2)));
}

TEST_F(TftpWriteSessionTest, RepeatsTheLastAckWhileItDalliesThenEnds) {
    Begin();
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, "end"), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(1, "end"), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_FALSE(session->IsOver());
    EXPECT_THAT(Expire(), IsEmpty());
    EXPECT_TRUE(session->IsOver());
    EXPECT_TRUE(session->Transfer().complete);
    EXPECT_EQ(files.finished, 1U);
}

TEST_F(TftpWriteSessionTest, DoesNotDallyForEverForAClientThatNeverStops) {
    Begin();
    (void)session->TakeOutgoing();
    const auto start = now;
    Data(1, "end");
    while (!session->IsOver() && now < start + seconds(3600)) {
        now += std::chrono::milliseconds(500);
        if (now >= session->Deadline()) {
            session->Expire(now);
        }
        Data(1, "end");
    }
    EXPECT_TRUE(session->IsOver());
    EXPECT_LT(now - start, seconds(300));
}

TEST_F(TftpWriteSessionTest, RepeatsItsAnswerWithGrowingPausesAndGivesUp) {
    Begin({{"blksize", "1024"}});
    const Datagrams answer = session->TakeOutgoing();
    const auto start = now;
    unsigned int repetitions = 0;
    Datagrams sent = Expire();
    while (!session->IsOver()) {
        EXPECT_EQ(sent, answer);
        ++repetitions;
        sent = Expire();
    }
    EXPECT_EQ(repetitions, settings.maxRetries);
    EXPECT_THAT(sent, ElementsAre(TftpPacket::Error({TftpErrorCode::kNotDefined, "Timed out"})));
    EXPECT_LE(now - start, settings.maxSilence);
    session.reset();
    EXPECT_EQ(files.dropped, 1U);
}

TEST_F(TftpWriteSessionTest, StraysDoNotKeepItAlive) {
    Begin();
    (void)session->TakeOutgoing();
    const auto start = now;
    while (!session->IsOver() && now < start + seconds(3600)) {
        now += std::chrono::milliseconds(50);
        Data(60000, full);
        Data(0, full);
        if (now >= session->Deadline()) {
            session->Expire(now);
        }
    }
    EXPECT_LT(now - start, seconds(31));
}

TEST_F(TftpWriteSessionTest, EndsOnAnErrorOfTheClient) {
    Begin();
    Deliver(*session, TftpPacket::Error({TftpErrorCode::kNotDefined, "cancelled"}), now);
    EXPECT_TRUE(session->IsOver());
    EXPECT_EQ(session->Transfer().failure, "client: cancelled");
}

TEST_F(TftpWriteSessionTest, IgnoresAcksAndOptionAcks) {
    Begin();
    (void)session->TakeOutgoing();
    Deliver(*session, TftpPacket::Ack(1), now);
    Deliver(*session, TftpPacket::OptionAck({{"blksize", "8"}}), now);
    EXPECT_THAT(session->TakeOutgoing(), IsEmpty());
    EXPECT_THAT(Data(1, "end"), ElementsAre(TftpPacket::Ack(1)));
}

TEST_F(TftpWriteSessionTest, RefusesDataLongerThanTheBlockSize) {
    Begin();
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, std::string(513, 'x')),
                ElementsAre(TftpPacket::Error(
                    {TftpErrorCode::kIllegalOperation, "DATA is longer than the block size"})));
    EXPECT_TRUE(session->IsOver());
}

TEST_F(TftpWriteSessionTest, SaysDiskFullWhenTheFileCannotBeTaken) {
    files.capacity = 600;
    Begin();
    (void)session->TakeOutgoing();
    Data(1, full);
    const Datagrams answer = Data(2, full);
    ASSERT_EQ(answer.size(), 1U);
    EXPECT_EQ(TftpPacket::Parse(answer[0])->error.code, TftpErrorCode::kDiskFull);
}

TEST_F(TftpWriteSessionTest, CountsBlocksAcrossBothKindsOfRollover) {
    for (const std::uint16_t rollover : {std::uint16_t{0}, std::uint16_t{1}}) {
        settings.rollover = rollover;
        Begin({{"blksize", "8"}});
        (void)session->TakeOutgoing();
        std::uint16_t wire = 0;
        std::string expected;
        for (int block = 1; block <= 140000; ++block) {
            wire = wire == 65535 ? rollover : static_cast<std::uint16_t>(wire + 1);
            const std::string content = std::to_string(10000000 + block);
            ASSERT_THAT(Data(wire, content), ElementsAre(TftpPacket::Ack(wire))) << block;
            expected += content;
        }
        wire = static_cast<std::uint16_t>(wire + 1);
        Data(wire, "");
        EXPECT_EQ(files.written["file"], expected);
    }
}

TEST_F(TftpWriteSessionTest, DoesNotTakeTheOtherKindOfRolloverForANewBlock) {
    Begin({{"blksize", "8"}});
    for (int block = 1; block <= 65535; ++block) {
        Data(static_cast<std::uint16_t>(block), "8 bytes.");
    }
    EXPECT_THAT(Data(1, "8 bytes."), ElementsAre(TftpPacket::Ack(65535)));
    EXPECT_EQ(session->Transfer().bytes, 65535 * 8U);
}

TEST_F(TftpWriteSessionTest, AnswersARepeatedRequestAgain) {
    Begin({{"blksize", "1024"}});
    const Datagrams answer = session->TakeOutgoing();
    session->MeetRepeatedRequest();
    EXPECT_EQ(session->TakeOutgoing(), answer);
}

TEST_F(TftpWriteSessionTest, FaultsFailOrFallSilentAtTheirByte) {
    faults.errorAtByte = 600;
    Begin();
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(2, full),
                ElementsAre(TftpPacket::Error({TftpErrorCode::kDiskFull, "Flash write error"})));
    EXPECT_TRUE(session->IsOver());

    faults = {};
    faults.silentAtByte = 600;
    Begin();
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(2, full), IsEmpty());
    while (!session->IsOver()) {
        EXPECT_THAT(Expire(), IsEmpty());
    }
    EXPECT_EQ(files.finished, 0U);
}

TEST_F(TftpWriteSessionTest, FaultsLoseTheLastAckAsOftenAsTold) {
    faults.lostLastAcks = 2;
    Begin();
    (void)session->TakeOutgoing();
    EXPECT_THAT(Data(1, full), ElementsAre(TftpPacket::Ack(1)));
    EXPECT_THAT(Data(2, "end"), IsEmpty());
    EXPECT_THAT(Data(2, "end"), IsEmpty());
    EXPECT_THAT(Data(2, "end"), ElementsAre(TftpPacket::Ack(2)));
    EXPECT_EQ(files.finished, 1U);
}

TEST_F(TftpWriteSessionTest, FaultsAnswerOptionsOutOfRange) {
    const std::vector<std::pair<TftpFirstAnswer, std::string_view>> answers{
        {TftpFirstAnswer::kBlockSizeAboveRequest,
         "\0\x06"
         "blksize\0"
         "1025\0"sv},
        {TftpFirstAnswer::kBlockSizeTooSmall,
         "\0\x06"
         "blksize\0"
         "7\0"sv},
        {TftpFirstAnswer::kWindowSizeZero,
         "\0\x06"
         "blksize\0"
         "1024\0windowsize\0"
         "0\0"sv},
        {TftpFirstAnswer::kUnrequestedOption,
         "\0\x06"
         "blksize\0"
         "1024\0multicast\0"
         "224.0.0.5,1758,1\0"sv},
        {TftpFirstAnswer::kGarbage,
         "\0\x06"
         "blksize\0-1024x\0"sv},
        {TftpFirstAnswer::kError, "\0\x05\0\0Try again later\0"sv},
    };
    for (const auto& [fault, answer] : answers) {
        faults.firstAnswer = fault;
        Begin({{"blksize", "1024"}});
        EXPECT_THAT(session->TakeOutgoing(), ElementsAre(Bytes(answer)));
    }
}

}  // namespace
}  // namespace simulator
