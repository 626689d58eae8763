#pragma once

#include <memory>

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
    /// The port's failure since the last call, or OK.
    NxResult TakeFailure();
    /// Turns what a call of Aravis left in `error` into a result and frees it.
    NxResult Check(const std::string& what, GError* error);

  private:
    NxResult Note(NxResult result);

    std::shared_ptr<GenPort> mPort;
    ArvDevice* mDevice = nullptr;
    bool mUsesRegisterCommands = false;
    NxResult mFailure;
};
