#include "simulator/tftp/session/TftpReadSession.h"

#include <gmock/gmock.h>

#include "MemoryTftpFiles.h"
#include "Packets.h"

namespace simulator {
namespace {

using std::chrono::seconds;
using std::string_view_literals::operator""sv;
using testing::ElementsAre;
using testing::IsEmpty;

class TftpReadSessionTest : public testing::Test {
  protected:
    TftpReadSessionTest() { files.readable["file"] = full + "end"; }

    Datagrams Begin(const TftpOptionList& options = {}, const std::string& name = "file") {
        session = std::make_unique<TftpReadSession>(
            TftpSession::Context{files, settings, faults, 1U << 20U},
            RequestPacket(TftpOpcode::kReadRequest, name, options));
        session->Start(now);
        return session->TakeOutgoing();
    }

    /// Delivers an ACK and returns the answer.
    Datagrams Ack(std::uint16_t block) {
        Deliver(*session, TftpPacket::Ack(block), now);
        return session->TakeOutgoing();
    }

    Datagrams Expire() {
        now = session->Deadline();
        session->Expire(now);
        return session->TakeOutgoing();
    }

    MemoryTftpFiles files;
    TftpSettings settings;
    TftpFaults faults;
    TftpSession::Time now{seconds(100)};
    std::unique_ptr<TftpReadSession> session;
    const std::string full = std::string(512, 'f');
};

TEST_F(TftpReadSessionTest, SendsBlockByBlockWithoutOptions) {
    EXPECT_THAT(Begin(), ElementsAre(DataPacket(1, full)));
    EXPECT_THAT(Ack(1), ElementsAre(DataPacket(2, "end")));
    EXPECT_THAT(Ack(2), IsEmpty());
    EXPECT_TRUE(session->IsOver());
    EXPECT_TRUE(session->Transfer().complete);
    EXPECT_EQ(session->Transfer().bytes, 515U);
}

TEST_F(TftpReadSessionTest, EndsAnExactMultipleWithAnEmptyBlock) {
    files.readable["file"] = full;
    EXPECT_THAT(Begin(), ElementsAre(DataPacket(1, full)));
    EXPECT_THAT(Ack(1), ElementsAre(DataPacket(2, "")));
    Ack(2);
    EXPECT_TRUE(session->IsOver());
    files.readable["file"] = "";
    EXPECT_THAT(Begin(), ElementsAre(DataPacket(1, "")));
}

TEST_F(TftpReadSessionTest, WaitsForTheAckOfItsOptions) {
    EXPECT_THAT(Begin({{"tsize", "0"}, {"blksize", "300"}}), ElementsAre(Bytes("\0\x06tsize\0"
                                                                               "515\0blksize\0"
                                                                               "300\0"sv)));
    EXPECT_THAT(Ack(1), IsEmpty());
    EXPECT_THAT(Ack(0), ElementsAre(DataPacket(1, full.substr(0, 300))));
    EXPECT_THAT(Ack(1), ElementsAre(DataPacket(2, full.substr(300) + "end")));
}

TEST_F(TftpReadSessionTest, SendsWindowsAndGoesBackToWhatIsMissing) {
    files.readable["file"] = "aaaaaaaabbbbbbbbccccccccdddddddd!";
    Begin({{"blksize", "8"}, {"windowsize", "3"}});
    EXPECT_THAT(Ack(0), ElementsAre(DataPacket(1, "aaaaaaaa"), DataPacket(2, "bbbbbbbb"),
                                    DataPacket(3, "cccccccc")));
    EXPECT_THAT(Ack(1), ElementsAre(DataPacket(2, "bbbbbbbb"), DataPacket(3, "cccccccc"),
                                    DataPacket(4, "dddddddd")));
    EXPECT_THAT(Ack(4), ElementsAre(DataPacket(5, "!")));
    Ack(5);
    EXPECT_TRUE(session->Transfer().complete);
    EXPECT_EQ(session->Transfer().bytes, 33U);
}

TEST_F(TftpReadSessionTest, SendsNothingOnARepeatedAck) {
    Begin();
    Ack(1);
    EXPECT_THAT(Ack(1), IsEmpty());
    EXPECT_THAT(Ack(0), IsEmpty());
    EXPECT_EQ(session->Transfer().duplicates, 2U);
}

TEST_F(TftpReadSessionTest, RepeatsAWindowOnceWhenItsFirstBlockIsMissing) {
    files.readable["file"] = std::string(100, 'x');
    Begin({{"blksize", "8"}, {"windowsize", "2"}});
    Ack(0);
    const Datagrams window = Ack(2);
    EXPECT_EQ(Ack(2), window);
    EXPECT_THAT(Ack(2), IsEmpty());
}

TEST_F(TftpReadSessionTest, IgnoresAcksOfBlocksNeverSent) {
    Begin();
    EXPECT_THAT(Ack(2), IsEmpty());
    EXPECT_THAT(Ack(40000), IsEmpty());
    EXPECT_THAT(Ack(1), ElementsAre(DataPacket(2, "end")));
}

TEST_F(TftpReadSessionTest, RepeatsItsWindowAndGivesUp) {
    const Datagrams first = Begin();
    const auto start = now;
    Datagrams sent = Expire();
    unsigned int repetitions = 0;
    while (!session->IsOver()) {
        EXPECT_EQ(sent, first);
        ++repetitions;
        sent = Expire();
    }
    EXPECT_EQ(repetitions, settings.maxRetries);
    EXPECT_LE(now - start, settings.maxSilence);
    EXPECT_FALSE(session->Transfer().complete);
}

TEST_F(TftpReadSessionTest, RefusesWhatCannotBeOpened) {
    EXPECT_THAT(Begin({}, "nothing"),
                ElementsAre(TftpPacket::Error({TftpErrorCode::kFileNotFound, "no such file"})));
    EXPECT_TRUE(session->IsOver());
}

TEST_F(TftpReadSessionTest, LetsTheClientWaitForAFileThatIsNotReady) {
    files.notYet = "file";
    EXPECT_THAT(Begin(), IsEmpty());
    session->MeetRepeatedRequest();
    EXPECT_THAT(session->TakeOutgoing(), IsEmpty());
    EXPECT_THAT(Expire(), IsEmpty());
    files.notYet.clear();
    EXPECT_THAT(Expire(), ElementsAre(DataPacket(1, full)));
}

TEST_F(TftpReadSessionTest, DoesNotLetTheClientWaitForEver) {
    files.notYet = "file";
    Begin();
    const auto start = now;
    while (!session->IsOver()) {
        Expire();
    }
    EXPECT_LE(now - start, settings.maxHold + seconds(1));
}

TEST_F(TftpReadSessionTest, CountsBlocksAcrossBothKindsOfRollover) {
    std::string content;
    for (int block = 1; block <= 70000; ++block) {
        content += std::to_string(10000000 + block);
    }
    files.readable["file"] = content;
    for (const std::uint16_t rollover : {std::uint16_t{0}, std::uint16_t{1}}) {
        settings.rollover = rollover;
        Begin({{"blksize", "8"}});
        Datagrams sent = Ack(0);
        std::uint16_t wire = 0;
        std::string received;
        while (!session->IsOver()) {
            wire = wire == 65535 ? rollover : static_cast<std::uint16_t>(wire + 1);
            ASSERT_EQ(sent.size(), 1U);
            const auto packet = TftpPacket::Parse(sent[0]);
            ASSERT_EQ(packet->block, wire);
            received.append(packet->data.begin(), packet->data.end());
            sent = Ack(wire);
        }
        EXPECT_EQ(received, content);
    }
}

}  // namespace
}  // namespace simulator
