#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <arv.h>

#include <NxBase/NxResult.h>
#include <NxGenICam/GenPort.h>

/// What Aravis's node map sees as its device: register access through a GenPort.
class GenDevice {
  public:
    explicit GenDevice(std::shared_ptr<GenPort> port);
    ~GenDevice();
    GenDevice(const GenDevice&) = delete;
    GenDevice& operator=(const GenDevice&) = delete;

    [[nodiscard]] ArvDevice* Get() const { return mDevice; }
    [[nodiscard]] GenPort& Port() const { return *mPort; }

    /// From now on accesses of four bytes are register accesses, as descriptions of a schema below
    /// 1.1 expect on GigE Vision.
    void UseRegisterCommands() { mUsesRegisterCommands = true; }
    [[nodiscard]] bool UsesRegisterCommands() const { return mUsesRegisterCommands; }

    NxResult Read(std::uint64_t address, std::span<std::byte> buffer);
    /// Notes that a read of so many bytes was not done.
    NxResult RefuseRead(std::uint64_t size);
    NxResult Write(std::uint64_t address, std::span<const std::byte> data);
    /// Keeps the outcome of each read from now on, failures too, in place of what was kept.
    void KeepReads();
    /// Keeps no more, but goes on giving a read that was kept the same outcome.
    void RepeatReads() { mKeepsReads = false; }
    /// The port's failure since the last call, or OK.
    NxResult TakeFailure();
    /// Turns what a call of Aravis left in `error` into a result and frees it.
    NxResult Check(const std::string& what, GError* error);

  private:
    struct KeptRead {
        NxResult result;
        std::vector<std::byte> bytes;
    };

    NxResult ReadPort(std::uint64_t address, std::span<std::byte> buffer);
    NxResult Note(NxResult result);

    std::shared_ptr<GenPort> mPort;
    ArvDevice* mDevice = nullptr;
    bool mUsesRegisterCommands = false;
    bool mKeepsReads = false;
    std::map<std::pair<std::uint64_t, std::size_t>, KeptRead> mKeptReads;  ///< by address and size
    NxResult mFailure;
};
