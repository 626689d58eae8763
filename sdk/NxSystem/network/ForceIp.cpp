#include <NxSystem/NxForceIp.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <span>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <NxBase/Hexadecimal.h>
#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>
#include <internal/NxSystem/NetworkInterface.h>
#include <internal/NxSystem/UdpSocket.h>

#include "BroadcastAcks.h"
#include "GvcpDiscovery.h"

namespace {

using Clock = UdpSocket::Clock;
using std::chrono::milliseconds;

constexpr Endpoint kEverybody{0xffffffffU, 3956};
// A device may take a while to change its address.
constexpr std::array<milliseconds, 4> kSendTimes{milliseconds(0), milliseconds(500),
                                                 milliseconds(1000), milliseconds(1500)};
constexpr milliseconds kWindow(3000);
constexpr std::size_t kCommandSize = 64;
constexpr std::uint16_t kForceIpAck = 0x0005;

using Command = std::array<std::byte, kCommandSize>;

// GigE Vision 2.0, section 16.2; each address stands at the end of 16 bytes.
Command MakeCommand(std::uint16_t id, const std::array<std::uint8_t, 6>& mac, std::uint32_t address,
                    std::uint32_t mask, std::uint32_t gateway) {
    constexpr std::uint16_t kForceIp = 0x0004;
    constexpr std::byte kAckMayBeBroadcast{0x11};
    Command command{std::byte{0x42}, kAckMayBeBroadcast};
    ByteOrder::StoreBig16(command.data() + 2, kForceIp);
    ByteOrder::StoreBig16(command.data() + 4, kCommandSize - 8);
    ByteOrder::StoreBig16(command.data() + 6, id);
    std::transform(mac.begin(), mac.end(), command.begin() + 10,
                   [](std::uint8_t byte) { return std::byte{byte}; });
    ByteOrder::StoreBig32(command.data() + 28, address);
    ByteOrder::StoreBig32(command.data() + 44, mask);
    ByteOrder::StoreBig32(command.data() + 60, gateway);
    return command;
}

// The status of the ack of that command; nothing for any other datagram.
std::optional<std::uint16_t> StatusOf(std::span<const std::byte> ack, std::uint16_t id) {
    if (ack.size() < 8 || ByteOrder::LoadBig16(ack.data() + 2) != kForceIpAck ||
        ByteOrder::LoadBig16(ack.data() + 6) != id) {
        return std::nullopt;
    }
    return ByteOrder::LoadBig16(ack.data());
}

std::optional<std::uint16_t> Await(UdpSocket& socket, const BroadcastAcks& broadcasts,
                                   std::uint16_t id, Clock::time_point until) {
    std::array<pollfd, 3> entries{{{socket.Descriptor(), POLLIN, 0},
                                   {broadcasts.Descriptors()[0], POLLIN, 0},
                                   {broadcasts.Descriptors()[1], POLLIN, 0}}};
    std::optional<std::uint16_t> status;
    while (!status) {
        const auto remaining =
            std::max(std::chrono::ceil<milliseconds>(until - Clock::now()), milliseconds(0));
        (void)poll(entries.data(), entries.size(), static_cast<int>(remaining.count()));
        std::array<std::byte, 64> datagram{};
        std::size_t length = 0;
        Endpoint sender;
        bool timedOut = false;
        for (int i = 0;
             i < UdpSocket::kMostAtOnce && !status &&
             socket.Receive(datagram, Clock::time_point(), length, sender, timedOut).IsOK() &&
             !timedOut;
             ++i) {
            status = StatusOf(std::span(datagram).first(length), id);
        }
        broadcasts.Collect([&status, id](std::span<const std::byte> ack, std::uint32_t) {
            status = status ? status : StatusOf(ack, id);
        });
        if (remaining.count() == 0) {
            break;
        }
    }
    return status;
}

NxResult Invalid(const NxString& text, const char* what) {
    return NxResult(kNxInvalidArgument, "\"" + std::string(text.GetAscii()) + "\" is not " + what);
}

}  // namespace

NxResult NxForceIp::Send(const NxString& interfaceName, const NxString& mac,
                         const NxString& address, const NxString& mask, const NxString& gateway) {
    std::array<std::uint8_t, 6> device{};
    std::uint32_t wanted = 0;
    std::uint32_t wantedMask = 0;
    std::uint32_t wantedGateway = 0;
    if (!ParseMac(mac.GetAscii(), device)) {
        return Invalid(mac, "a MAC address such as 00:11:22:ab:cd:ef");
    }
    for (const auto& [text, value] :
         {std::pair{&address, &wanted}, {&mask, &wantedMask}, {&gateway, &wantedGateway}}) {
        if (!ParseAddress(text->GetAscii(), *value)) {
            return Invalid(*text, "an IPv4 address such as 192.168.1.20");
        }
    }
    const std::string name = interfaceName.GetAscii();
    const std::vector<NetworkInterface> interfaces = ListNetworkInterfaces();
    const auto interface = std::ranges::find(interfaces, name, &NetworkInterface::name);
    if (interface == interfaces.end()) {
        return NxResult(kNxSocket,
                        "Interface " + name + " is not up or does not have an IPv4 address");
    }
    UdpSocket socket;
    if (NxResult result = socket.Open(name, interface->address); !result.IsOK()) {
        return result;
    }
    const BroadcastAcks broadcasts(name, LocalPort(socket));
    const std::uint16_t id = DrawGvcpRequestId();
    const Command command = MakeCommand(id, device, wanted, wantedMask, wantedGateway);
    const auto start = Clock::now();
    std::optional<std::uint16_t> status;
    for (std::size_t i = 0; i < kSendTimes.size() && !status; ++i) {
        if (NxResult result = socket.Send(kEverybody, command); !result.IsOK()) {
            return result;
        }
        const milliseconds next = i + 1 < kSendTimes.size() ? kSendTimes[i + 1] : kWindow;
        status = Await(socket, broadcasts, id, start + next);
    }
    const std::string which = "Device " + FormatMac(device) + " on " + name;
    if (!status) {
        return NxResult(kNxTimeout,
                        which +
                            " did not acknowledge its new address; a device ignores this "
                            "command while another program controls it");
    }
    if (*status != 0) {
        return NxResult(kNxDeviceError, which + " refused the address " +
                                            std::string(address.GetAscii()) + ": status 0x" +
                                            HexDigits(*status, 4));
    }
    return NxResult();
}
