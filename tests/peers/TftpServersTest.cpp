#include <NxDevice/NxTftpClient.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDfwPayload.h>
#include "tftp/TftpClient.h"

#include "Process.h"
#include "TemporaryFolder.h"
#include "TftpServerProcess.h"

namespace {

using Kind = TftpServerProcess::Kind;

const char* const kConnectionId = "127.0.0.1%lo";

/// Records the first packets of the next transfer.
class FirstPackets {
  public:
    FirstPackets()
        : mFile(mFolder.Path() / "start.pcap"),
          mRecorder(
              {"dumpcap", "-q", "-P", "-i", "lo", "-f", "udp", "-c", "3", "-w", mFile.string()}) {
        // The file's header is written when the recording has begun.
        EXPECT_TRUE(WaitUntil([this] {
            std::error_code error;
            return std::filesystem::file_size(mFile, error) >= 24 && !error;
        }));
    }

    /// What the server's option acknowledgement grants.
    std::map<std::string, std::string> GrantedOptions() {
        EXPECT_EQ(mRecorder.Wait(std::chrono::seconds(10)).exitStatus, 0);
        std::istringstream names(Field("tftp.option.name"));
        std::istringstream values(Field("tftp.option.value"));
        std::map<std::string, std::string> granted;
        for (std::string name; std::getline(names, name, ',');) {
            std::getline(values, granted[name], ',');
        }
        return granted;
    }

  private:
    [[nodiscard]] std::string Field(const std::string& field) const {
        const ProcessResult result =
            Process::Run({"tshark", "-r", mFile.string(), "-Y", "tftp.opcode == 6", "-T", "fields",
                          "-e", field});
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        return result.out.substr(0, result.out.find('\n'));
    }

    TemporaryFolder mFolder;
    std::filesystem::path mFile;
    Process mRecorder;
};

class TftpServersTest : public testing::TestWithParam<Kind> {
  protected:
    TftpServersTest() : mServer(GetParam(), "127.0.0.1", mRemote.Path().string()) {}

    // Sends bytes as a file; whether the server holds the very same afterwards.
    bool Upload(TftpClient& client, const std::string& content) {
        const std::string file = mLocal.Write("payload.dfw", content);
        EXPECT_TRUE(client.Init(kConnectionId, "RemoteUpdateDfw").IsOK());
        const NxResult result = client.SendFile(file);
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        EXPECT_EQ(client.Monitor().Done(), content.size());
        EXPECT_EQ(client.Monitor().Total(), content.size());
        // The server closes its file only after it has sent the last acknowledgement.
        return WaitUntil([&] { return RemoteIs(content); }, std::chrono::seconds(5));
    }
    [[nodiscard]] bool RemoteIs(const std::string& content) const {
        const auto path = mRemote.Path() / "RemoteUpdateDfw";
        std::error_code error;
        if (std::filesystem::file_size(path, error) != content.size() || error) {
            return false;
        }
        std::string found(content.size(), '\0');
        std::ifstream(path).read(found.data(), static_cast<std::streamsize>(found.size()));
        return found == content;
    }

    TemporaryFolder mLocal;
    TemporaryFolder mRemote;
    TftpServerProcess mServer;
};

INSTANTIATE_TEST_SUITE_P(Peers, TftpServersTest, testing::Values(Kind::kTftpdHpa, Kind::kAtftpd),
                         [](const auto& test) { return NameOf(test.param); });

TEST_P(TftpServersTest, TakesAFirmwareFile) {
    TftpClient client;
    const std::string content = RandomBytes(3'000'017, 1);
    EXPECT_TRUE(Upload(client, content));
}

TEST_P(TftpServersTest, GrantsTheOptionsThatItKnows) {
    TftpClient client({.blockSize = 1428, .windowSize = 16});
    FirstPackets packets;
    EXPECT_TRUE(Upload(client, RandomBytes(100'000, 2)));
    std::map<std::string, std::string> expected{
        {"tsize", "100000"}, {"blksize", "1428"}, {"timeout", "1"}};
    if (GetParam() == Kind::kAtftpd) {
        expected["windowsize"] = "16";
    }
    EXPECT_EQ(packets.GrantedOptions(), expected);
}

TEST_P(TftpServersTest, IsNotOverrunByWindowsThatItsReceiveBufferCannotHold) {
    for (const unsigned int windowSize : {16U, 64U}) {
        SCOPED_TRACE(windowSize);
        TftpClient client({.blockSize = 8192, .windowSize = windowSize});
        const std::string content = RandomBytes(16U << 20U, windowSize);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(Upload(client, content));
        // A client that sends whole windows at once takes minutes: each loses blocks again.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
}

TEST_P(TftpServersTest, TakesFilesOfAllSizesAroundABlock) {
    for (const unsigned int blockSize : {8U, 512U, 1428U}) {
        for (const unsigned int windowSize : {1U, 4U}) {
            TftpClient client({.blockSize = blockSize, .windowSize = windowSize});
            for (const std::size_t size :
                 {std::size_t{0}, std::size_t{1}, std::size_t{blockSize - 1},
                  std::size_t{blockSize}, std::size_t{blockSize + 1}, std::size_t{8 * blockSize},
                  std::size_t{16 * blockSize - 1}}) {
                const std::string content = RandomBytes(size, blockSize + windowSize);
                ASSERT_TRUE(Upload(client, content))
                    << size << " bytes in blocks of " << blockSize << ", window " << windowSize;
            }
        }
    }
}

TEST_P(TftpServersTest, TakesMoreThan65535BlocksOneByOneAndInWindows) {
    for (const unsigned int windowSize : {1U, 32U}) {
        TftpClient client({.blockSize = 64, .windowSize = windowSize});
        const std::string content = RandomBytes(64 * 65'700 + 5, windowSize);
        EXPECT_TRUE(Upload(client, content)) << "window " << windowSize;
    }
}

TEST_P(TftpServersTest, TakesMoreThan65535PlainBlocks) {
    TftpClient client({.blockSize = 512, .windowSize = 1});
    const std::string content = RandomBytes(512 * 65'537 + 1, 3);
    EXPECT_TRUE(Upload(client, content));
}

TEST_P(TftpServersTest, Takes256MiB) {
    TftpClient client;
    // Every MiB differs from the others, so that none can take another's place.
    constexpr std::size_t kMiB = 1024 * 1024;
    const std::string random = RandomBytes(kMiB + 256, 4);
    std::string content;
    content.reserve(256 * kMiB);
    for (std::size_t i = 0; i < 256; ++i) {
        content.append(random, i, kMiB);
    }
    EXPECT_TRUE(Upload(client, content));
}

TEST_P(TftpServersTest, GivesItsStatusFile) {
    const std::string text = "Firmware applied: version 2.17";
    (void)mRemote.Write("status", text);
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "status").IsOK());
    unsigned char buffer[1024] = {};
    unsigned int received = 0;
    const NxResult result = client.GetData(buffer, sizeof buffer, &received);
    ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer), received), text);
}

TEST_P(TftpServersTest, GivesFilesOfAllSizesAroundABlock) {
    for (const unsigned int windowSize : {1U, 4U}) {
        for (const std::size_t size : {0U, 1U, 511U, 512U, 513U, 4096U, 100'000U}) {
            const std::string content = RandomBytes(size, static_cast<unsigned int>(size));
            (void)mRemote.Write("file", content);
            TftpClient client({.blockSize = 512, .windowSize = windowSize});
            ASSERT_TRUE(client.Init(kConnectionId, "file").IsOK());
            std::string buffer(100'000, '\0');
            std::size_t received = 0;
            const NxResult result =
                client.GetData(std::as_writable_bytes(std::span(buffer)), received);
            ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
            ASSERT_EQ(received, size);
            ASSERT_TRUE(buffer.substr(0, received) == content) << size << " bytes";
        }
    }
}

TEST_P(TftpServersTest, AnOversizedStatusFileIsCut) {
    const std::string text = RandomBytes(1025, 9);
    (void)mRemote.Write("status", text);
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "status").IsOK());
    unsigned char buffer[1024] = {};
    unsigned int received = 0;
    ASSERT_TRUE(client.GetData(buffer, sizeof buffer, &received).IsOK());
    EXPECT_EQ(std::string(buffer, buffer + received), text.substr(0, 1024));
}

TEST_P(TftpServersTest, TakesTheRecords) {
    const std::string body = mLocal.Write("body.bin", "firmware");
    const std::string payload = (mLocal.Path() / "firmware.dfw").string();
    ASSERT_TRUE(NxDfwPayload::Create(body, "MX-200", 2, 17, payload).IsOK());
    std::vector<unsigned char> record(4096);
    unsigned int length = 0;
    ASSERT_TRUE(NxDfwPayload::GetDeviceIdRecord(payload, "Line 3 left", record.data(), 4096, length)
                    .IsOK());
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "RemoteUpdateDfw").IsOK());
    ASSERT_TRUE(client.SendData(record.data(), length).IsOK());
    const std::string expected(record.begin(), record.begin() + length);
    EXPECT_TRUE(WaitUntil([&] { return RemoteIs(expected); }));
}

TEST_P(TftpServersTest, SaysThatAFileIsNotThere) {
    NxTftpClient client;
    ASSERT_TRUE(client.Init(kConnectionId, "absent").IsOK());
    unsigned char buffer[16] = {};
    const NxResult result = client.GetData(buffer, sizeof buffer, nullptr);
    EXPECT_EQ(result.GetCode(), kNxTftpError);
    EXPECT_NE(std::string(result.GetDescription().GetAscii()).find("ERROR 1 (file not found)"),
              std::string::npos)
        << result.GetDescription().GetAscii();
}

}  // namespace
