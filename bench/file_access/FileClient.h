#pragma once

#include <string>

/// One way to write a file into the simulated camera by GenICam file access. Every client connects,
/// opens the file "RemoteUpdateDfw", writes it in chunks of the device's buffer, waits for each
/// operation, checks its status and result, and closes the file. Failures end the program.
class FileClient {
  public:
    FileClient() = default;
    virtual ~FileClient() = default;
    FileClient(const FileClient&) = delete;
    FileClient& operator=(const FileClient&) = delete;

    virtual void Open() = 0;
    /// @param path of a local file
    virtual void Write(const std::string& path) = 0;
    virtual void Close() = 0;
};
