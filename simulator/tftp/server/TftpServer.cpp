#include "TftpServer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "simulator/tftp/session/TftpDispatch.h"

namespace simulator {

namespace {

constexpr std::size_t kMaxConnections = 16;
constexpr int kMaxRequestsAtOnce = 16;
constexpr std::chrono::hours kMaxTransfer{2};

// What a user can do about a port that cannot be had.
std::string Advice(int error) {
    if (error == EACCES || error == EPERM) {
        return "; run it in its own network namespace (unshare --map-root-user --net), give "
               "the program CAP_NET_BIND_SERVICE, choose another port with --tftp-port, or disable "
               "TFTP with --no-tftp";
    }
    if (error == EADDRINUSE) {
        return "; stop the other TFTP server, choose another port with --tftp-port, or disable "
               "TFTP with --no-tftp";
    }
    return "";
}

}  // namespace

TftpServer::TftpServer(TftpFiles& files, const TftpSettings& settings, const TftpFaults& faults,
                       TftpObserver observer, const std::atomic<bool>* muted, std::uint32_t seed,
                       std::function<void()> packetAnswered)
    : mFiles(files),
      mSettings(settings),
      mFaults(faults),
      mObserver(std::move(observer)),
      mMuted(muted),
      mSeed(seed),
      mPacketAnswered(std::move(packetAnswered)) {}

TftpServer::~TftpServer() {
    Stop();
}

bool TftpServer::Start(const std::string& address, const std::string& interfaceName,
                       std::string& why) {
    Stop();
    const std::optional<std::uint32_t> parsed = ParseAddress(address);
    if (!parsed) {
        why = "\"" + address + "\" is not an IPv4 address";
        return false;
    }
    if (!mSocket.emplace().Open(interfaceName, *parsed, mSettings.port, false, why)) {
        why = "cannot serve TFTP: " + why + Advice(errno);
        mSocket.reset();
        return false;
    }
    if (!mWake.emplace().IsUsable()) {
        why = std::string("cannot serve TFTP: ") + std::strerror(errno);
        mSocket.reset();
        return false;
    }
    mInterfaceName = interfaceName;
    mAddress = *parsed;
    mPort = mSocket->Port();
    mThread = std::thread(&TftpServer::Run, this);
    return true;
}

void TftpServer::Stop() {
    if (!mThread.joinable()) {
        return;
    }
    mWake->Signal();
    mThread.join();
    mSocket.reset();
}

void TftpServer::Run() {
    while (Wait()) {
        const Time now = TftpRetryTimer::Clock::now();
        TakeRequests(now);
        Advance(now);
    }
    for (TftpConnection& connection : mConnections) {
        connection.Abandon("the device was switched off");
        Report(connection);
    }
    mConnections.clear();
}

bool TftpServer::Wait() const {
    std::vector<int> sockets{mSocket->Descriptor()};
    Time next = Time::max();
    for (const TftpConnection& connection : mConnections) {
        sockets.push_back(connection.Descriptor());
        next = std::min(next, connection.Deadline());
    }
    return mWake->Wait(sockets, next);
}

void TftpServer::TakeRequests(Time now) {
    for (int taken = 0; taken < kMaxRequestsAtOnce; ++taken) {
        std::optional<Datagram> request = mSocket->Receive();
        if (!request) {
            return;
        }
        if (!mFaults.mute) {
            Answer(std::move(*request), now);
        }
    }
}

void TftpServer::Answer(Datagram request, Time now) {
    const auto known = std::find_if(
        mConnections.begin(), mConnections.end(),
        [&](const TftpConnection& connection) { return connection.Client() == request.peer; });
    if (known != mConnections.end()) {
        if (known->Absorb(request.bytes, now)) {
            return;
        }
        known->Abandon("the client started again");
        Report(*known);
        mConnections.erase(known);
    }
    BoundSocket socket;
    std::string why;
    if (!socket.Open(mInterfaceName, mAddress, 0, false, why) || !MakeRoom()) {
        return;
    }
    // Half of the buffer: what waits in it is charged more than its own bytes.
    const TftpSession::Context context{mFiles, mSettings,      mFaults, socket.ReceiveBuffer() / 2,
                                       mMuted, mPacketAnswered};
    std::unique_ptr<TftpSession> session = DispatchTftpRequest(context, request.bytes);
    if (session == nullptr) {
        return;
    }
    std::optional<BoundSocket> stranger;
    if (mFaults.foreignPort && !stranger.emplace().Open(mInterfaceName, mAddress, 0, false, why)) {
        stranger.reset();
    }
    // Else the second transfer with one seed would fare as the first with the next.
    constexpr std::uint32_t kStep = 0x9e3779b9U;
    mConnections.emplace_back(std::move(socket), std::move(stranger), request.peer,
                              std::move(request.bytes), std::move(session), mFaults.datagrams,
                              mSeed + kStep * ++mTransfers, mSettings.latency, now);
}

bool TftpServer::MakeRoom() {
    if (mConnections.size() < kMaxConnections) {
        return true;
    }
    const auto settled =
        std::find_if(mConnections.begin(), mConnections.end(),
                     [](const TftpConnection& connection) { return connection.IsSettled(); });
    if (settled == mConnections.end()) {
        return false;
    }
    Report(*settled);
    mConnections.erase(settled);
    return true;
}

void TftpServer::Advance(Time now) {
    for (auto connection = mConnections.begin(); connection != mConnections.end();) {
        connection->Advance(now);
        if (now - connection->Begun() > kMaxTransfer) {
            connection->Abandon("too slow");
        }
        Report(*connection);
        connection = connection->IsOver() ? mConnections.erase(connection) : std::next(connection);
    }
}

void TftpServer::Report(TftpConnection& connection) {
    const std::optional<TftpTransfer> transfer = connection.TakeAccount();
    if (transfer && mObserver) {
        mObserver(*transfer);
    }
}

}  // namespace simulator
