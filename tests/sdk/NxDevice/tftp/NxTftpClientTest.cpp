#include <NxDevice/NxTftpClient.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDfwPayload.h>

#include "Process.h"
#include "TemporaryFolder.h"
#include "UdpTftpServer.h"

namespace {

using namespace std::chrono_literals;
using Options = FakeTftpServer::Behaviour::Options;

const char* const kConnectionId = "127.0.0.1%lo";

NxResult Send(NxTftpClient& client, const std::string& content) {
    NxResult result = client.Init(kConnectionId, "RemoteUpdateDfw");
    return result.IsOK() ? client.SendData(reinterpret_cast<const unsigned char*>(content.data()),
                                           static_cast<unsigned int>(content.size()))
                         : result;
}

// Calls `meanwhile` once the first bytes are acknowledged.
NxResult SendFile(const std::string& file, const std::function<void()>& meanwhile) {
    NxTftpClient client;
    NxResult result = client.Init(kConnectionId, "RemoteUpdateDfw");
    if (!result.IsOK()) {
        return result;
    }
    std::future<NxResult> sent =
        std::async(std::launch::async, [&] { return client.SendFile(file); });
    long done = 0;
    long total = 0;
    EXPECT_TRUE(WaitUntil([&] { return client.GetProgress(done, total).IsOK() && done > 0; }));
    meanwhile();
    return sent.get();
}

TEST(NxTftpClientTest, InitTakesNetworkDevicesOnly) {
    NxTftpClient client;
    EXPECT_TRUE(client.Init("192.168.1.20%eth1", "status").IsOK());
    EXPECT_TRUE(client.Init("192.168.1.20", "status").IsOK());
    const NxResult result = client.Init("u3v:012345678abc", "status");
    EXPECT_EQ(result.GetCode(), kNxNotSupported);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "TFTP needs a network device; u3v:012345678abc is not one");
    EXPECT_EQ(client.Init("no device", "status").GetCode(), kNxInvalidArgument);
    EXPECT_EQ(client.Init("192.168.1.20", "").GetCode(), kNxInvalidArgument);
    EXPECT_EQ(client.Init("192.168.1.20", std::string(256, 'n')).GetCode(), kNxInvalidArgument);
}

TEST(NxTftpClientTest, RefusesToWorkWithoutAServerAndWithoutData) {
    NxTftpClient client;
    unsigned char byte = 0;
    EXPECT_EQ(client.SendData(&byte, 1).GetCode(), kNxInvalidArgument);
    EXPECT_EQ(client.GetData(&byte, 1, nullptr).GetCode(), kNxInvalidArgument);
    ASSERT_TRUE(client.Init(kConnectionId, "status").IsOK());
    EXPECT_EQ(client.SendData(nullptr, 1).GetCode(), kNxInvalidArgument);
    EXPECT_EQ(client.GetData(nullptr, 1, nullptr).GetCode(), kNxInvalidArgument);
    EXPECT_EQ(client.SendFile("/absent/firmware.dfw").GetCode(), kNxLocalFile);
}

TEST(NxTftpClientTest, NamesAnInterfaceThatIsNotThere) {
    NxTftpClient client;
    unsigned char byte = 0;
    ASSERT_TRUE(client.Init("127.0.0.1%nowhere0", "status").IsOK());
    const NxResult result = client.SendData(&byte, 1);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_NE(std::string(result.GetDescription().GetAscii()).find("nowhere0"), std::string::npos);
}

TEST(NxTftpClientTest, SendsAFileThroughAFaultyNetwork) {
    const TemporaryFolder folder;
    const std::string content = RandomBytes(2'000'000, 1);
    const std::string file = folder.Write("firmware.dfw", content);
    UdpTftpServer server({}, {.loss = 0.1, .duplication = 0.1, .reordering = 0.1}, 1);
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "RemoteUpdateDfw").IsOK());
    const NxResult result = client.SendFile(file);
    ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    ASSERT_FALSE(server.Files().empty());
    EXPECT_TRUE(server.Files().front() == content);
    long done = 0;
    long total = 0;
    ASSERT_TRUE(client.GetProgress(done, total).IsOK());
    EXPECT_EQ(total, 2'000'000);
}

TEST(NxTftpClientTest, SendsPlainBlocksThroughAFaultyNetwork) {
    for (const Options options : {Options::kIgnored, Options::kRefused}) {
        const std::string content = RandomBytes(40'000, 2);
        UdpTftpServer server({.options = options},
                             {.loss = 0.05, .duplication = 0.2, .reordering = 0.1}, 2);
        NxTftpClient client;
        const NxResult result = Send(client, content);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        ASSERT_FALSE(server.Files().empty());
        EXPECT_TRUE(server.Files().front() == content);
    }
}

TEST(NxTftpClientTest, OnlyAResetRecordNeedsNoAcknowledgement) {
    const TemporaryFolder folder;
    const std::string body = folder.Write("body.bin", "firmware");
    const std::string payload = (folder.Path() / "camera.dfw").string();
    ASSERT_TRUE(NxDfwPayload::Create(body, "MirskoCam", 2, 1, payload).IsOK());
    const auto record = [&payload](const auto& build) {
        std::vector<unsigned char> bytes(4096);
        unsigned int length = 0;
        EXPECT_TRUE(build(payload, bytes.data(), 4096U, length).IsOK());
        return std::string(bytes.begin(), bytes.begin() + length);
    };
    const std::string reset = record(NxDfwPayload::GetResetRecord);
    const std::string newId = record([](const auto& file, auto... buffer) {
        return NxDfwPayload::GetDeviceIdRecord(file, "left", buffer...);
    });
    std::string damaged = reset;
    damaged.back() = static_cast<char>(damaged.back() ^ 1);

    UdpTftpServer server({.mutesLastAck = true}, {}, 5);
    // All at once: each of them waits until the silence has lasted ten seconds.
    const auto sent = [](const std::string& content) {
        return std::async(std::launch::async, [content] {
            NxTftpClient client;
            return Send(client, content).GetCode();
        });
    };
    std::vector<std::future<unsigned int>> outcomes;
    for (const std::string& content : {reset, damaged, newId, reset + "x"}) {
        outcomes.push_back(sent(content));
    }
    outcomes.push_back(std::async(std::launch::async, [&payload] {
        NxTftpClient client;
        EXPECT_TRUE(client.Init(kConnectionId, "RemoteUpdateDfw").IsOK());
        return client.SendFile(payload).GetCode();
    }));
    EXPECT_EQ(outcomes[0].get(), kNxOk);
    for (std::size_t i = 1; i < outcomes.size(); ++i) {
        EXPECT_EQ(outcomes[i].get(), kNxTimeout) << i;
    }
    EXPECT_EQ(server.Files().size(), outcomes.size());
}

// What happens to the local file in the middle of its transfer.
TEST(NxTftpClientTest, FailsWhenTheLocalFileIsChangedOrReplacedMeanwhile) {
    const std::string content = RandomBytes(600'000, 6);
    const std::function<void(const std::string&)> changes[] = {
        [](const std::string& path) {
            std::fstream(path, std::ios::in | std::ios::out) << "other bytes";
        },
        [](const std::string& path) { std::ofstream(path, std::ios::app) << "more"; },
        [](const std::string& path) { std::filesystem::resize_file(path, 400'000); },
        [&content](const std::string& path) {
            std::ofstream(path + ".new") << content;
            std::filesystem::rename(path + ".new", path);
        },
        [](const std::string& path) { std::filesystem::remove(path); },
    };
    for (const auto& change : changes) {
        const TemporaryFolder folder;
        const std::string file = folder.Write("firmware.dfw", content);
        // Long enough ago for the change to have a time of its own.
        std::filesystem::last_write_time(
            file, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        UdpTftpServer server({.options = Options::kIgnored, .answerDelay = 1ms}, {}, 6);
        const NxResult result = SendFile(file, [&] { change(file); });
        EXPECT_EQ(result.GetCode(), kNxLocalFile);
        EXPECT_EQ(std::string(result.GetDescription().GetAscii()),
                  "Cannot send RemoteUpdateDfw to 127.0.0.1 on lo: Cannot send " + file +
                      ": it was changed or replaced while it was being sent");
        // The last block is held back, so that the device has no whole file of a mixture.
        EXPECT_TRUE(server.Files().empty());
    }
}

TEST(NxTftpClientTest, FailsWhenTheLocalFileIsReplacedAfterItsLastByteWasRead) {
    const TemporaryFolder folder;
    const std::string file = folder.Write("firmware.dfw", RandomBytes(60'000, 7));
    UdpTftpServer server({.options = Options::kIgnored, .answerDelay = 1ms}, {}, 7);
    EXPECT_EQ(SendFile(file, [&] { std::filesystem::remove(file); }).GetCode(), kNxLocalFile);
}

TEST(NxTftpClientTest, ReadsAFileThroughAFaultyNetwork) {
    const std::string content = RandomBytes(100'000, 3);
    UdpTftpServer server({}, {.loss = 0.1, .duplication = 0.1, .reordering = 0.1}, 3, content);
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "status").IsOK());
    std::vector<unsigned char> buffer(100'000);
    unsigned int received = 0;
    const NxResult result = client.GetData(buffer.data(), 100'000, &received);
    ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    EXPECT_EQ(received, 100'000U);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.end(), content.begin(),
                           [](auto a, char b) { return a == static_cast<unsigned char>(b); }));
}

TEST(NxTftpClientTest, ProgressAndWarningCanBeAskedForMeanwhile) {
    UdpTftpServer server({.muteAfterBlock = 1}, {}, 4);
    NxTftpClient client;
    std::atomic<bool> ended = false;
    NxResult result;
    std::thread transfer([&] {
        result = Send(client, RandomBytes(200'000, 4));
        ended = true;
    });
    NxString warning;
    EXPECT_TRUE(WaitUntil([&] {
        EXPECT_TRUE(client.GetWarning(warning).IsOK());
        return warning != "" || ended;
    }));
    long done = -1;
    long total = 0;
    EXPECT_TRUE(client.GetProgress(done, total).IsOK());
    transfer.join();
    EXPECT_NE(std::string(warning.GetAscii()).find("s for 127.0.0.1 on lo to acknowledge byte 0"),
              std::string::npos)
        << warning.GetAscii();
    EXPECT_EQ(done, 0);
    EXPECT_EQ(total, 200'000);
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    ASSERT_TRUE(client.GetWarning(warning).IsOK());
    EXPECT_STREQ(warning.GetAscii(), "");
}

}  // namespace
