#include "simulator/tftp/server/TftpServer.h"

#include <mutex>

#include <gmock/gmock.h>

#include "MemoryTftpFiles.h"
#include "Packets.h"
#include "Process.h"
#include "RawClient.h"

namespace simulator {
namespace {

using std::chrono::milliseconds;
using std::string_view_literals::operator""sv;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class TftpServerTest : public testing::Test {
  protected:
    void Start() {
        server = std::make_unique<TftpServer>(files, settings, faults,
                                              [this](const TftpTransfer& transfer) {
                                                  const std::lock_guard lock(mutex);
                                                  transfers.push_back(transfer);
                                              });
        std::string why;
        ASSERT_TRUE(server->Start("127.0.0.1", "lo", why)) << why;
    }

    std::vector<TftpTransfer> Transfers() {
        const std::lock_guard lock(mutex);
        return transfers;
    }

    static TftpPacket::Bytes Request(TftpOpcode opcode, const TftpOptionList& options = {},
                                     const std::string& mode = "octet") {
        return TftpPacket::Request(opcode, "file", mode, options);
    }

    /// Writes "file" with a block of three bytes; false when there is no answer.
    bool WriteShortFile(RawClient& client) {
        client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
        if (client.Receive(milliseconds(1000)) != TftpPacket::Ack(0)) {
            return false;
        }
        client.Send(client.From(), DataPacket(1, "end"));
        return client.Receive(milliseconds(1000)) == TftpPacket::Ack(1);
    }

    MemoryTftpFiles files;
    TftpSettings settings{.port = 0};
    TftpFaults faults;
    std::mutex mutex;
    std::vector<TftpTransfer> transfers;
    std::unique_ptr<TftpServer> server;
};

TEST_F(TftpServerTest, ServesEachTransferFromAPortOfItsOwn) {
    files.readable["file"] = "content";
    Start();
    RawClient first;
    RawClient second;
    first.Send(server->Port(), Request(TftpOpcode::kReadRequest));
    second.Send(server->Port(), Request(TftpOpcode::kReadRequest));
    EXPECT_EQ(first.Receive(), DataPacket(1, "content"));
    EXPECT_EQ(second.Receive(), DataPacket(1, "content"));
    EXPECT_NE(first.From(), server->Port());
    EXPECT_NE(first.From(), second.From());
}

TEST_F(TftpServerTest, DelaysWhatItSendsButTakesWhatComesMeanwhile) {
    constexpr milliseconds kLatency{100};
    settings.latency = kLatency;
    Start();
    RawClient client;
    const auto begin = std::chrono::steady_clock::now();
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(0));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, kLatency);
    client.Send(client.From(), DataPacket(1, std::string(512, 'a')));
    client.Send(client.From(), DataPacket(2, "end"));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(1));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(2));
    server->Stop();
    EXPECT_EQ(files.written["file"], std::string(512, 'a') + "end");
}

TEST_F(TftpServerTest, AnswersAStrangerWithUnknownTransferIdAndGoesOn) {
    Start();
    RawClient client;
    RawClient stranger;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    const std::uint16_t port = client.From();
    stranger.Send(port, DataPacket(1, "forged"));
    const auto answer = stranger.Receive();
    ASSERT_TRUE(TftpPacket::Parse(answer));
    EXPECT_EQ(TftpPacket::Parse(answer)->error.code, TftpErrorCode::kUnknownTransferId);
    stranger.Send(port, TftpPacket::Error({TftpErrorCode::kNotDefined, "forged"}));
    EXPECT_THAT(stranger.Receive(milliseconds(50)), IsEmpty());
    client.Send(port, DataPacket(1, "end"));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(1));
    server->Stop();
    EXPECT_EQ(files.written["file"], "end");
}

TEST_F(TftpServerTest, TakesARepeatedRequestForTheSameTransfer) {
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    const std::uint16_t port = client.From();
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    EXPECT_EQ(client.From(), port);
}

TEST_F(TftpServerTest, TakesANewRequestFromThePortOfAFinishedTransfer) {
    Start();
    RawClient client;
    EXPECT_TRUE(WriteShortFile(client));
    EXPECT_TRUE(WriteShortFile(client));
    server->Stop();
    EXPECT_EQ(files.finished, 2U);
}

TEST_F(TftpServerTest, LetsAClientBeginAnewFromTheSamePort) {
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest, {{"blksize", "100"}}));
    EXPECT_EQ(client.Receive(), TftpPacket::OptionAck({{"blksize", "100"}}));
    ASSERT_TRUE(WaitUntil([this] { return Transfers().size() == 1; }));
    EXPECT_EQ(Transfers()[0].failure, "the client started again");
}

TEST_F(TftpServerTest, RefusesOtherModesThanOctet) {
    Start();
    RawClient client;
    for (const char* mode : {"netascii", "mail", ""}) {
        client.Send(server->Port(), Request(TftpOpcode::kWriteRequest, {}, mode));
        EXPECT_EQ(client.Receive(), Bytes("\0\x05\0\0Only octet (binary) mode is supported\0"sv));
    }
}

TEST_F(TftpServerTest, RefusesMalformedRequestsAndIgnoresWhatIsNone) {
    Start();
    RawClient client;
    client.Send(server->Port(), Bytes("\0\x02"sv));
    EXPECT_EQ(client.Receive(), Bytes("\0\x05\0\x04Malformed request\0"sv));
    client.Send(server->Port(), TftpPacket::Ack(0));
    client.Send(server->Port(), Bytes(""sv));
    client.Send(server->Port(), TftpPacket::Error({TftpErrorCode::kNotDefined, "?"}));
    EXPECT_THAT(client.Receive(milliseconds(100)), IsEmpty());
    EXPECT_TRUE(WriteShortFile(client));
}

TEST_F(TftpServerTest, GivesUpASilentClientInBoundedTime) {
    settings.initialTimeout = milliseconds(10);
    settings.maxTimeout = milliseconds(20);
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_TRUE(WaitUntil([this] { return Transfers().size() == 1; }));
    EXPECT_EQ(Transfers()[0].failure, "Timed out");
    server->Stop();
    EXPECT_EQ(files.dropped, 1U);
}

TEST_F(TftpServerTest, ServesOthersBesideManySilentClients) {
    Start();
    std::vector<std::unique_ptr<RawClient>> silent;
    for (int client = 0; client < 15; ++client) {
        silent.push_back(std::make_unique<RawClient>());
        silent.back()->Send(server->Port(), Request(TftpOpcode::kWriteRequest));
        ASSERT_EQ(silent.back()->Receive(), TftpPacket::Ack(0));
    }
    RawClient client;
    for (int file = 0; file < 40; ++file) {
        ASSERT_TRUE(WriteShortFile(client));
    }
}

TEST_F(TftpServerTest, IsMuteAsAFault) {
    faults.mute = true;
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    EXPECT_THAT(client.Receive(milliseconds(200)), IsEmpty());
}

TEST_F(TftpServerTest, ForgesPacketsFromAnotherPortAsAFault) {
    faults.foreignPort = true;
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    const std::uint16_t port = client.From();
    client.Send(port, DataPacket(1, std::string(512, 'x')));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(2));
    EXPECT_NE(client.From(), port);
    client.Send(client.From(),
                TftpPacket::Error({TftpErrorCode::kUnknownTransferId, "Unknown transfer ID"}));
    EXPECT_EQ(client.Receive(), TftpPacket::Ack(1));
    EXPECT_EQ(client.From(), port);
    client.Send(port, DataPacket(2, "end"));
    ASSERT_TRUE(WaitUntil([this] { return Transfers().size() == 1; }));
    EXPECT_TRUE(Transfers()[0].complete);
    EXPECT_EQ(Transfers()[0].rejectedForgeries, 1U);
}

TEST_F(TftpServerTest, AccountsForATransfer) {
    Start();
    RawClient client;
    ASSERT_TRUE(WriteShortFile(client));
    ASSERT_TRUE(WaitUntil([this] { return Transfers().size() == 1; }));
    const TftpTransfer transfer = Transfers()[0];
    EXPECT_TRUE(transfer.write);
    EXPECT_EQ(transfer.file, "file");
    EXPECT_THAT(transfer.peer, testing::StartsWith("127.0.0.1:"));
    EXPECT_EQ(transfer.bytes, 3U);
    EXPECT_EQ(transfer.blockSize, 512U);
    EXPECT_TRUE(transfer.complete);
    EXPECT_EQ(transfer.failure, "");
}

TEST_F(TftpServerTest, StopsInTheMiddleOfATransferAndStartsAgain) {
    Start();
    RawClient client;
    client.Send(server->Port(), Request(TftpOpcode::kWriteRequest));
    ASSERT_EQ(client.Receive(), TftpPacket::Ack(0));
    server->Stop();
    EXPECT_EQ(files.dropped, 1U);
    EXPECT_EQ(Transfers().at(0).failure, "the device was switched off");
    std::string why;
    ASSERT_TRUE(server->Start("127.0.0.1", "lo", why)) << why;
    EXPECT_TRUE(WriteShortFile(client));
}

TEST_F(TftpServerTest, SaysWhatToDoWhenThePortIsTaken) {
    Start();
    settings.port = server->Port();
    TftpServer second(files, settings, {}, {});
    std::string why;
    EXPECT_FALSE(second.Start("127.0.0.1", "lo", why));
    EXPECT_THAT(why,
                AllOf(HasSubstr("cannot serve TFTP: cannot bind 127.0.0.1:" +
                                std::to_string(settings.port) + " on lo: Address already in use"),
                      HasSubstr("--tftp-port"), HasSubstr("--no-tftp")));
}

TEST_F(TftpServerTest, SaysWhichAddressOrInterfaceItCannotServe) {
    TftpServer unusable(files, settings, {}, {});
    std::string why;
    EXPECT_FALSE(unusable.Start("camera.local", "lo", why));
    EXPECT_EQ(why, "\"camera.local\" is not an IPv4 address");
    EXPECT_FALSE(unusable.Start("127.0.0.1", "nosuch0", why));
    EXPECT_THAT(why, HasSubstr(" on nosuch0: No such device"));
}

}  // namespace
}  // namespace simulator
