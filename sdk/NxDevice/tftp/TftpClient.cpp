#include "TftpClient.h"

#include <algorithm>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>
#include <internal/NxSystem/NetworkInterface.h>
#include <internal/NxSystem/UdpSocket.h>

#include "TftpReader.h"
#include "TftpSession.h"

#include "TftpFileSource.h"
#include "lock/DeviceLock.h"
#include "payload/DfwHeaderCodec.h"

namespace {

constexpr std::size_t kLongestFileName = 255;

// Headers of IPv4, UDP and TFTP.
constexpr unsigned int kOverhead = 20 + 8 + 4;
// Also where this computer's interface takes more: what every switch and device on the way takes.
constexpr unsigned int kEthernetMtu = 1500;

// Data on its way at once. Linux gives a receiver's socket 208 KiB by default and counts up to
// twice the data for each datagram, so this much fits in.
constexpr unsigned int kMostBytesInWindow = 96 * 1024;
constexpr unsigned int kMostBlocksInWindow = 64;
// Blocks that take more than a page of memory are counted at up to twice their size.
constexpr unsigned int kMostBytesInWindowOfLargeBlocks = 64 * 1024;
constexpr unsigned int kLargeBlock = 2048;

constexpr unsigned int kServerTimeoutSeconds = 1;

bool IsLoopback(std::uint32_t address) {
    return address >> 24U == 127;
}

unsigned int PathMtu(const ConnectionId& server) {
    for (const NetworkInterface& interface : ListNetworkInterfaces()) {
        const bool onPath =
            server.interfaceName.empty()
                ? (server.address & interface.netmask) == (interface.address & interface.netmask)
                : interface.name == server.interfaceName;
        if (onPath) {
            return IsLoopback(interface.address) ? interface.mtu
                                                 : std::min(interface.mtu, kEthernetMtu);
        }
    }
    return kEthernetMtu;
}

unsigned int BlockSizeFor(unsigned int mtu) {
    return std::clamp(mtu > kOverhead ? mtu - kOverhead : 0, TftpOptions::kSmallestBlockSize,
                      TftpOptions::kLargestBlockSize);
}

unsigned int WindowSizeFor(unsigned int blockSize) {
    const unsigned int bytes =
        blockSize > kLargeBlock ? kMostBytesInWindowOfLargeBlocks : kMostBytesInWindow;
    return std::clamp(bytes / blockSize, 1U, kMostBlocksInWindow);
}

class MemorySource : public TftpSource {
  public:
    explicit MemorySource(std::span<const std::byte> data) : mData(data) {}

    [[nodiscard]] std::uint64_t Size() const override { return mData.size(); }
    NxResult Read(std::uint64_t offset, std::span<std::byte> buffer) override {
        const auto part = mData.subspan(offset, buffer.size());
        std::copy(part.begin(), part.end(), buffer.begin());
        return NxResult();
    }

  private:
    std::span<const std::byte> mData;
};

}  // namespace

TftpClient::TftpClient(const TftpClientSettings& settings) : mSettings(settings) {}

NxResult TftpClient::Init(const NxString& connectionID, const NxString& remoteFileName) {
    ConnectionId server;
    NX_RETURN_IF_FAILED(ConnectionId::Parse(connectionID, server));
    if (server.kind != ConnectionId::Kind::kNetwork) {
        return NxResult(kNxNotSupported, std::string("TFTP needs a network device; ") +
                                             connectionID.GetAscii() + " is not one");
    }
    const std::string name = remoteFileName.GetAscii();
    if (name.empty() || name.size() > kLongestFileName) {
        return NxResult(kNxInvalidArgument, "The remote file name must have 1 to 255 bytes, not " +
                                                std::to_string(name.size()));
    }
    NX_RETURN_IF_FAILED(DeviceLock::Acquire(server, mLock));
    mServerIsSilent = mServerIsSilent && server.address == mServer.address;
    mServer = server;
    mRemoteFileName = name;
    return NxResult();
}

NxResult TftpClient::SendFile(const NxString& localPath) {
    TftpFileSource source;
    NX_RETURN_IF_FAILED(source.Open(localPath));
    NX_RETURN_IF_FAILED(Send(source, LastSilence::kIsFailure));
    return source.CheckUnchanged();
}

NxResult TftpClient::SendData(std::span<const std::byte> data) {
    MemorySource source(data);
    return Send(source, DfwHeaderCodec::IsResetRecord(data) ? LastSilence::kIsArrival
                                                            : LastSilence::kIsFailure);
}

NxResult TftpClient::Send(TftpSource& source, LastSilence lastSilence) {
    return Run(source.Size(), [&](TftpSession& session) {
        return TftpWriter(session, source, lastSilence).Run(mRemoteFileName, WantedOptions());
    });
}

NxResult TftpClient::GetData(std::span<std::byte> buffer, std::size_t& received) {
    received = 0;
    return Run(0, [&](TftpSession& session) {
        TftpReader reader(session, buffer);
        NxResult result = reader.Run(mRemoteFileName, WantedOptions());
        received = reader.Received();
        return result;
    });
}

template <typename Transfer>
NxResult TftpClient::Run(std::uint64_t size, const Transfer& transfer) {
    if (mRemoteFileName.empty()) {
        return NxResult(kNxInvalidArgument, "No TFTP server given");
    }
    UdpSocket socket;
    NX_RETURN_IF_FAILED(socket.Open(mServer.interfaceName, 0));
    mMonitor.Start(size);
    TftpSession session(socket, {mServer.address, mSettings.port}, ServerName(), mMonitor);
    if (mServerIsSilent) {
        session.SetAnswerLimit(TftpTimer::kAnswerLimitOfSilentServer);
    }
    NxResult result = transfer(session);
    mServerIsSilent = session.EndedInSilence();
    mMonitor.End();
    return result;
}

TftpOptions TftpClient::WantedOptions() const {
    TftpOptions wanted;
    wanted.blockSize =
        mSettings.blockSize != 0 ? mSettings.blockSize : BlockSizeFor(PathMtu(mServer));
    wanted.windowSize =
        mSettings.windowSize != 0 ? mSettings.windowSize : WindowSizeFor(wanted.blockSize);
    wanted.timeout = kServerTimeoutSeconds;
    return wanted;
}

std::string TftpClient::ServerName() const {
    // Warnings are printed as they are.
    return FormatAddress(mServer.address) +
           (mServer.interfaceName.empty() ? "" : " on " + PrintableText(mServer.interfaceName));
}
