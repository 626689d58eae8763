#include "GvcpDiscovery.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <internal/NxSystem/UdpSocket.h>

#include "BroadcastAcks.h"

namespace {

using Clock = UdpSocket::Clock;
using std::chrono::milliseconds;

constexpr Endpoint kEverybody{0xffffffffU, 3956};

// So often that a fifth of all datagrams lost in each direction hides a device once in 3500
// searches.
constexpr std::array<milliseconds, 8> kSendTimes{
    milliseconds(0),   milliseconds(100), milliseconds(200), milliseconds(300),
    milliseconds(400), milliseconds(500), milliseconds(600), milliseconds(700)};
constexpr milliseconds kWindow(1000);

// More devices than any subnet of cameras holds; bounds what a flood of answers can make us keep.
constexpr std::size_t kMostDevices = 4096;

// What answered on one interface, however many addresses it has.
class Answers {
  public:
    explicit Answers(NetworkInterface interface) { mFound.interface = std::move(interface); }

    [[nodiscard]] const std::string& InterfaceName() const { return mFound.interface.name; }
    void NoteAsked() { mFound.asked = true; }
    void NoteMissesOtherSubnets() { mFound.missesOtherSubnets = true; }
    // A device answers each command, and each of the interface's addresses.
    void Keep(const GvcpDiscoveryAck& ack, std::uint32_t sender) {
        if (mFound.devices.size() < kMostDevices && mSeen.emplace(sender, ack.mac).second) {
            mFound.devices.push_back({sender, ack});
        }
    }
    DiscoveredInterface Take() { return std::move(mFound); }

  private:
    DiscoveredInterface mFound;
    std::set<std::pair<std::uint32_t, std::array<std::uint8_t, 6>>> mSeen;
};

// Asks from one address of an interface.
class Search {
  public:
    Search(Answers& answers, std::uint32_t localAddress, DiscoveryRange range) : mAnswers(answers) {
        mIsOpen = mSocket.Open(answers.InterfaceName(), localAddress).IsOK();
        if (mIsOpen && range == DiscoveryRange::kOtherSubnets) {
            mBroadcasts.emplace(answers.InterfaceName(), LocalPort(mSocket));
            if (mBroadcasts->MissesOtherSubnets()) {
                mAnswers.NoteMissesOtherSubnets();
            }
        }
    }

    [[nodiscard]] std::array<int, 3> Descriptors() const {
        return {mIsOpen ? mSocket.Descriptor() : -1,
                mBroadcasts ? mBroadcasts->Descriptors()[0] : -1,
                mBroadcasts ? mBroadcasts->Descriptors()[1] : -1};
    }

    void Ask(std::uint16_t requestId) {
        if (!mIsOpen) {
            return;
        }
        mFirstRequestId = mFirstRequestId == 0 ? requestId : mFirstRequestId;
        mLastRequestId = requestId;
        const auto command = MakeDiscoveryCommand(requestId, mBroadcasts.has_value());
        if (mSocket.Send(kEverybody, command).IsOK()) {
            mAnswers.NoteAsked();
        }
    }

    // Takes what has arrived, but leaves the other interfaces their turn.
    void Collect() {
        std::array<std::byte, 1500> datagram{};
        for (int i = 0; i < UdpSocket::kMostAtOnce; ++i) {
            std::size_t length = 0;
            Endpoint sender;
            bool timedOut = false;
            if (!mSocket.Receive(datagram, Clock::time_point(), length, sender, timedOut).IsOK() ||
                timedOut) {
                return;
            }
            Take(std::span(datagram).first(length), sender.address);
        }
    }

    // After all others' own acks: what can be reached comes first.
    void CollectBroadcasts() {
        if (mBroadcasts) {
            mBroadcasts->Collect([this](std::span<const std::byte> ack, std::uint32_t sender) {
                Take(ack, sender);
            });
        }
    }

  private:
    void Take(std::span<const std::byte> datagram, std::uint32_t sender) {
        const auto ack = GvcpDiscoveryAck::Parse(datagram);
        if (ack && mFirstRequestId != 0 && ack->requestId >= mFirstRequestId &&
            ack->requestId <= mLastRequestId) {
            mAnswers.Keep(*ack, sender);
        }
    }

    Answers& mAnswers;
    UdpSocket mSocket;
    std::optional<BroadcastAcks> mBroadcasts;
    bool mIsOpen = false;
    std::uint16_t mFirstRequestId = 0;  // 0: nothing was asked
    std::uint16_t mLastRequestId = 0;
};

void Listen(std::vector<std::unique_ptr<Search>>& searches, Clock::time_point until) {
    std::vector<pollfd> entries;
    for (const auto& search : searches) {
        for (const int descriptor : search->Descriptors()) {
            entries.push_back({descriptor, POLLIN, 0});
        }
    }
    for (;;) {
        const auto remaining =
            std::max(std::chrono::ceil<milliseconds>(until - Clock::now()), milliseconds(0));
        const int ready = poll(entries.data(), entries.size(), static_cast<int>(remaining.count()));
        constexpr std::size_t kEach = 3;
        for (std::size_t i = 0; ready > 0 && i < searches.size(); ++i) {
            if (entries[i * kEach].revents != 0) {
                searches[i]->Collect();
            }
            if (entries[i * kEach + 1].revents != 0 || entries[i * kEach + 2].revents != 0) {
                searches[i]->CollectBroadcasts();
            }
        }
        // Not before a last look: a computer that is busy elsewhere may come back too late.
        if (remaining.count() == 0) {
            return;
        }
    }
}

}  // namespace

std::uint16_t DrawGvcpRequestId() {
    std::uint16_t drawn = 0;
    if (getrandom(&drawn, sizeof drawn, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof drawn)) {
        drawn = static_cast<std::uint16_t>(Clock::now().time_since_epoch().count());
    }
    return static_cast<std::uint16_t>(1 + drawn % (0xFFFF - kSendTimes.size()));
}

std::uint16_t LocalPort(const UdpSocket& socket) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    (void)getsockname(socket.Descriptor(), reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin_port);
}

std::vector<DiscoveredInterface> DiscoverGvcpDevices(DiscoveryRange range) {
    std::vector<std::unique_ptr<Answers>> interfaces;
    std::vector<std::unique_ptr<Search>> searches;
    for (NetworkInterface& interface : ListNetworkInterfaces()) {
        const std::uint32_t address = interface.address;
        auto known = std::ranges::find(interfaces, interface.name, &Answers::InterfaceName);
        if (known == interfaces.end()) {
            interfaces.push_back(std::make_unique<Answers>(std::move(interface)));
            known = interfaces.end() - 1;
        }
        searches.push_back(std::make_unique<Search>(**known, address, range));
    }
    const auto start = Clock::now();
    std::uint16_t requestId = DrawGvcpRequestId();
    for (const milliseconds sendTime : kSendTimes) {
        Listen(searches, start + sendTime);
        for (const auto& search : searches) {
            search->Ask(requestId);
        }
        ++requestId;
    }
    Listen(searches, start + kWindow);

    std::vector<DiscoveredInterface> found;
    for (const auto& answers : interfaces) {
        found.push_back(answers->Take());
    }
    return found;
}
