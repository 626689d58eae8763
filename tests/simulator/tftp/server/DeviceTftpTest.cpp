#include "simulator/tftp/server/DeviceTftp.h"

#include <gmock/gmock.h>

#include "Packets.h"
#include "Payload.h"
#include "Process.h"
#include "RawClient.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"
#include "simulator/firmware/FirmwareStore.h"

namespace simulator {
namespace {

using std::chrono::milliseconds;
using testing::StartsWith;

class DeviceTftpTest : public testing::Test {
  protected:
    void Start() {
        std::string why;
        options.tftp.port = 0;
        store = FirmwareStore::Open(options.firmware, events, why);
        ASSERT_NE(store, nullptr) << why;
        const DeviceContext context{
            options, *store, events, muted, controlLost, [] {}, [this] { ++answered; }};
        device = std::make_unique<DeviceTftp>(context);
        ASSERT_TRUE(device->Start({}, why)) << why;
    }

    /// Sends a payload in blocks of 512 bytes; returns the last answer.
    TftpPacket::Bytes Write(const std::string& content) {
        client.Send(device->Port(),
                    TftpPacket::Request(TftpOpcode::kWriteRequest, "RemoteUpdateDfw", "octet", {}));
        TftpPacket::Bytes answer = client.Receive();
        std::uint16_t block = 0;
        while (answer == TftpPacket::Ack(block)) {
            const std::size_t at = 512U * block;
            if (at > content.size()) {
                break;
            }
            client.Send(client.From(),
                        DataPacket(++block, std::string_view(content).substr(at, 512)));
            answer = client.Receive();
        }
        return answer;
    }

    /// The status text, or "ERROR <code> <text>".
    std::string ReadStatus(const std::string& file = "status") {
        client.Send(device->Port(), TftpPacket::Request(TftpOpcode::kReadRequest, file, "octet",
                                                        {{"blksize", "8192"}}));
        auto answer = client.Receive();
        auto packet = TftpPacket::Parse(answer);
        if (packet && packet->opcode == TftpOpcode::kOptionAck) {
            client.Send(client.From(), TftpPacket::Ack(0));
            answer = client.Receive();
            packet = TftpPacket::Parse(answer);
        }
        if (!packet || packet->opcode == TftpOpcode::kError) {
            return packet ? "ERROR " + std::to_string(static_cast<int>(packet->error.code)) + " " +
                                packet->error.text
                          : "no answer";
        }
        client.Send(client.From(), TftpPacket::Ack(packet->block));
        return {packet->data.begin(), packet->data.end()};
    }

    EventLog events;
    DeviceOptions options;
    std::atomic<bool> muted{false};
    std::atomic<bool> controlLost{false};
    std::atomic<unsigned int> answered{0};  // packets
    std::unique_ptr<FirmwareStore> store;
    std::unique_ptr<DeviceTftp> device;
    RawClient client;
};

TEST_F(DeviceTftpTest, TakesAFirmwareAndTellsItsVerdict) {
    Start();
    EXPECT_EQ(Write(Payload{.body = std::string(5000, 'x')}.Encode()), TftpPacket::Ack(10));
    EXPECT_EQ(ReadStatus(), "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(store->State().stored.Text(), "2.1");
    ASSERT_TRUE(WaitUntil([this] { return events.Count("tftp") == 2; }));
}

TEST_F(DeviceTftpTest, CountsEachPacketThatItAnswered) {
    Start();
    EXPECT_EQ(Write(Payload{.body = std::string(1000, 'x')}.Encode()), TftpPacket::Ack(3));
    EXPECT_TRUE(WaitUntil([this] { return answered == 4; }));
}

TEST_F(DeviceTftpTest, AcknowledgesABadPayloadAndTellsItsVerdict) {
    Start();
    EXPECT_EQ(Write("no payload"), TftpPacket::Ack(1));
    EXPECT_THAT(ReadStatus(), StartsWith("Payload rejected: "));
}

TEST_F(DeviceTftpTest, TakesADeviceIdRecord) {
    Start();
    EXPECT_EQ(Write(Payload{.kind = 2, .body = "left camera"}.Encode()), TftpPacket::Ack(1));
    EXPECT_EQ(store->State().deviceId, "left camera");
}

TEST_F(DeviceTftpTest, KnowsTwoFilesAndTheirDirections) {
    Start();
    EXPECT_EQ(ReadStatus("nothing"), "ERROR 1 No file \"nothing\"");
    EXPECT_EQ(ReadStatus("RemoteUpdateDfw"), "ERROR 2 RemoteUpdateDfw is write-only");
    client.Send(device->Port(),
                TftpPacket::Request(TftpOpcode::kWriteRequest, "status", "octet", {}));
    EXPECT_EQ(client.Receive(),
              TftpPacket::Error({TftpErrorCode::kAccessViolation, "status is read-only"}));
    client.Send(device->Port(),
                TftpPacket::Request(TftpOpcode::kWriteRequest, "other", "octet", {}));
    EXPECT_EQ(client.Receive(),
              TftpPacket::Error({TftpErrorCode::kFileNotFound, "No file \"other\""}));
}

TEST_F(DeviceTftpTest, RefusesASecondWriteWhileOneIsUnderWay) {
    Start();
    const auto request =
        TftpPacket::Request(TftpOpcode::kWriteRequest, "RemoteUpdateDfw", "octet", {});
    client.Send(device->Port(), request);
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    client.Send(client.From(), DataPacket(1, std::string(512, 'x')));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(1));
    RawClient second;
    second.Send(device->Port(), request);
    EXPECT_EQ(second.Receive(),
              TftpPacket::Error({TftpErrorCode::kNotDefined, "Another transfer is in progress"}));
}

TEST_F(DeviceTftpTest, ALateCopyOfARequestLeavesTheStatusAlone) {
    options.tftp.initialTimeout = milliseconds(10);
    options.tftp.maxTimeout = milliseconds(10);
    Start();
    Write(Payload{.body = "new"}.Encode());
    client.Send(device->Port(),
                TftpPacket::Request(TftpOpcode::kWriteRequest, "RemoteUpdateDfw", "octet", {}));
    ASSERT_TRUE(WaitUntil([this] { return events.Count("tftp") == 2; }));
    EXPECT_EQ(store->State().lastStatus, "Firmware applied: MirskoSim 2.1");
}

TEST_F(DeviceTftpTest, ABrokenTransferLeavesTheOldFirmware) {
    options.tftp.initialTimeout = milliseconds(10);
    options.tftp.maxTimeout = milliseconds(10);
    options.tftp.minTimeout = milliseconds(10);
    Start();
    client.Send(device->Port(),
                TftpPacket::Request(TftpOpcode::kWriteRequest, "RemoteUpdateDfw", "octet", {}));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    client.Send(client.From(), DataPacket(1, std::string(512, 'x')));
    ASSERT_TRUE(WaitUntil([this] { return events.Count("tftp") == 1; }));
    ASSERT_TRUE(WaitUntil([this] {
        return store->State().lastStatus == "Transfer incomplete: 512 bytes received";
    })) << store->State().lastStatus;
    EXPECT_EQ(store->State().stored.Text(), "1.0");
}

TEST_F(DeviceTftpTest, HoldsTheStatusBackWhileTheFlashIsWritten) {
    options.firmware.flashTime = milliseconds(300);
    Start();
    Write(Payload{.body = "new"}.Encode());
    EXPECT_EQ(ReadStatus(), "Firmware applied: MirskoSim 2.1");
}

TEST_F(DeviceTftpTest, TellsThatTheFlashIsWrittenWhereItDoesNotHoldTheStatusBack) {
    options.firmware.flashTime = std::chrono::hours(1);
    options.tftp.holdStatusWhileFlashing = false;
    Start();
    Write(Payload{.body = "new"}.Encode());
    EXPECT_EQ(ReadStatus(), FirmwareStore::kBusyStatus);
    EXPECT_EQ(Write("more"),
              TftpPacket::Error({TftpErrorCode::kNotDefined, FirmwareStore::kBusyStatus}));
}

TEST_F(DeviceTftpTest, SaysNothingWhileTheDeviceIsMute) {
    Start();
    muted = true;
    client.Send(device->Port(),
                TftpPacket::Request(TftpOpcode::kReadRequest, "status", "octet", {}));
    EXPECT_TRUE(client.Receive(milliseconds(200)).empty());
}

TEST_F(DeviceTftpTest, FillsTheStatusUpAsAFault) {
    options.faults.tftp.statusSize = 3000;
    Start();
    Write(Payload{.body = "new"}.Encode());
    const std::string status = ReadStatus();
    EXPECT_THAT(status, StartsWith("Firmware applied: MirskoSim 2.1..."));
    EXPECT_EQ(status.size(), 3000U);
}

TEST_F(DeviceTftpTest, RecordsTransfersWithPrintableNamesOnly) {
    Start();
    (void)ReadStatus("\xff\x01odd");
    ASSERT_TRUE(WaitUntil([this] { return events.Count("tftp") == 1; }));
    for (const auto& event : events.All()) {
        if (event["event"] == "tftp") {
            EXPECT_EQ(event["file"], "??odd");
            EXPECT_EQ(event["complete"], false);
        }
    }
}

}  // namespace
}  // namespace simulator
