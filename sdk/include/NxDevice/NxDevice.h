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

    /// Connects, takes control (GigE Vision 2.0, section 10, control channel privilege; USB3 Vision
    /// 1.0, section 3 "Device Control") and loads the device description. Ends within 5 seconds
    /// when the device does not answer; as long as a description comes at 16 KiB/s, it is waited
    /// for, and a GigE Vision device that is controlled already is asked again for its heartbeat
    /// timeout, up to 15 seconds, since it keeps a program that died for so long.
    ///
    /// Longer with USB3 Vision in two cases: the system waits another 5 seconds for a device that
    /// does not answer to its endpoints being cleared, and a device to which this process is
    /// connected already is first asked whether it is still there, with the timeout of any command
    /// (5 seconds, longer when the device announces it or is busy).
    /// @param info null is refused
    /// @param result never null; receives the outcome: kNxInvalidArgument for a null record or a
    ///        malformed connection ID, kNxNotSupported for a device in its boot loader,
    ///        kNxAccessDenied when another program controls the device, another program of this
    ///        computer works with it by this SDK (docs/device-lock.md), or the system refuses,
    ///        kNxSocket when the interface cannot be used, kNxTimeout or kNxDeviceGone when the
    ///        device does not answer or is not there, kNxProtocol or kNxDeviceError for what it
    ///        answers, kNxBadDescription when its GenICam XML cannot be used
    /// @return null when it failed. Free it with Free.
    static NxDevice* CreateAndConnect(const NxDeviceInfo* info, NxResult* result);
    /// @param connectionID as NxDeviceInfo::GetConnectionID gives it; the interface part
    ///        ("%eth1") may be absent
    static NxDevice* CreateAndConnect(const NxString& connectionID, NxResult* result);
    /// Gives up control when this was the last connection to the device. Null is allowed.
    static void Free(NxDevice* device);

    /// The node map; owned by this connection, never null.
    ///
    /// Once this process has reset the device (a reset record by NxTftpClient), waits for the
    /// device, takes control again and gives the node map of the firmware that it runs now; the one
    /// from before stays valid, and what is read through it fails.
    [[nodiscard]] NxGenParameterArray* GetParameters();

  private:
    explicit NxDevice(std::unique_ptr<Impl> impl);
    ~NxDevice();
    NxDevice(const NxDevice&) = delete;
    NxDevice& operator=(const NxDevice&) = delete;

    std::unique_ptr<Impl> mImpl;
};
