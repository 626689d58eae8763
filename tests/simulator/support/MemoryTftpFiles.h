#pragma once

#include <map>
#include <string>

#include "simulator/tftp/session/TftpFiles.h"

/// Files in memory: any name can be written, those in `readable` can be read. The maps are to be
/// looked at while the server is stopped, or after the transfer's account was seen.
class MemoryTftpFiles : public simulator::TftpFiles {
  public:
    std::map<std::string, std::string> readable;
    std::map<std::string, std::string> written;  ///< finished transfers only
    unsigned int finished = 0;
    unsigned int dropped = 0;
    std::size_t capacity = SIZE_MAX;  ///< bytes of a file that is written
    std::string notYet;               ///< a file that cannot be opened at present

    [[nodiscard]] ForWriting OpenForWriting(const std::string& name,
                                            std::optional<std::uint64_t> size) override;
    [[nodiscard]] ForReading OpenForReading(const std::string& name) override;
};
