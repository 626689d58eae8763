#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>

class NxInterface;

/// The root of discovery: the interfaces of this computer and the devices behind them.
///
/// One thread at a time. Every interface and device record that it ever gave out stays valid until
/// the NxSystem is destroyed, also across further Find calls.
class NX_API NxSystem {
  public:
    NxSystem();
    ~NxSystem();
    NxSystem(const NxSystem&) = delete;
    NxSystem& operator=(const NxSystem&) = delete;

    /// Looks for devices on all interfaces at once and waits one second for their answers
    /// (GigE Vision 2.0, section 16.1.1, DISCOVERY_CMD; USB3 Vision 1.0, section 2 "Device
    /// Identification"). Interfaces that cannot be asked are listed without devices.
    /// @return kNxSocket when none could be asked
    NxResult Find();
    /// For diagnosis: as Find, and also lists interfaces that cannot be used, and devices outside
    /// their interface's subnets; asks each device who controls it, without taking control; and
    /// asks USB3 Vision devices again for texts that came too late. Takes two seconds, and up to
    /// five more for slow USB3 Vision devices.
    ///
    /// Opens USB3 Vision devices and claims their control interface for a moment.
    /// @return as Find
    NxResult FindAll();

    /// Interfaces of the last Find: network adapters first, then USB host controllers.
    [[nodiscard]] unsigned int GetInterfaceCount() const;
    /// Null past the end.
    [[nodiscard]] const NxInterface* GetInterface(unsigned int index) const;

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
