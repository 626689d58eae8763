#include "NetworkPair.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

void Shell(const std::string& command) {
    const ProcessResult result = Process::Run({"sh", "-ec", command});
    EXPECT_EQ(result.exitStatus, 0) << command << "\n" << result.err;
}

std::string NetworkOf(const std::string& process) {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/" + process + "/ns/net", ignored).string();
}

}  // namespace

NetworkPair::NetworkPair(const std::vector<Cable>& cables) {
    mHolder = std::make_unique<Process>(
        std::vector<std::string>{"unshare", "--net", "sleep", "infinity"});
    const std::string holder = std::to_string(mHolder->Id());
    EXPECT_TRUE(WaitUntil([&] {
        const std::string network = NetworkOf(holder);
        return !network.empty() && network != NetworkOf("self");
    }));
    const std::string far = "nsenter --target " + holder + " --net ";
    Shell(far + "ip link set lo up");
    for (unsigned int i = 0; i < cables.size(); ++i) {
        const std::string number = std::to_string(i);
        Shell("ip link add cam" + number + " address " + NearMac(i) + " type veth peer name far" +
              number + " netns " + holder);
        Shell("ip addr add " + cables[i].nearAddress + " dev cam" + number);
        Shell(far + "ip addr add " + cables[i].farAddress + " dev far" + number);
        Shell("ip link set cam" + number + " up");
        Shell(far + "ip link set far" + number + " up");
    }
    for (unsigned int i = 0; i < cables.size(); ++i) {
        // Not from /sys, which shows the interfaces of the network it was mounted in.
        const std::string ask = "ip -br link show cam" + std::to_string(i) + " | grep -q ' UP '";
        EXPECT_TRUE(WaitUntil([&] { return Process::Run({"sh", "-c", ask}).exitStatus == 0; }));
    }
}

std::vector<std::string> NetworkPair::OnFarSide(std::vector<std::string> command) const {
    const std::vector<std::string> enter{"nsenter", "--target", std::to_string(mHolder->Id()),
                                         "--net", "--"};
    command.insert(command.begin(), enter.begin(), enter.end());
    return command;
}

std::string NetworkPair::NearMac(unsigned int number) {
    return "02:00:00:00:00:" + std::string(number < 10 ? "0" : "") + std::to_string(number);
}
