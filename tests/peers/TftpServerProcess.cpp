#include "TftpServerProcess.h"

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Kind = TftpServerProcess::Kind;

std::string PeerProgram(const std::string& path) {
    return std::filesystem::path(MIRSKO_BUILD_FOLDER).parent_path() / "peers" / path;
}

bool IsPort69Bound() {
    std::ifstream sockets("/proc/net/udp");
    for (std::string line; std::getline(sockets, line);) {
        if (line.find(":0045 ") != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool MaySetGroups() {
    std::ifstream file("/proc/self/setgroups");
    std::string word;
    return !(file >> word) || word == "allow";
}

std::vector<std::string> Command(Kind kind, const std::string& address, const std::string& folder) {
    if (kind == Kind::kTftpdHpa) {
        return {PeerProgram("tftpd-hpa/usr/sbin/in.tftpd"),
                "-L",
                "-4",
                "-c",
                "-p",
                "-u",
                "root",
                "-a",
                address + ":69",
                "-s",
                folder};
    }
    return {PeerProgram("atftpd/usr/sbin/atftpd"),
            "--daemon",
            "--no-fork",
            "--user",
            "root",
            "--group",
            "root",
            "--bind-address",
            address,
            "--port",
            "69",
            "--logfile",
            "/dev/null",
            folder};
}

}  // namespace

TftpServerProcess::TftpServerProcess(Kind kind, const std::string& address,
                                     const std::string& folder) {
    const std::vector<std::string> command = Command(kind, address, folder);
    if (!std::filesystem::exists(command.front())) {
        ADD_FAILURE() << command.front() << " is missing; run scripts/fetch-peers.sh";
        return;
    }
    // tftpd-hpa resolves its address only where some interface has one that is not 127.x.
    (void)Process::Run({"ip", "address", "add", "10.99.99.1/32", "dev", "lo"});
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    std::vector<std::string> environment;
    if (!MaySetGroups()) {
        environment.emplace_back("LD_PRELOAD=" MIRSKO_BUILD_FOLDER "/tests/liballow_set_groups.so");
    }
    mProcess = std::make_unique<Process>(command, environment);
    EXPECT_TRUE(WaitUntil(IsPort69Bound)) << command.front() << " does not serve";
}

TftpServerProcess::~TftpServerProcess() {
    if (mProcess != nullptr) {
        (void)mProcess->Terminate();
    }
}

std::string NameOf(Kind kind) {
    return kind == Kind::kTftpdHpa ? "TftpdHpa" : "Atftpd";
}

void PrintTo(Kind kind, std::ostream* stream) {
    *stream << NameOf(kind);
}
