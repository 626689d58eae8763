#include "u3v/U3vChannel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>

#include "ScriptedPipe.h"

namespace {

using testing::HasSubstr;
using Bytes = ScriptedPipe::Bytes;

class U3vChannelTest : public testing::Test {
  protected:
    ~U3vChannelTest() override { EXPECT_TRUE(mLog.answers.empty()) << "answers left over"; }

    static std::string Text(const NxResult& result) { return result.GetDescription().GetAscii(); }
    static int LengthAskedBy(const Bytes& command) {
        return ByteOrder::LoadLittle16(&command.at(22));
    }
    static std::size_t WrittenBy(const Bytes& command) { return command.size() - 20; }

    ScriptedPipe::Log mLog;
    U3vChannel mChannel{std::make_unique<ScriptedPipe>(mLog), "Device X"};
};

/// Calls back when it gives the device's interface back.
class ClosingPipe : public ScriptedPipe {
  public:
    ClosingPipe(Log& log, std::function<void()> onClose)
        : ScriptedPipe(log), mOnClose(std::move(onClose)) {}
    ~ClosingPipe() override { mOnClose(); }

  private:
    std::function<void()> mOnClose;
};

}  // namespace

TEST_F(U3vChannelTest, WritesBlocksThatFillTheLongestCommand) {
    struct Case {
        std::size_t command, ack, block;
    };
    for (const Case& limits :
         {Case{1024, 1024, 1004}, Case{1044, 1036, 1024}, Case{4108, 4108, 4088},
          Case{16404, 16396, 16384}, Case{65548, 65548, 65512}, Case{65548, 1024, 65512},
          Case{65548, 64, 65512}, Case{64, 65548, 44}, Case{1U << 30U, 1U << 30U, 65512}}) {
        mLog.commands.clear();
        mChannel.SetLimits(limits.command, limits.ack);
        mLog.answers = {ScriptedPipe::WriteAck(static_cast<int>(limits.block)),
                        ScriptedPipe::WriteAck(5)};
        const Bytes data(limits.block + 5, std::byte{0x5A});
        ASSERT_TRUE(mChannel.Write(0x1000, data).IsOK());
        ASSERT_EQ(mLog.commands.size(), 2U);
        EXPECT_EQ(WrittenBy(mLog.commands[0]), limits.block);
        EXPECT_EQ(WrittenBy(mLog.commands[1]), 5U);
        EXPECT_LE(mLog.commands[0].size(), limits.command);
    }
}

TEST_F(U3vChannelTest, WritesA64KibibyteBufferWithTwoCommandsWhereAcknowledgesAreShort) {
    mChannel.SetLimits(65548, 1024);
    mLog.answers = {ScriptedPipe::WriteAck(65512), ScriptedPipe::WriteAck(24)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(65536)).IsOK());
    EXPECT_EQ(mLog.commands.size(), 2U);
}

TEST_F(U3vChannelTest, ReadsBlocksThatFitTheAcknowledge) {
    mChannel.SetLimits(1024, 1024);
    mLog.answers = {ScriptedPipe::Ack(0x0801, Bytes(1012, std::byte{1})),
                    ScriptedPipe::Ack(0x0801, Bytes(4, std::byte{2}))};
    Bytes buffer(1016);
    ASSERT_TRUE(mChannel.Read(0x2000, buffer).IsOK());
    EXPECT_EQ(buffer.front(), std::byte{1});
    EXPECT_EQ(buffer.back(), std::byte{2});
}

TEST_F(U3vChannelTest, AsksForWholeWordsAndCutsWhatIsTooMuch) {
    mLog.answers = {
        ScriptedPipe::Ack(0x0801, {std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4},
                                   std::byte{5}, std::byte{6}, std::byte{7}, std::byte{8}})};
    Bytes memory(6, std::byte{0xEE});
    ASSERT_TRUE(mChannel.Read(0x2000, std::span(memory).first(5)).IsOK());
    EXPECT_EQ(LengthAskedBy(mLog.commands.at(0)), 8);
    EXPECT_EQ(memory, (Bytes{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}, std::byte{5},
                             std::byte{0xEE}}));
}

TEST_F(U3vChannelTest, AsksForTheBytesAloneWhereTheDeviceHasNoMoreMemory) {
    mLog.answers = {ScriptedPipe::Ack(0x0801, {}, 0x8003),
                    ScriptedPipe::Ack(0x0801, Bytes(5, std::byte{2}))};
    Bytes buffer(5);
    EXPECT_TRUE(mChannel.Read(0x2000, buffer).IsOK());
    EXPECT_EQ(buffer, Bytes(5, std::byte{2}));
    ASSERT_EQ(mLog.commands.size(), 2U);
    EXPECT_EQ(LengthAskedBy(mLog.commands[1]), 5);

    mLog.answers = {ScriptedPipe::Ack(0x0801, {}, 0x8003), ScriptedPipe::Ack(0x0801, {}, 0x8003)};
    EXPECT_THAT(Text(mChannel.Read(0x2000, buffer)), HasSubstr("refused to read 5 bytes"));
    EXPECT_EQ(mLog.commands.size(), 4U);
}

TEST_F(U3vChannelTest, TakesTheBytesAloneThoughWholeWordsWereAskedFor) {
    mLog.answers = {ScriptedPipe::Ack(0x0801, Bytes(5, std::byte{2}))};
    Bytes buffer(5);
    EXPECT_TRUE(mChannel.Read(0x2000, buffer).IsOK());
    EXPECT_EQ(buffer, Bytes(5, std::byte{2}));
}

TEST_F(U3vChannelTest, IgnoresAcknowledgesOfOtherCommandsAndEmptyTransfers) {
    mLog.answers = {ScriptedPipe::Ack(0x0803, {}, 0, -1),
                    {[](const Bytes&) { return Bytes(); }, LIBUSB_SUCCESS},
                    ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_EQ(mLog.commands.size(), 1U);
}

TEST_F(U3vChannelTest, TakesWhatAKilledProgramLeftInTheDeviceBeforeTheFirstCommand) {
    mLog.answers = {ScriptedPipe::Raw(Bytes(65548, std::byte{0x55})), ScriptedPipe::Raw(Bytes(40)),
                    ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Start().IsOK());
    EXPECT_EQ(mLog.clearedStalls, 1);
    EXPECT_EQ(mLog.answers.size(), 1U);
    EXPECT_TRUE(mLog.commands.empty());
    EXPECT_LT(mLog.timeouts.back(), std::chrono::milliseconds(100));
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_EQ(mLog.commands.size(), 1U);
}

TEST_F(U3vChannelTest, DropsThePiecesOfAnotherProgramsAcknowledgeUntilTheDeviceAnswers) {
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT),
                    ScriptedPipe::Raw(Bytes(65536, std::byte{0x55})),
                    ScriptedPipe::Raw(Bytes(12, std::byte{0x55})), ScriptedPipe::WriteAck(4),
                    ScriptedPipe::Raw(Bytes(12, std::byte{0x55}))};
    EXPECT_TRUE(mChannel.Start().IsOK());
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_EQ(mLog.commands.size(), 1U);
    EXPECT_EQ(mChannel.Write(0, Bytes(4)).GetCode(), kNxProtocol);
}

TEST_F(U3vChannelTest, EndsTakingWhatWaitsInADeviceThatNeverStopsTalking) {
    for (int i = 0; i < 1000; ++i) {
        mLog.answers.push_back(ScriptedPipe::Raw(Bytes(64)));
    }
    EXPECT_TRUE(mChannel.Start().IsOK());
    EXPECT_GT(mLog.answers.size(), 900U);
    mLog.answers.clear();
}

TEST_F(U3vChannelTest, StartsNotWithADeviceThatWasUnplugged) {
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_NO_DEVICE)};
    EXPECT_EQ(mChannel.Start().GetCode(), kNxDeviceGone);
    EXPECT_FALSE(mChannel.IsAlive());
}

TEST_F(U3vChannelTest, WaitsLongerWhenTheDeviceAnnouncesIt) {
    mLog.answers = {ScriptedPipe::Pending(20000), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    ASSERT_EQ(mLog.timeouts.size(), 2U);
    EXPECT_LE(mLog.timeouts[0].count(), 5000);
    EXPECT_GT(mLog.timeouts[1].count(), 20000);
    EXPECT_EQ(mLog.commands.size(), 1U);
}

TEST_F(U3vChannelTest, NeverWaitsForMoreThanAMinuteWhateverIsAnnounced) {
    mLog.answers = {ScriptedPipe::Pending(65535), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_LE(mLog.timeouts[1].count(), 60000);
}

TEST_F(U3vChannelTest, WaitsAsLongAsTheDeviceSaysThatItTakesWithinBounds) {
    struct Case {
        std::uint32_t announced, least, most;
    };
    for (const Case& time : {Case{0, 4900, 5000}, Case{200, 4900, 5000}, Case{12000, 12000, 13000},
                             Case{0xFFFFFFFF, 59000, 60000}}) {
        mChannel.SetResponseTime(std::chrono::milliseconds(time.announced));
        mLog.answers = {ScriptedPipe::WriteAck(4)};
        EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
        EXPECT_GE(mLog.timeouts.back().count(), time.least) << time.announced;
        EXPECT_LE(mLog.timeouts.back().count(), time.most) << time.announced;
    }
}

TEST_F(U3vChannelTest, SendsACommandAgainOnlyWhenTheDeviceWasBusy) {
    mLog.answers = {ScriptedPipe::Ack(0x0803, {}, 0x8007), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    ASSERT_EQ(mLog.commands.size(), 2U);
    EXPECT_NE(mLog.commands[0][10], mLog.commands[1][10]) << "a new command has a new id";
}

TEST_F(U3vChannelTest, NumbersCommandsFromOneToTheHighestIdAndNeverWithZero) {
    constexpr int kMoreThanAllIds = 0x10000 + 10;
    int last = 0;
    for (int i = 0; i < kMoreThanAllIds; ++i) {
        mLog.commands.clear();
        mLog.answers = {ScriptedPipe::WriteAck(4)};
        ASSERT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
        const int id = ByteOrder::LoadLittle16(&mLog.commands.at(0)[10]);
        ASSERT_TRUE(i == 0 || id == (last == 0xFFFF ? 1 : last + 1)) << id << " after " << last;
        last = id;
    }
}

TEST_F(U3vChannelTest, ReportsTheDevicesStatusAndStaysUsable) {
    mLog.answers = {ScriptedPipe::Ack(0x0803, {}, 0x8004), ScriptedPipe::WriteAck(4)};
    const NxResult refused = mChannel.Write(0xABC0, Bytes(4));
    EXPECT_EQ(refused.GetCode(), kNxDeviceError);
    EXPECT_EQ(Text(refused), "Device X refused to write 4 bytes at 0xabc0 (WRITE_PROTECT 0x8004)");
    EXPECT_TRUE(mChannel.IsAlive());
    EXPECT_TRUE(mChannel.Write(0xABC0, Bytes(4)).IsOK());
}

TEST_F(U3vChannelTest, ReportsAWriteOfFewerBytes) {
    mLog.answers = {ScriptedPipe::WriteAck(2)};
    const NxResult result = mChannel.Write(0, Bytes(4));
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_THAT(Text(result), HasSubstr("accepted only 2 of 4 bytes"));
}

TEST_F(U3vChannelTest, SendsACommandOnceAndNothingMoreWhenItGoesUnanswered) {
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT)};
    const NxResult result = mChannel.Write(0, Bytes(4));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(Text(result),
                HasSubstr("timed out replying to a command; unplug and reconnect it"));
    EXPECT_EQ(mLog.commands.size(), 1U);
    EXPECT_FALSE(mChannel.IsAlive());

    Bytes buffer(4);
    EXPECT_EQ(Text(mChannel.Read(0, buffer)), Text(result));
    EXPECT_EQ(mLog.commands.size(), 1U);
}

TEST_F(U3vChannelTest, SaysAtOnceThatTheDeviceWasUnplugged) {
    mLog.sendErrors = {LIBUSB_ERROR_NO_DEVICE};
    const NxResult result = mChannel.Write(0, Bytes(4));
    EXPECT_EQ(result.GetCode(), kNxDeviceGone);
    EXPECT_THAT(Text(result), HasSubstr("Device X was unplugged"));
    EXPECT_FALSE(mChannel.IsAlive());
}

TEST_F(U3vChannelTest, ClearsAStallOfACommandAndSendsItOnceMore) {
    mLog.sendErrors = {LIBUSB_ERROR_PIPE};
    mLog.answers = {ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_EQ(mLog.clearedStalls, 1);
    EXPECT_EQ(mLog.commands.size(), 1U) << "the device took one";

    mLog.sendErrors = {LIBUSB_ERROR_PIPE, LIBUSB_ERROR_PIPE};
    EXPECT_THAT(Text(mChannel.Write(0, Bytes(4))),
                HasSubstr("stalled its control endpoint instead of accepting a command"));
    EXPECT_EQ(mLog.commands.size(), 1U);
}

TEST_F(U3vChannelTest, SendsAReadOnceMoreAfterAProtocolError) {
    Bytes buffer(4);
    mLog.sendErrors = {LIBUSB_ERROR_IO};
    // The first may have arrived all the same.
    mLog.answers = {ScriptedPipe::Ack(0x0801, Bytes(4), 0, -1),
                    ScriptedPipe::Ack(0x0801, Bytes(4, std::byte{1}))};
    EXPECT_TRUE(mChannel.Read(0, buffer).IsOK());
    EXPECT_EQ(buffer, Bytes(4, std::byte{1}));
    EXPECT_EQ(mLog.clearedStalls, 1);
}

TEST_F(U3vChannelTest, SendsALongWriteOnceMoreAfterAProtocolError) {
    mChannel.SetLimits(65548, 65548);
    mLog.sendErrors = {LIBUSB_ERROR_IO};
    mLog.answers = {ScriptedPipe::WriteAck(20000)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(20000)).IsOK());
    EXPECT_EQ(mLog.clearedStalls, 1);
}

TEST_F(U3vChannelTest, TakesTheAcknowledgeOfAShortWriteThatAProtocolErrorLetThrough) {
    mLog.answers = {ScriptedPipe::WriteAck(4)};
    ASSERT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    mLog.sendErrors = {LIBUSB_ERROR_IO};
    mLog.answers = {ScriptedPipe::Ack(0x0803, Bytes(), 0, 1)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_EQ(mLog.commands.size(), 1U) << "the second was not sent again";
    EXPECT_EQ(mLog.clearedStalls, 0);
}

TEST_F(U3vChannelTest, SendsAShortWriteOnceMoreWhenNoAcknowledgeShowsThatItArrived) {
    mLog.sendErrors = {LIBUSB_ERROR_IO};
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_GT(mLog.timeouts.at(0).count(), 4900) << "as long as for any command";
    EXPECT_EQ(mLog.commands.size(), 1U);
    EXPECT_EQ(mLog.clearedStalls, 1);

    mLog.sendErrors = {LIBUSB_ERROR_IO, LIBUSB_ERROR_IO};
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT)};
    const NxResult result = mChannel.Write(0, Bytes(4));
    EXPECT_EQ(result.GetCode(), kNxDeviceGone);
    EXPECT_THAT(Text(result), HasSubstr("failed while accepting a command (LIBUSB_ERROR_IO)"));
    EXPECT_FALSE(mChannel.IsAlive());
}

TEST_F(U3vChannelTest, SaysThatTheDeviceWasUnpluggedWhenAProtocolErrorTurnsOutToBeThat) {
    mLog.sendErrors = {LIBUSB_ERROR_IO};
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_NO_DEVICE)};
    EXPECT_THAT(Text(mChannel.Write(0, Bytes(4))), HasSubstr("Device X was unplugged"));
}

TEST_F(U3vChannelTest, GivesTheInterfaceBackBeforeItSaysThatItIsDead) {
    // Who sees that it is dead claims the interface at once.
    const U3vChannel* channel = nullptr;
    bool wasAlive = false;
    U3vChannel closing(std::make_unique<ClosingPipe>(mLog, [&] { wasAlive = channel->IsAlive(); }),
                       "Device X");
    channel = &closing;
    mLog.sendErrors = {LIBUSB_ERROR_NO_DEVICE};
    EXPECT_EQ(closing.Write(0, Bytes(4)).GetCode(), kNxDeviceGone);
    EXPECT_TRUE(wasAlive);
    EXPECT_FALSE(closing.IsAlive());
}

TEST_F(U3vChannelTest, ClearsAStallAndReportsIt) {
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_PIPE)};
    Bytes buffer(4);
    const NxResult result = mChannel.Read(0, buffer);
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_THAT(Text(result), HasSubstr("stalled"));
    EXPECT_EQ(mLog.clearedStalls, 1);
}

TEST_F(U3vChannelTest, RefusesAnswersThatBreakTheProtocol) {
    const std::vector<ScriptedPipe::Answer> broken = {
        ScriptedPipe::Raw(Bytes(12, std::byte{0x55})),
        ScriptedPipe::Ack(0x0803, Bytes(4)),
        ScriptedPipe::Ack(0x0801, Bytes(3)),
        ScriptedPipe::Ack(0x0801, Bytes(5)),
    };
    for (const ScriptedPipe::Answer& answer : broken) {
        ScriptedPipe::Log log;
        log.answers = {ScriptedPipe::WriteAck(4), answer};
        U3vChannel channel(std::make_unique<ScriptedPipe>(log), "Device X");
        ASSERT_TRUE(channel.Write(0, Bytes(4)).IsOK());
        Bytes buffer(4);
        EXPECT_EQ(channel.Read(0, buffer).GetCode(), kNxProtocol);
        EXPECT_FALSE(channel.IsAlive());
    }
}

TEST_F(U3vChannelTest, WaitsNoLongerThanTheDeadlineOfAConnection) {
    mChannel.SetDeadline(U3vChannel::Clock::now() + std::chrono::milliseconds(700));
    mLog.answers = {ScriptedPipe::Pending(20000), ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mChannel.Write(0, Bytes(4)).IsOK());
    EXPECT_LE(mLog.timeouts[0].count(), 700);
    EXPECT_LE(mLog.timeouts[1].count(), 700);
}
