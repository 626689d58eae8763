#include "GvcpDiscovery.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>
#include <string>
#include <utility>

#include <poll.h>

#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxDeviceInfoMirskoProtocol.h>

#include <NxSystem/ConnectionId.h>
#include <NxSystem/GvcpDiscoveryAck.h>
#include <NxSystem/UdpSocket.h>

#include "NxDeviceInfoImpl.h"

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

std::unique_ptr<NxDeviceInfo> MakeRecord(const GvcpDiscoveryAck& ack, std::uint32_t sender,
                                         const std::string& interfaceName) {
    const std::uint32_t address = ack.address != 0 ? ack.address : sender;
    auto record = std::make_unique<NxDeviceInfo::Impl>();
    ConnectionId id;
    id.address = address;
    id.interfaceName = interfaceName;
    record->type = ack.IsLoader() ? 1 : 0;
    record->connectionId = id.Format();
    record->vendor = ack.manufacturer;
    record->model = ack.model;
    record->version = ack.version;
    record->serial = ack.serial;
    record->userName = ack.userName;
    record->address = FormatAddress(address);
    record->mac = FormatMac(ack.mac);
    if (ack.IsLoader()) {
        return std::make_unique<NxDeviceInfoMirskoProtocol>(std::move(record));
    }
    return std::make_unique<NxDeviceInfoGEV>(std::move(record));
}

// The discovery of one interface.
class Search {
  public:
    explicit Search(NetworkInterface interface) {
        mFound.interface = std::move(interface);
        mIsOpen = mSocket.Open(mFound.interface.name, mFound.interface.address).IsOK();
    }

    [[nodiscard]] int Descriptor() const { return mIsOpen ? mSocket.Descriptor() : -1; }

    void Ask(std::uint16_t requestId) {
        if (!mIsOpen) {
            return;
        }
        mLastRequestId = requestId;
        mFound.asked |= mSocket.Send(kEverybody, MakeDiscoveryCommand(requestId)).IsOK();
    }

    // Takes every answer that has arrived.
    void Collect() {
        std::array<std::byte, 1500> datagram{};
        for (;;) {
            std::size_t length = 0;
            Endpoint sender;
            bool timedOut = false;
            if (!mSocket.Receive(datagram, Clock::time_point(), length, sender, timedOut).IsOK() ||
                timedOut) {
                return;
            }
            Keep(std::span(datagram).first(length), sender);
        }
    }

    DiscoveredInterface TakeFound() { return std::move(mFound); }

  private:
    void Keep(std::span<const std::byte> datagram, const Endpoint& sender) {
        const auto ack = GvcpDiscoveryAck::Parse(datagram);
        const bool isOurs = ack && ack->requestId >= 1 && ack->requestId <= mLastRequestId;
        if (!isOurs || mFound.devices.size() >= kMostDevices) {
            return;
        }
        // Each device answers each command; its address and MAC tell it from its neighbours.
        if (mSeen.emplace(sender.address, ack->address, ack->mac).second) {
            mFound.devices.push_back(MakeRecord(*ack, sender.address, mFound.interface.name));
        }
    }

    DiscoveredInterface mFound;
    UdpSocket mSocket;
    bool mIsOpen = false;
    std::uint16_t mLastRequestId = 0;
    std::set<std::tuple<std::uint32_t, std::uint32_t, std::array<std::uint8_t, 6>>> mSeen;
};

void Listen(std::vector<std::unique_ptr<Search>>& searches, Clock::time_point until) {
    std::vector<pollfd> entries;
    for (const auto& search : searches) {
        entries.push_back({search->Descriptor(), POLLIN, 0});
    }
    for (;;) {
        const auto remaining = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
        if (remaining <= 0) {
            return;
        }
        if (poll(entries.data(), entries.size(), static_cast<int>(remaining)) <= 0) {
            continue;
        }
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].revents != 0) {
                searches[i]->Collect();
            }
        }
    }
}

}  // namespace

std::vector<DiscoveredInterface> DiscoverGvcpDevices() {
    std::vector<std::unique_ptr<Search>> searches;
    for (NetworkInterface& interface : ListNetworkInterfaces()) {
        searches.push_back(std::make_unique<Search>(std::move(interface)));
    }
    const auto start = Clock::now();
    std::uint16_t requestId = 0;
    for (const milliseconds sendTime : kSendTimes) {
        Listen(searches, start + sendTime);
        ++requestId;
        for (const auto& search : searches) {
            search->Ask(requestId);
        }
    }
    Listen(searches, start + kWindow);

    std::vector<DiscoveredInterface> found;
    for (const auto& search : searches) {
        found.push_back(search->TakeFound());
    }
    return found;
}
