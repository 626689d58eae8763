#include "TftpServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "simulator/tftp/session/TftpDispatch.h"

namespace simulator {

namespace {

constexpr std::size_t kMaxConnections = 16;
constexpr int kMaxRequestsAtOnce = 16;
// RFC 2347 bounds a request to 512 bytes; longer ones are still read whole to be refused.
constexpr std::size_t kMaxRequest = 2048;
constexpr std::chrono::hours kMaxTransfer{2};

std::string BindFailure(const TftpEndpoint& endpoint, const std::string& interfaceName, int error) {
    std::string why = "cannot serve TFTP on UDP port " + std::to_string(endpoint.port) + " of " +
                      endpoint.Text().substr(0, endpoint.Text().find(':')) + " (" + interfaceName +
                      "): " + std::strerror(error);
    if (error == EACCES || error == EPERM) {
        why +=
            "; run it in a network namespace of its own (unshare --map-root-user --net), give "
            "the program CAP_NET_BIND_SERVICE, choose another port with --tftp-port, or leave "
            "TFTP out with --no-tftp";
    } else if (error == EADDRINUSE) {
        why +=
            "; stop the other TFTP server, choose another port with --tftp-port, or leave TFTP "
            "out with --no-tftp";
    }
    return why;
}

}  // namespace

TftpServer::TftpServer(TftpFiles& files, const TftpSettings& settings, const TftpFaults& faults,
                       TftpObserver observer, const std::atomic<bool>* muted)
    : mFiles(files),
      mSettings(settings),
      mFaults(faults),
      mObserver(std::move(observer)),
      mMuted(muted) {}

TftpServer::~TftpServer() {
    Stop();
}

bool TftpServer::Start(const std::string& address, const std::string& interfaceName,
                       std::string& why) {
    Stop();
    const std::optional<TftpEndpoint> endpoint = TftpEndpoint::Parse(address, mSettings.port);
    if (!endpoint) {
        why = "\"" + address + "\" is no IPv4 address";
        return false;
    }
    int error = 0;
    mSocket = TftpSocket::Open(*endpoint, interfaceName, error);
    if (!mSocket) {
        why = BindFailure(*endpoint, interfaceName, error);
        return false;
    }
    mWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (mWake < 0) {
        why = std::string("cannot serve TFTP: ") + std::strerror(errno);
        mSocket.reset();
        return false;
    }
    mInterfaceName = interfaceName;
    mEndpoint = *endpoint;
    mPort = mSocket->Port();
    mStopping = false;
    mThread = std::thread(&TftpServer::Run, this);
    return true;
}

void TftpServer::Stop() {
    if (!mThread.joinable()) {
        return;
    }
    mStopping = true;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(mWake, &one, sizeof one);
    mThread.join();
    close(mWake);
    mWake = -1;
    mSocket.reset();
}

void TftpServer::Run() {
    while (!mStopping) {
        Wait();
        const Time now = TftpRetryTimer::Clock::now();
        TakeRequests(now);
        Advance(now);
    }
    for (TftpConnection& connection : mConnections) {
        connection.Abandon("the device went away");
        Report(connection);
    }
    mConnections.clear();
}

void TftpServer::Wait() {
    std::vector<pollfd> waiting{{mWake, POLLIN, 0}, {mSocket->Descriptor(), POLLIN, 0}};
    Time next = Time::max();
    for (const TftpConnection& connection : mConnections) {
        waiting.push_back({connection.Descriptor(), POLLIN, 0});
        next = std::min(next, connection.Deadline());
    }
    timespec limit{};
    if (next != Time::max()) {
        const auto left = std::max<std::chrono::nanoseconds>(next - TftpRetryTimer::Clock::now(),
                                                             std::chrono::nanoseconds(0));
        limit.tv_sec = left.count() / 1000000000;
        limit.tv_nsec = left.count() % 1000000000;
    }
    (void)ppoll(waiting.data(), waiting.size(), next == Time::max() ? nullptr : &limit, nullptr);
}

void TftpServer::TakeRequests(Time now) {
    std::array<std::uint8_t, kMaxRequest> buffer{};
    TftpEndpoint from;
    for (int taken = 0; taken < kMaxRequestsAtOnce; ++taken) {
        const std::optional<std::size_t> size = mSocket->Receive(buffer, from);
        if (!size) {
            return;
        }
        if (!mFaults.mute) {
            Answer(std::span(buffer).subspan(0, *size), from, now);
        }
    }
}

void TftpServer::Answer(std::span<const std::uint8_t> request, const TftpEndpoint& from, Time now) {
    const auto known =
        std::find_if(mConnections.begin(), mConnections.end(),
                     [&](const TftpConnection& connection) { return connection.Peer() == from; });
    if (known != mConnections.end()) {
        if (known->Absorb(request, now)) {
            return;
        }
        known->Abandon("the client began anew");
        Report(*known);
        mConnections.erase(known);
    }
    int error = 0;
    std::optional<TftpSocket> socket =
        TftpSocket::Open({mEndpoint.address, 0}, mInterfaceName, error);
    if (!socket || !MakeRoom()) {
        return;
    }
    // Half of the buffer: what waits in it is charged more than its own bytes.
    const TftpSession::Context context{mFiles, mSettings, mFaults, socket->ReceiveBuffer() / 2,
                                       mMuted};
    std::unique_ptr<TftpSession> session = DispatchTftpRequest(context, request);
    if (session == nullptr) {
        return;
    }
    std::optional<TftpSocket> stranger;
    if (mFaults.foreignPort) {
        stranger = TftpSocket::Open({mEndpoint.address, 0}, mInterfaceName, error);
    }
    mConnections.emplace_back(std::move(*socket), std::move(stranger), from,
                              TftpSession::Bytes(request.begin(), request.end()),
                              std::move(session), mFaults, ++mLines, now);
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
