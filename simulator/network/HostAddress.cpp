#include "HostAddress.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include "BoundSocket.h"

namespace simulator {

namespace {

struct AddressAttribute {
    rtattr header{sizeof(rtattr) + sizeof(std::uint32_t), 0};
    std::uint32_t address = 0;  // network byte order
};

struct Request {
    nlmsghdr header{};
    ifaddrmsg message{};
    AddressAttribute local;
    AddressAttribute network;
};

/// @param type RTM_NEWADDR or RTM_DELADDR
/// @return an error number, 0 when it is done
int ChangeAddress(std::uint16_t type, unsigned int interface, std::uint32_t address,
                  std::uint8_t prefix) {
    Request request;
    request.header = {sizeof request, type, NLM_F_REQUEST | NLM_F_ACK, 1, 0};
    if (type == RTM_NEWADDR) {
        request.header.nlmsg_flags |= NLM_F_CREATE | NLM_F_EXCL;
    }
    request.message.ifa_family = AF_INET;
    request.message.ifa_prefixlen = prefix;
    request.message.ifa_index = interface;
    request.local.header.rta_type = IFA_LOCAL;
    request.local.address = htonl(address);
    request.network.header.rta_type = IFA_ADDRESS;
    request.network.address = htonl(address);

    const int netlink = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (netlink < 0) {
        return errno;
    }
    struct {
        nlmsghdr header;
        nlmsgerr error;
        std::array<char, 512> request;
    } answer{};
    const bool isAnswered = send(netlink, &request, sizeof request, 0) == sizeof request &&
                            recv(netlink, &answer, sizeof answer, 0) >=
                                static_cast<ssize_t>(sizeof answer.header + sizeof answer.error);
    const int error = isAnswered ? -answer.error.error : errno;
    close(netlink);
    return error;
}

}  // namespace

HostAddress::~HostAddress() {
    if (mInterface != 0) {
        (void)ChangeAddress(RTM_DELADDR, mInterface, mAddress, mPrefix);
    }
}

bool HostAddress::Take(const std::string& interfaceName, std::uint32_t address, std::uint32_t mask,
                       std::string& why) {
    if (BoundSocket().Open(interfaceName, address, 0, false, why)) {
        return true;
    }
    const unsigned int interface = if_nametoindex(interfaceName.c_str());
    const auto prefix = static_cast<std::uint8_t>(std::popcount(mask));
    const int error =
        interface == 0 ? ENODEV : ChangeAddress(RTM_NEWADDR, interface, address, prefix);
    if (error != 0) {
        why = "cannot add " + FormatAddress(address) + " to " + interfaceName + ": " +
              std::strerror(error);
        return false;
    }
    mInterface = interface;
    mAddress = address;
    mPrefix = prefix;
    return true;
}

}  // namespace simulator
