#include "gvcp/GvcpChannel.h"

#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "Bytes.h"
#include "ScriptedSocket.h"

using namespace std::string_literals;
using GvcpPacket::Command;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StrEq;

namespace {

const Endpoint kDevice{0x0A090802, 3956};
const Endpoint kStranger{0x0A090803, 3956};

// READREG 0x0A00 and its ack.
std::string Read(std::uint16_t id) {
    return "\x42\x01\x00\x80\x00\x04"s + static_cast<char>(id >> 8U) + static_cast<char>(id & 255) +
           "\x00\x00\x0A\x00"s;
}
// WRITEREG 0x9000 of 1.
std::string Start(char id) {
    return "\x42\x01\x00\x82\x00\x08\x00"s + id + "\x00\x00\x90\x00\x00\x00\x00\x01"s;
}
std::string Answer(std::uint16_t id, const std::string& status = "\0\0"s,
                   const std::string& payload = "\0\0\0\x02"s, char code = '\x81') {
    return status + '\0' + code + '\0' + static_cast<char>(payload.size()) +
           static_cast<char>(id >> 8U) + static_cast<char>(id & 255) + payload;
}
std::string Pending(std::uint16_t id, std::uint16_t time) {
    return Answer(id, "\0\0"s,
                  "\0\0"s + static_cast<char>(time >> 8U) + static_cast<char>(time & 255), '\x89');
}

class GvcpChannelTest : public testing::Test {
  protected:
    GvcpChannelTest() {
        auto owned = std::make_unique<ScriptedSocket>();
        script = owned.get();
        channel = std::make_unique<GvcpChannel>(std::move(owned), kDevice, "10.9.8.2 on eth9", 0);
    }
    NxResult ReadPrivilege() {
        std::span<const std::byte> answer;
        NxResult result = channel->Transact(
            Command::kReadRegister, GvcpPacket::ReadRegisters(std::array<std::uint32_t, 1>{0x0A00}),
            0x0A00, answer);
        payload = TextOf(answer);
        return result;
    }

    NxResult StartOperation(milliseconds pendingTimeout) {
        channel->SetPendingTimeout(pendingTimeout);
        std::span<const std::byte> answer;
        return channel->Transact(Command::kWriteRegister,
                                 GvcpPacket::WriteRegisters(std::array{
                                     GvcpPacket::RegisterValue{.address = 0x9000, .value = 1}}),
                                 0x9000, answer, GvcpChannel::Effect::kMayTakeLong);
    }

    ScriptedSocket* script = nullptr;
    std::unique_ptr<GvcpChannel> channel;
    std::string payload;
};

TEST_F(GvcpChannelTest, HandsOutTheAcknowledgesPayload) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    EXPECT_EQ(payload, "\0\0\0\x02"s);
}

TEST_F(GvcpChannelTest, ResendsWithTheSameIdAndUsesANewOneForTheNextCommand) {
    script->ExpectSend(kDevice, Read(1))
        .TimeOut(milliseconds(50), milliseconds(50))
        .ExpectSend(kDevice, Read(1))
        .TimeOut(milliseconds(50), milliseconds(50))
        .ExpectSend(kDevice, Read(1))
        .TimeOut(milliseconds(100), milliseconds(100))
        .ExpectSend(kDevice, Read(1))
        .Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    script->ExpectSend(kDevice, Read(2)).Reply(kDevice, Answer(2));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, DropsStaleAcknowledgesForeignDatagramsAndRubbish) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    script->ExpectSend(kDevice, Read(2))
        .Reply(kDevice, Answer(1, "\0\0"s, "old!"))
        .Reply(kStranger, Answer(2, "\0\0"s, "evil"))
        .Reply({kDevice.address, 4000}, Answer(2, "\0\0"s, "evil"))
        .Reply(kDevice, "")
        .Reply(kDevice, "rubbish")
        .Reply(kDevice, Answer(2, "\0\0"s, "what", '\x85'))
        .Reply(kDevice, Pending(1, 5000))
        .Reply(kDevice, Answer(2, "\0\0"s, "new!"));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    EXPECT_EQ(payload, "new!");
}

TEST_F(GvcpChannelTest, DropsWhatCameBeforeItsCommandWasSent) {
    script->Reply(kDevice, Answer(1, "\0\0"s, "old!"))
        .Reply(kStranger, "noise")
        .ExpectSend(kDevice, Read(1))
        .Reply(kDevice, Answer(1, "\0\0"s, "new!"));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    EXPECT_EQ(payload, "new!");
}

TEST_F(GvcpChannelTest, SendsItsCommandAlsoWhileDatagramsCameWithoutEnd) {
    for (int i = 0; i < 1000; ++i) {
        script->Reply(kStranger, "noise", microseconds(1));
    }
    script->ExpectSend(kDevice, Read(1)).Reply(kStranger, "noise").Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, WaitsAsLongAsADeviceThatIsBusyAnnounces) {
    script->ExpectSend(kDevice, Read(1))
        .Reply(kDevice, Pending(1, 3000))
        .Reply(kDevice, Pending(1, 3000), milliseconds(2500))
        .Reply(kDevice, Answer(1), milliseconds(2900));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, BelievesAnAnnouncedTimeOnlyUpToAMinute) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Pending(1, 65535));
    script->TimeOut(milliseconds(59000), milliseconds(60000)).ExpectSend(kDevice, Read(1));
    script->Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, GivesUpSoonWhenADeviceDiesAfterAnnouncingATime) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Pending(1, 5000));
    script->TimeOut();
    const auto start = script->Now();
    for (const int wait : {50, 100, 200, 300, 300, 300, 300, 300, 150}) {
        script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(wait), milliseconds(wait));
    }
    EXPECT_EQ(ReadPrivilege().GetCode(), kNxTimeout);
    EXPECT_LT(script->Now() - start, std::chrono::seconds(5 + 3));
}

TEST_F(GvcpChannelTest, TriesABusyDeviceAgainWithANewId) {
    script->ExpectSend(kDevice, Read(1))
        .Reply(kDevice, Answer(1, "\x80\x07", ""))
        .TimeOut(milliseconds(10), milliseconds(10))
        .ExpectSend(kDevice, Read(2))
        .Reply(kDevice, Answer(2, "\x80\x07", ""))
        .TimeOut(milliseconds(20), milliseconds(20))
        .ExpectSend(kDevice, Read(3))
        .Reply(kDevice, Answer(3));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, GivesUpADeviceThatStaysBusy) {
    std::uint16_t id = 1;
    script->ExpectSend(kDevice, Read(id)).Reply(kDevice, Answer(id, "\x80\x07", ""));
    const std::array<int, 5> pauses{10, 20, 40, 80, 160};
    for (std::size_t i = 0; i < 28; ++i) {
        const int pause = i < pauses.size() ? pauses[i] : 200;
        ++id;
        script->TimeOut(milliseconds(pause), milliseconds(pause));
        script->ExpectSend(kDevice, Read(id)).Reply(kDevice, Answer(id, "\x80\x07", ""));
    }
    const NxResult result = ReadPrivilege();
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("10.9.8.2 on eth9 refused GVCP READREG at 0x00000a00: BUSY 0x8007"));
    EXPECT_TRUE(channel->IsAlive());
}

TEST_F(GvcpChannelTest, ReportsTheDevicesStatus) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1, "\x80\x03", ""));
    const NxResult result = ReadPrivilege();
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_THAT(
        result.GetDescription().GetAscii(),
        StrEq("10.9.8.2 on eth9 refused GVCP READREG at 0x00000a00: INVALID_ADDRESS 0x8003"));
    script->ExpectSend(kDevice, Read(2)).Reply(kDevice, Answer(2, "\x80\x06", ""));
    EXPECT_EQ(ReadPrivilege().GetCode(), kNxAccessDenied);
}

TEST_F(GvcpChannelTest, GivesUpAfterSomeTwentySendingsWithinFiveSecondsAndStaysDead) {
    const auto start = script->Now();
    for (const int wait : {50, 50, 100, 200}) {
        script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(wait), milliseconds(wait));
    }
    for (int i = 0; i < 14; ++i) {
        script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(300), milliseconds(300));
    }
    const NxResult result = ReadPrivilege();
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("10.9.8.2 on eth9 does not respond (GVCP READREG at 0x00000a00, sent 18 "
                      "times); check its power, cable and address"));
    EXPECT_EQ(script->Now() - start, milliseconds(4600));
    EXPECT_FALSE(channel->IsAlive());
    // Nothing more is sent.
    EXPECT_EQ(ReadPrivilege().GetDescription(), result.GetDescription());
}

TEST_F(GvcpChannelTest, KeepsToItsDeadline) {
    channel->SetDeadline(script->Now() + milliseconds(120));
    script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(50), milliseconds(50));
    script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(50), milliseconds(50));
    script->ExpectSend(kDevice, Read(1)).TimeOut(milliseconds(20), milliseconds(20));
    EXPECT_EQ(ReadPrivilege().GetCode(), kNxTimeout);
}

TEST_F(GvcpChannelTest, PausesWhenTheNetworkIsDown) {
    script->Fail(kNxSocket)
        .TimeOut(milliseconds(100), milliseconds(100))
        .Fail(kNxSocket)
        .TimeOut(milliseconds(100), milliseconds(100))
        .ExpectSend(kDevice, Read(1))
        .Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, NamesTheSystemsReasonWhenTheNetworkStaysDown) {
    channel->SetDeadline(script->Now() + milliseconds(150));
    script->Fail(kNxSocket).TimeOut().Fail(kNxSocket).TimeOut();
    const NxResult result = ReadPrivilege();
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                HasSubstr("10.9.8.2 on eth9 cannot be reached: as scripted"));
}

TEST_F(GvcpChannelTest, HoldsAWriteBackThatALateCopyOfAnEarlierOneCouldUndo) {
    const auto write = [this](const std::string& data) {
        std::span<const std::byte> answer;
        return channel->Transact(Command::kWriteMemory,
                                 GvcpPacket::WriteMemory(0x9000, BytesOf(data)), 0x9000, answer);
    };
    const auto packet = [](char id, const std::string& data) {
        return "\x42\x01\x00\x86\x00\x10\x00"s + id + "\x00\x00\x90\x00"s + data;
    };
    script->ExpectSend(kDevice, packet(1, "first chunk!"))
        .TimeOut(milliseconds(50), milliseconds(50))
        .ExpectSend(kDevice, packet(1, "first chunk!"))
        .Reply(kDevice, Answer(1, "\0\0"s, "\0\0\0\0"s, '\x87'));
    EXPECT_TRUE(write("first chunk!").IsOK());
    script->TimeOut(milliseconds(190), milliseconds(200))
        .ExpectSend(kDevice, packet(2, "later chunk!"))
        .Reply(kDevice, Answer(2, "\0\0"s, "\0\0\0\0"s, '\x87'));
    EXPECT_TRUE(write("later chunk!").IsOK());
}

TEST_F(GvcpChannelTest, GivesAnOperationTimeBeforeItIsStartedAgain) {
    const std::string packet = Start(1);
    script->ExpectSend(kDevice, packet)
        .TimeOut(milliseconds(500), milliseconds(500))
        .ExpectSend(kDevice, packet)
        .TimeOut(milliseconds(500), milliseconds(500))
        .ExpectSend(kDevice, packet)
        .TimeOut(milliseconds(300), milliseconds(300))
        .ExpectSend(kDevice, packet)
        .Reply(kDevice, Answer(1, "\0\0"s, "\0\0\0\x01"s, '\x83'));
    EXPECT_TRUE(StartOperation(milliseconds(0)).IsOK());
    const std::string next = Start(2);
    script->TimeOut()
        .ExpectSend(kDevice, next)
        .TimeOut(milliseconds(1300), milliseconds(1300))
        .ExpectSend(kDevice, next)
        .Reply(kDevice, Answer(2, "\0\0"s, "\0\0\0\x01"s, '\x83'));
    EXPECT_TRUE(StartOperation(milliseconds(1200)).IsOK());
}

TEST_F(GvcpChannelTest, SendsAnOperationAsOftenAsOtherCommandsHoweverLongItMayTake) {
    const auto start = script->Now();
    for (int i = 0; i < 2; ++i) {
        script->ExpectSend(kDevice, Start(1)).TimeOut(milliseconds(2100), milliseconds(2100));
    }
    for (int i = 0; i < 15; ++i) {
        script->ExpectSend(kDevice, Start(1)).TimeOut(milliseconds(300), milliseconds(300));
    }
    script->ExpectSend(kDevice, Start(1)).TimeOut(milliseconds(100), milliseconds(100));
    EXPECT_EQ(StartOperation(milliseconds(60000)).GetCode(), kNxTimeout);
    EXPECT_EQ(script->Now() - start, milliseconds(8800));
}

TEST_F(GvcpChannelTest, KeepsToItsDeadlineWithAnOperation) {
    channel->SetDeadline(script->Now() + milliseconds(2500));
    script->ExpectSend(kDevice, Start(1)).TimeOut(milliseconds(2100), milliseconds(2100));
    script->ExpectSend(kDevice, Start(1)).TimeOut(milliseconds(400), milliseconds(400));
    EXPECT_EQ(StartOperation(milliseconds(2000)).GetCode(), kNxTimeout);
}

TEST_F(GvcpChannelTest, ResendsInTimeWhileDatagramsOfOthersKeepComing) {
    script->ExpectSend(kDevice, Read(1));
    for (int i = 0; i < 5; ++i) {
        script->Reply(kStranger, "noise", milliseconds(10));
    }
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, TellsASlowDeviceFromAMuteOneAtItsDeadline) {
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
    channel->SetDeadline(script->Now() + milliseconds(3));
    script->ExpectSend(kDevice, Read(2)).TimeOut(milliseconds(3), milliseconds(3));
    EXPECT_THAT(ReadPrivilege().GetDescription().GetAscii(),
                StrEq("10.9.8.2 on eth9: connecting took too long: no reply to GVCP READREG at "
                      "0x00000a00 in time; check the network"));
    EXPECT_FALSE(channel->IsAlive());
    // So that its control can still be given up.
    channel->Resume();
    channel->ClearDeadline();
    script->ExpectSend(kDevice, Read(3)).Reply(kDevice, Answer(3));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

TEST_F(GvcpChannelTest, NeverUsesTheRequestIdZero) {
    for (unsigned int i = 1; i <= 0xFFFF; ++i) {
        const auto id = static_cast<std::uint16_t>(i);
        script->ExpectSend(kDevice, Read(id)).Reply(kDevice, Answer(id));
        ASSERT_TRUE(ReadPrivilege().IsOK());
    }
    script->ExpectSend(kDevice, Read(1)).Reply(kDevice, Answer(1));
    EXPECT_TRUE(ReadPrivilege().IsOK());
}

}  // namespace
