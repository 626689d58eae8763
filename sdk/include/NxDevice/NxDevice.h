#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

class NxDeviceInfo;
class NxGenParameterArray;

/// A controlled connection to one device.
///
/// Connections of one process to the same device share its control channel: a device gives control
/// to one program only. Connections may be made and freed on any thread; one connection is used by
/// one thread at a time.
class NX_API NxDevice {
  public:
    class Impl;

    /// Connects, takes control and loads the device description; ends within 5 seconds.
    /// @param result never null; receives the outcome
    /// @return null when it failed. Free it with Free.
    static NxDevice* CreateAndConnect(const NxDeviceInfo* info, NxResult* result);
    /// @param connectionID as NxDeviceInfo::GetConnectionID gives it; the interface part
    ///        ("%eth1") may be absent
    static NxDevice* CreateAndConnect(const NxString& connectionID, NxResult* result);
    /// Gives up control when this was the last connection to the device. Null is allowed.
    static void Free(NxDevice* device);

    /// The node map; owned by this connection, never null.
    [[nodiscard]] NxGenParameterArray* GetParameters();

  private:
    explicit NxDevice(std::unique_ptr<Impl> impl);
    ~NxDevice();
    NxDevice(const NxDevice&) = delete;
    NxDevice& operator=(const NxDevice&) = delete;

    std::unique_ptr<Impl> mImpl;
};
