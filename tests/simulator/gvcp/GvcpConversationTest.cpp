#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "GvcpHandlerFixture.h"
#include "Payload.h"
#include "simulator/registers/FeatureAddresses.h"

using testing::StartsWith;

namespace {

/// Who may command the device, what a repeated command does, and the faults of its answers.
class GvcpConversationTest : public GvcpHandlerTest {};

}  // namespace

TEST_F(GvcpConversationTest, GivesControlToOneApplication) {
    Make();
    EXPECT_EQ(Write(simulator::features::kWidth, 1), kWriteDenied) << "nobody has control";
    TakeControl();
    EXPECT_EQ(Read(0xa00), "00000081000400000002");
    EXPECT_EQ(Read(0xa14), "000000810004c0a80101");
    EXPECT_EQ(Write(0xa00, 2, kOther), kWriteDenied);
    EXPECT_EQ(Write(simulator::features::kWidth, 1, kOther), kWriteDenied);
    EXPECT_EQ(Read(0xa00, kOther), "00000081000400000002") << "control lets others read";
    EXPECT_EQ(Write(0xa00, 0), kWritten);
    EXPECT_EQ(Read(0xa14), "00000081000400000000");
    TakeControl(kOther);
}

TEST_F(GvcpConversationTest, LetsNobodyElseReadUnderExclusiveAccess) {
    Make();
    EXPECT_EQ(Write(0xa00, 1), kWritten);
    EXPECT_EQ(Read(0x24, kOther), "800600810000");
    EXPECT_EQ(AskNew("0084", "0000004800000008", kOther), "800600850000");
    EXPECT_THAT(Ask("420100020000ffff", kOther), StartsWith("0000000300f8"));
    EXPECT_EQ(Read(0x24), "000000810004c0a80114");
}

TEST_F(GvcpConversationTest, EndsControlWhenTheHeartbeatFails) {
    Make();
    TakeControl();
    EXPECT_EQ(Write(0x938, 1000), kWritten);
    mNow += std::chrono::milliseconds(999);
    mHandler->Tick(mNow);
    EXPECT_EQ(Read(0xa00), "00000081000400000002") << "and this is a sign of life";
    mNow += std::chrono::milliseconds(999);
    mHandler->Tick(mNow);
    EXPECT_EQ(Read(0xa00, kOther), "00000081000400000002") << "this is none";
    mNow += std::chrono::milliseconds(1);
    mHandler->Tick(mNow);
    EXPECT_EQ(Read(0xa00), "00000081000400000000");
    EXPECT_EQ(Write(simulator::features::kWidth, 1), kWriteDenied);
    EXPECT_EQ(mEvents.Count("control_ended"), 1U);
}

TEST_F(GvcpConversationTest, KeepsTheHeartbeatTimeoutAboveItsMinimum) {
    Make();
    TakeControl();
    EXPECT_EQ(Write(0x938, 1), kWritten);
    EXPECT_EQ(Read(0x938), "000000810004" + Hex32(500));
}

TEST_F(GvcpConversationTest, DropsAnUploadWithTheControlOfItsApplication) {
    Make();
    TakeControl();
    const std::uint32_t block = simulator::features::kPlainBlock;
    EXPECT_EQ(Write(block + simulator::features::kOpenMode, 1), kWritten);
    EXPECT_EQ(Write(block + simulator::features::kExecute, 1), kWritten);
    EXPECT_EQ(Read(block + simulator::features::kStatus), "00000081000400000000");
    mNow += std::chrono::seconds(3);
    mHandler->Tick(mNow);
    EXPECT_EQ(mFirmware->State().lastStatus, "Transfer incomplete: 0 bytes received");
}

TEST_F(GvcpConversationTest, GivesARepeatedCommandTheSameAnswerAndDoesNotCarryItOutAgain) {
    Make();
    TakeControl();
    const std::string reset = "4201008200080077" + Hex32(simulator::features::kReset) + Hex32(1);
    EXPECT_EQ(Ask(reset),
              "0000008300040077"
              "00000001");
    EXPECT_EQ(Ask(reset),
              "0000008300040077"
              "00000001");
    EXPECT_EQ(mResets, 1);
    EXPECT_EQ(mCounters.All().at("REPEATED"), 1U);
    EXPECT_EQ(mCounters.All().at("WRITEREG"), 2U) << "taking control, and the reset once";
    EXPECT_EQ(Ask(reset, kOther),
              "8006008300040077"
              "00000000")
        << "ids are per application";
    mNow += std::chrono::seconds(5);
    EXPECT_EQ(Ask(reset),
              "0000008300040077"
              "00000001");
    EXPECT_EQ(mResets, 2) << "long after, it is a command of its own";
}

TEST_F(GvcpConversationTest, AnswersNothingWhenNoAnswerIsWanted) {
    Make();
    TakeControl();
    EXPECT_FALSE(Handle("4200008200080001" + Hex32(simulator::features::kWidth) + Hex32(77)));
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(77));
}

TEST_F(GvcpConversationTest, IgnoresWhatIsNoCommandAndRefusesWhatItDoesNotKnow) {
    Make();
    EXPECT_FALSE(Handle(""));
    EXPECT_FALSE(Handle("42010002"));
    EXPECT_FALSE(Handle("430100020000ffff"));
    EXPECT_FALSE(
        Handle("0000008100040001"
               "00000000"))
        << "an acknowledge";
    EXPECT_FALSE(Handle("4200004000000001")) << "nothing is streamed, so nothing is resent";
    EXPECT_FALSE(Handle("4201000400000001")) << "its address is set on the command line only";
    EXPECT_EQ(Ask("4201010000000001"), "8001010100000001");
    EXPECT_EQ(Ask("4201008000080002"
                  "00000024"),
              "800e008100000002")
        << "wrong length";
    EXPECT_EQ(Ask("4201008000040000"
                  "00000024"),
              "800e008100000000")
        << "id 0";
    EXPECT_EQ(AskNew("0080", ""), "800200810000");
    EXPECT_EQ(AskNew("0080", "000000240000"), "800200810000");
    EXPECT_EQ(AskNew("0082", "00000024"), "80020083000400000000");
}

TEST_F(GvcpConversationTest, AnnouncesSlowOperationsByPendingAck) {
    mOptions.executeLatency = std::chrono::milliseconds(700);
    Make();
    TakeControl();
    EXPECT_EQ(Read(0x954),
              "000000810004"
              "00000000")
        << "off at power-on";
    EXPECT_EQ(Write(0x954, 2), kWritten);
    const std::uint32_t block = simulator::features::kPlainBlock;
    EXPECT_EQ(Write(block + simulator::features::kOpenMode, 1), kWritten);
    const std::string open =
        "420100820008"
        "0055" +
        Hex32(block + simulator::features::kExecute) + Hex32(1);
    const auto reply = Handle(open);
    ASSERT_TRUE(reply);
    ASSERT_EQ(reply->first.size(), 1U);
    EXPECT_EQ(ToHex(reply->first[0]),
              "00000089"
              "0004"
              "0055"
              "0000"
              "0320");
    EXPECT_EQ(reply->delay, std::chrono::milliseconds(700));
    EXPECT_EQ(ToHex(reply->acknowledge),
              "0000008300040055"
              "00000001");
    EXPECT_EQ(mCounters.All().at("PENDING_ACK"), 1U);
    EXPECT_TRUE(Handle(open)->first.empty()) << "repeated when done: answered at once";

    EXPECT_EQ(Write(0x954, 0), kWritten);
    const auto unannounced = Handle(
        "420100820008"
        "0056" +
        Hex32(block + simulator::features::kExecute) + Hex32(1));
    EXPECT_TRUE(unannounced->first.empty());
    EXPECT_EQ(unannounced->delay, std::chrono::milliseconds(700));
}

TEST_F(GvcpConversationTest, KeepsItsControllerDuringAnOperationLongerThanTheHeartbeat) {
    mOptions.executeLatency = std::chrono::milliseconds(900);
    Make();
    TakeControl();
    EXPECT_EQ(Write(0x938, 500), kWritten);
    const std::uint32_t block = simulator::features::kPlainBlock;
    EXPECT_EQ(Write(block + simulator::features::kOpenMode, 1), kWritten);
    const auto reply =
        Handle("4201008200080055" + Hex32(block + simulator::features::kExecute) + Hex32(1));
    ASSERT_TRUE(reply);
    mNow += reply->delay;
    mHandler->NoteAcknowledged(kApplication, mNow);
    mHandler->Tick(mNow);
    EXPECT_EQ(mEvents.Count("control_ended"), 0U);
    mNow += std::chrono::milliseconds(499);
    mHandler->Tick(mNow);
    EXPECT_EQ(Read(0xa00), "00000081000400000002");
}

TEST_F(GvcpConversationTest, RefusesControlAsAFault) {
    mOptions.faults.refuseControl = true;
    Make();
    EXPECT_EQ(Write(0xa00, 2), kWriteDenied);
    EXPECT_EQ(Write(0xa00, 0), kWritten) << "giving it up is always possible";
    EXPECT_EQ(mEvents.Count("control_refused"), 1U);
}

TEST_F(GvcpConversationTest, IsBusyAsAFaultButServesTheRepeatedCommand) {
    mOptions.faults.busyPercent = 50;
    Make();
    int busy = 0;
    for (int i = 0; i < 200; ++i) {
        const std::string answer =
            Ask("4201008000040099"
                "00000024");
        busy += answer == "8007008100000099" ? 1 : 0;
        EXPECT_TRUE(answer == "8007008100000099" || answer ==
                                                        "0000008100040099"
                                                        "c0a80114")
            << answer;
        mNow += std::chrono::seconds(10);
    }
    EXPECT_GT(busy, 60);
    EXPECT_LT(busy, 140);
}

TEST_F(GvcpConversationTest, SendsAnEarlierAcknowledgeFirstAsAFault) {
    mOptions.faults.staleAckPercent = 100;
    Make();
    EXPECT_TRUE(Handle("4201008000040001"
                       "00000024")
                    ->first.empty());
    const auto reply = Handle(
        "4201008000040002"
        "00000938");
    ASSERT_EQ(reply->first.size(), 1U);
    EXPECT_EQ(ToHex(reply->first[0]),
              "0000008100040001"
              "c0a80114");
    EXPECT_EQ(ToHex(reply->acknowledge),
              "0000008100040002"
              "00000bb8");
}

TEST_F(GvcpConversationTest, RemembersABoundedNumberOfApplications) {
    Make();
    for (std::uint16_t port = 1; port < 500; ++port) {
        EXPECT_EQ(Ask("4201008000040001"
                      "00000024",
                      {1, port}),
                  "0000008100040001"
                  "c0a80114");
        mNow += std::chrono::microseconds(1);
    }
    EXPECT_EQ(mCounters.All().at("READREG"), 499U);
    (void)Ask(
        "4201008000040001"
        "00000024",
        {1, 499});
    EXPECT_EQ(mCounters.All().at("REPEATED"), 1U);
    (void)Ask(
        "4201008000040001"
        "00000024",
        {1, 1});
    EXPECT_EQ(mCounters.All().at("READREG"), 500U) << "forgotten";
}
