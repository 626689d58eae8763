#include "simulator/GvcpHandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "Hex.h"
#include "Payload.h"
#include "simulator/FeatureAddresses.h"

using simulator::CommandCounters;
using simulator::DeviceOptions;
using simulator::EventLog;
using simulator::FirmwareStore;
using simulator::GvcpHandler;
using simulator::GvcpReply;
using simulator::Peer;
using simulator::Profile;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr std::uint32_t kAddress = 0xc0a80114;  // 192.168.1.20
constexpr std::uint32_t kMask = 0xffffff00;
const Peer kApplication{0xc0a80101, 50000};
const Peer kOther{0xc0a80101, 50001};

class GvcpHandlerTest : public testing::Test {
  protected:
    GvcpHandlerTest() {
        mOptions.firmware.deviceId = "left";
        mOptions.concatenation = true;
    }

    void Make() {
        std::string why;
        mHandler.reset();
        mFirmware.reset();
        mFirmware = FirmwareStore::Open(mOptions.firmware, mEvents, why);
        ASSERT_NE(mFirmware, nullptr) << why;
        mHandler = std::make_unique<GvcpHandler>(
            mOptions, *mFirmware, mEvents, mCounters, [this] { ++mResets; }, kAddress, kMask);
    }

    std::optional<GvcpReply> Handle(const std::string& hex, const Peer& peer = kApplication) {
        return mHandler->Handle(peer, FromHex(hex), mNow);
    }

    /// The acknowledge in hex; empty when there is none.
    std::string Ask(const std::string& hex, const Peer& peer = kApplication) {
        const auto reply = Handle(hex, peer);
        return reply ? ToHex(reply->acknowledge) : std::string();
    }

    /// A command with a new id; its acknowledge without the id, as "status command length payload".
    std::string AskNew(const std::string& command, const std::string& payload,
                       const Peer& peer = kApplication) {
        ++mId;
        const std::string answer =
            Ask("4201" + command + Hex16(payload.size() / 2) + Hex16(mId) + payload, peer);
        EXPECT_EQ(answer.substr(12, 4), Hex16(mId));
        return answer.substr(0, 12) + answer.substr(16);
    }

    std::string Read(std::uint32_t address, const Peer& peer = kApplication) {
        return AskNew("0080", Hex32(address), peer);
    }
    std::string Write(std::uint32_t address, std::uint32_t value, const Peer& peer = kApplication) {
        return AskNew("0082", Hex32(address) + Hex32(value), peer);
    }
    void TakeControl(const Peer& peer = kApplication) {
        ASSERT_EQ(Write(0xa00, 2, peer), "00000083000400000001");
    }

    DeviceOptions mOptions;
    EventLog mEvents;
    CommandCounters mCounters;
    std::unique_ptr<FirmwareStore> mFirmware;
    std::unique_ptr<GvcpHandler> mHandler;
    GvcpHandler::Clock::time_point mNow = GvcpHandler::Clock::now();
    std::uint16_t mId = 0x1000;
    int mResets = 0;
};

std::string Padded(const std::string& text, std::size_t size) {
    std::string bytes = text;
    bytes.resize(size, '\0');
    return ToHex({bytes.begin(), bytes.end()});
}

constexpr const char* kWritten = "00000083000400000001";
constexpr const char* kWriteDenied = "80060083000400000000";

}  // namespace

TEST_F(GvcpHandlerTest, AnswersDiscoveryWithTheBootstrapRegisters) {
    Make();
    const std::string zeros(400, '0');
    const std::string expected =
        "00000003"
        "00f8"
        "ffff"
        "00020000"
        "80000001"
        "0000024d"
        "53000001"
        "00000006"
        "00000006" +
        zeros.substr(0, 24) + "c0a80114" + zeros.substr(0, 24) + "ffffff00" + zeros.substr(0, 24) +
        "00000000" + Padded("Mirsko", 32) + Padded("Simulated Camera", 32) + Padded("1.0", 32) +
        Padded("Simulated device, profile file-access", 48) + Padded("SIM-0001", 16) +
        Padded("left", 16);
    EXPECT_EQ(Ask("420100020000ffff"), expected);
    // As sent by applications that let the answer be broadcast.
    EXPECT_EQ(Ask("421100020000ffff"), expected);
}

TEST_F(GvcpHandlerTest, ShowsTheDeviceIdCutInDiscoveryAndWholeInItsFeature) {
    mOptions.firmware.deviceId = "a name of over fifteen characters";
    Make();
    EXPECT_THAT(Ask("420100020000ffff"), HasSubstr(Padded("a name of over ", 16)));
    EXPECT_EQ(AskNew("0084", "0001010000000024"),
              "000000850028"
              "00010100" +
                  Padded("a name of over fifteen characters", 36));
}

TEST_F(GvcpHandlerTest, ReadsRegistersByGoldenBytes) {
    Make();
    EXPECT_EQ(Ask("4201008000040001"
                  "00000934"),
              "0000008100040001"
              "e0000023");
    EXPECT_EQ(Ask("4201008000080002"
                  "00000024"
                  "00000938"),
              "0000008100080002"
              "c0a80114"
              "00000bb8");
}

TEST_F(GvcpHandlerTest, HasNoConcatenationWhenItIsOff) {
    mOptions.concatenation = false;
    Make();
    EXPECT_EQ(Ask("4201008000040001"
                  "00000934"),
              "0000008100040001"
              "e0000022");
    EXPECT_EQ(Read(0x24), "000000810004c0a80114");
    EXPECT_EQ(AskNew("0080", "0000002400000938"), "800200810000");
    TakeControl();
    EXPECT_EQ(AskNew("0082", "00010204000001000001020400000100"), "80020083000400000000");
}

TEST_F(GvcpHandlerTest, StopsReadingAtTheRegisterThatFails) {
    Make();
    EXPECT_EQ(AskNew("0080", Hex32(0x24) + Hex32(0x9000) + Hex32(0x938)),
              "800300810004"
              "c0a80114");
    EXPECT_EQ(AskNew("0080", Hex32(0x26)), "800500810000");
}

TEST_F(GvcpHandlerTest, WritesRegistersInOrderAndSaysWhichOneFailed) {
    Make();
    TakeControl();
    const std::string width = Hex32(simulator::features::kWidth);
    EXPECT_EQ(AskNew("0082", width + Hex32(100) + width + Hex32(200)), "00000083000400000002");
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(200));
    EXPECT_EQ(AskNew("0082", width + Hex32(300) + Hex32(0x24) + Hex32(1) + width + Hex32(400)),
              "80040083000400000001");
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(300));
    EXPECT_EQ(Write(simulator::features::kWidth, 5000), "80020083000400000000");
    EXPECT_EQ(Write(0x9000, 1), "80030083000400000000");
    EXPECT_EQ(Write(simulator::features::kWidth + 2, 1), "80050083000400000000");
}

TEST_F(GvcpHandlerTest, ReadsMemoryWithinItsLimits) {
    Make();
    EXPECT_EQ(AskNew("0084", "0000004800000008"),
              "00000085000c"
              "00000048"
              "4d6972736b6f0000");
    EXPECT_EQ(AskNew("0084", "0000000000000218").size(), 12U + 8 + 2 * 536);
    EXPECT_EQ(AskNew("0084", "000000000000021c"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000000000006"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000000000000"), "800200850000");
    EXPECT_EQ(AskNew("0084", "00000000"), "800200850000");
    EXPECT_EQ(AskNew("0084", "0000000200000004"), "800500850000");
    EXPECT_EQ(AskNew("0084", "0000900000000004"), "800300850000");
    EXPECT_EQ(AskNew("0084", "00000ffc00000008"), "800300850000") << "reaches past a region";
}

TEST_F(GvcpHandlerTest, WritesMemoryWithinItsLimits) {
    Make();
    TakeControl();
    const std::string buffer = Hex32(simulator::features::kBuffer);
    EXPECT_EQ(AskNew("0086", buffer + "0102030405060708"), "00000087000400000008");
    EXPECT_EQ(AskNew("0084", buffer + "00000008"), "00000085000c" + buffer + "0102030405060708");
    EXPECT_EQ(AskNew("0086", buffer + std::string(2 * 536, 'a')), "00000087000400000218");
    EXPECT_EQ(AskNew("0086", buffer + std::string(2 * 540, 'a')), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", buffer + "0102"), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", buffer), "80020087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kBuffer + 1) + "01020304"),
              "80050087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kXml) + "01020304"),
              "80040087000400000000");
    EXPECT_EQ(AskNew("0086", Hex32(simulator::features::kBuffer + 4092) + "0102030405060708"),
              "80030087000400000000");
}

TEST_F(GvcpHandlerTest, GivesControlToOneApplication) {
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

TEST_F(GvcpHandlerTest, LetsNobodyElseReadUnderExclusiveAccess) {
    Make();
    EXPECT_EQ(Write(0xa00, 1), kWritten);
    EXPECT_EQ(Read(0x24, kOther), "800600810000");
    EXPECT_EQ(AskNew("0084", "0000004800000008", kOther), "800600850000");
    EXPECT_THAT(Ask("420100020000ffff", kOther), StartsWith("0000000300f8"));
    EXPECT_EQ(Read(0x24), "000000810004c0a80114");
}

TEST_F(GvcpHandlerTest, EndsControlWhenTheHeartbeatFails) {
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

TEST_F(GvcpHandlerTest, KeepsTheHeartbeatTimeoutAboveItsMinimum) {
    Make();
    TakeControl();
    EXPECT_EQ(Write(0x938, 1), kWritten);
    EXPECT_EQ(Read(0x938), "000000810004" + Hex32(500));
}

TEST_F(GvcpHandlerTest, DropsAnUploadWithTheControlOfItsApplication) {
    Make();
    TakeControl();
    const std::uint32_t block = simulator::features::kPlainBlock;
    EXPECT_EQ(Write(block + simulator::features::kOpenMode, 1), kWritten);
    EXPECT_EQ(Write(block + simulator::features::kExecute, 1), kWritten);
    EXPECT_EQ(Read(block + simulator::features::kStatus), "00000081000400000000");
    mNow += std::chrono::seconds(3);
    mHandler->Tick(mNow);
    EXPECT_EQ(mFirmware->Status(), "Transfer incomplete: 0 bytes received");
}

TEST_F(GvcpHandlerTest, GivesARepeatedCommandTheSameAnswerAndDoesNotCarryItOutAgain) {
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

TEST_F(GvcpHandlerTest, AnswersNothingWhenNoAnswerIsWanted) {
    Make();
    TakeControl();
    EXPECT_FALSE(Handle("4200008200080001" + Hex32(simulator::features::kWidth) + Hex32(77)));
    EXPECT_EQ(Read(simulator::features::kWidth), "000000810004" + Hex32(77));
}

TEST_F(GvcpHandlerTest, IgnoresWhatIsNoCommandAndRefusesWhatItDoesNotKnow) {
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

TEST_F(GvcpHandlerTest, AnnouncesSlowOperationsByPendingAck) {
    mOptions.executeLatency = std::chrono::milliseconds(700);
    Make();
    TakeControl();
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

TEST_F(GvcpHandlerTest, RefusesControlAsAFault) {
    mOptions.faults.refuseControl = true;
    Make();
    EXPECT_EQ(Write(0xa00, 2), kWriteDenied);
    EXPECT_EQ(Write(0xa00, 0), kWritten) << "giving it up is always possible";
    EXPECT_EQ(mEvents.Count("control_refused"), 1U);
}

TEST_F(GvcpHandlerTest, IsBusyAsAFaultButServesTheRepeatedCommand) {
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

TEST_F(GvcpHandlerTest, SendsAnEarlierAcknowledgeFirstAsAFault) {
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

TEST_F(GvcpHandlerTest, AnswersDiscoveryOnlyAsALoader) {
    mOptions.profile = Profile::kLoader;
    Make();
    const std::string answer = Ask("420100020000ffff");
    EXPECT_EQ(answer.size(), 2U * (8 + 0xf8));
    EXPECT_EQ(answer.substr(2 * (8 + 0xa8), 26), Padded("MIRSKO-LOADER", 13));
    EXPECT_FALSE(
        Handle("4201008000040001"
               "00000024"));
    EXPECT_FALSE(
        Handle("4201008200080002"
               "00000a00"
               "00000002"));
}

TEST_F(GvcpHandlerTest, NamesItsDescriptionInTheUrlRegisters) {
    Make();
    const std::string url = "Local:Mirsko_Simulated_Camera.xml;100000;";
    EXPECT_THAT(AskNew("0084", "0000020000000200"), HasSubstr(Padded(url, url.size())));
    EXPECT_EQ(AskNew("0084", "0000040000000004"),
              "000000850008"
              "00000400"
              "00000000");
    mOptions.secondUrlOnly = true;
    Make();
    EXPECT_THAT(AskNew("0084", "0000040000000200"), HasSubstr(Padded(url, url.size())));
    EXPECT_EQ(AskNew("0084", "0000020000000004"),
              "000000850008"
              "00000200"
              "00000000");
}

TEST_F(GvcpHandlerTest, CountsCommandsPerKind) {
    Make();
    TakeControl();
    (void)Read(0xa00);
    (void)Read(0x24);
    (void)AskNew("0084", "0000004800000008");
    (void)AskNew("0086", Hex32(simulator::features::kBuffer) + "01020304");
    (void)Ask("420100020000ffff");
    EXPECT_EQ(mCounters.All(), (CommandCounters::Counts{{"DISCOVERY", 1},
                                                        {"HEARTBEAT", 1},
                                                        {"READMEM", 1},
                                                        {"READREG", 1},
                                                        {"WRITEMEM", 1},
                                                        {"WRITEREG", 1}}));
}

TEST_F(GvcpHandlerTest, RemembersABoundedNumberOfApplications) {
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
