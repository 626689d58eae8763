#include "BroadcastAcks.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "LinkStates.h"
#include "UdpPacket.h"

namespace {

constexpr std::uint16_t kGvcpPort = 3956;
constexpr int kMostAtOnce = 1000;

int OpenBroadcastSocket(const std::string& interfaceName, std::uint16_t port) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = INADDR_BROADCAST;
    local.sin_port = htons(port);
    if (descriptor >= 0 &&
        setsockopt(descriptor, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                   static_cast<socklen_t>(interfaceName.size())) == 0 &&
        bind(descriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0) {
        return descriptor;
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return -1;
}

// The interface may carry a gigabit of images: only unfragmented UDP from GVCP's port is let in.
bool AdmitOnlyAcks(int descriptor) {
    constexpr unsigned int kToEnd = 6;
    std::array<sock_filter, 9> program{{
        {BPF_LD | BPF_B | BPF_ABS, 0, 0, 9},                    // protocol
        {BPF_JMP | BPF_JEQ | BPF_K, 0, kToEnd, IPPROTO_UDP},    //
        {BPF_LD | BPF_H | BPF_ABS, 0, 0, 6},                    // fragment
        {BPF_JMP | BPF_JSET | BPF_K, kToEnd - 2, 0, 0x3fff},    //
        {BPF_LDX | BPF_B | BPF_MSH, 0, 0, 0},                   // X: length of the IP header
        {BPF_LD | BPF_H | BPF_IND, 0, 0, 0},                    // source port
        {BPF_JMP | BPF_JEQ | BPF_K, 0, kToEnd - 5, kGvcpPort},  //
        {BPF_RET | BPF_K, 0, 0, 0xffff},                        //
        {BPF_RET | BPF_K, 0, 0, 0},                             //
    }};
    const sock_fprog filter{program.size(), program.data()};
    return setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0;
}

int OpenPacketSocket(const std::string& interfaceName) {
    // Without a protocol it receives nothing before it is bound to the interface.
    const int descriptor = socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_ll local{};
    local.sll_family = AF_PACKET;
    local.sll_protocol = htons(ETHERTYPE_IP);
    local.sll_ifindex = static_cast<int>(if_nametoindex(interfaceName.c_str()));
    if (descriptor >= 0 && local.sll_ifindex != 0 && AdmitOnlyAcks(descriptor) &&
        bind(descriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0) {
        return descriptor;
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return -1;
}

}  // namespace

BroadcastAcks::BroadcastAcks(const std::string& interfaceName, std::uint16_t port) : mPort(port) {
    mDescriptors[0] = OpenBroadcastSocket(interfaceName, port);
    if (DropsOtherSubnets(interfaceName)) {
        mDescriptors[1] = OpenPacketSocket(interfaceName);
        mMissesOtherSubnets = mDescriptors[1] < 0;
    }
}

BroadcastAcks::~BroadcastAcks() {
    for (const int descriptor : mDescriptors) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

void BroadcastAcks::Collect(
    const std::function<void(std::span<const std::byte> ack, std::uint32_t sender)>& take) const {
    std::array<std::byte, 1500> packet{};
    for (int i = 0; i < kMostAtOnce && mDescriptors[0] >= 0; ++i) {
        sockaddr_in sender{};
        socklen_t size = sizeof sender;
        const ssize_t length = recvfrom(mDescriptors[0], packet.data(), packet.size(), 0,
                                        reinterpret_cast<sockaddr*>(&sender), &size);
        if (length < 0) {
            break;
        }
        take(std::span(packet).first(static_cast<std::size_t>(length)),
             ntohl(sender.sin_addr.s_addr));
    }
    for (int i = 0; i < kMostAtOnce && mDescriptors[1] >= 0; ++i) {
        const ssize_t length = recv(mDescriptors[1], packet.data(), packet.size(), 0);
        if (length < 0) {
            break;
        }
        const auto ack =
            UdpPacket::Parse(std::span(packet).first(static_cast<std::size_t>(length)));
        if (ack && ack->sourcePort == kGvcpPort && ack->destinationPort == mPort) {
            take(ack->payload, ack->sender);
        }
    }
}
