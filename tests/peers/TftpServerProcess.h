#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "Process.h"

/// A TFTP server that is not ours, on port 69 of a loopback address in a network of this test's
/// own. It serves one folder and lets clients create files there.
class TftpServerProcess {
  public:
    enum class Kind { kTftpdHpa, kAtftpd };

    /// @param address e.g. "127.0.0.1"
    /// A test failure when it does not come up, e.g. because scripts/fetch-peers.sh has not run.
    TftpServerProcess(Kind kind, const std::string& address, const std::string& folder);
    ~TftpServerProcess();

  private:
    std::unique_ptr<Process> mProcess;
};

std::string NameOf(TftpServerProcess::Kind kind);
void PrintTo(TftpServerProcess::Kind kind, std::ostream* stream);
