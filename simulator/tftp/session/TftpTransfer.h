#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace simulator {

/// The account of one transfer that has ended, well or not.
struct TftpTransfer {
    bool write = false;  ///< whether the client sent the file
    std::string file;
    std::string peer;                     ///< the client, "address:port"
    std::uint64_t bytes = 0;              ///< stored, or acknowledged by the client
    unsigned int blockSize = 0;           ///< bytes
    unsigned int windowSize = 0;          ///< blocks
    std::uint64_t duplicates = 0;         ///< DATA or ACK packets that said nothing new
    std::uint64_t repetitions = 0;        ///< times that a time-out made the server send again
    std::uint64_t rejectedForgeries = 0;  ///< forged packets that the client answered with ERROR 5
    bool complete = false;
    std::string failure;  ///< one line, empty when complete
};

/// Called on the server's thread.
using TftpObserver = std::function<void(const TftpTransfer&)>;

}  // namespace simulator
