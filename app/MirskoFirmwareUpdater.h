#pragma once

#include <string>

#include <NxBase/NxString.h>
#include <NxSystem/NxSystem.h>

#include "Parameters.h"

class NxDeviceInfo;

/// One run of the updater: reads the command line, selects the device, runs one update job. Never
/// deleted through a base: its table holds its two operations and no destructor.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor)
class MirskoFirmwareUpdaterApp {
  public:
    MirskoFirmwareUpdaterApp();

    /// The run.
    /// @return whether an update job ran and succeeded
    virtual bool InitInstance(int argc, const char** argv);
    /// The exit status: 0 help was printed or a job ran, whatever its outcome; 100 no device was
    /// selected; 101 no firmware file that can be used; 103 the firmware is for another model.
    virtual int ExitInstance();

    /// Writes the banner and the usage to the standard output.
    void ShowHelp();
    /// Lower case, without '-' and ':'.
    static void NormalizeMACAddress(std::string& mac);
    /// @param mac of the local network interface, with or without separators
    /// @return the first GigE Vision device (or one in its boot loader) found behind that
    ///         interface; null if there is none. Owned by the discovery root of this application.
    const NxDeviceInfo* AutoSelectGEV(const NxString& mac);
    /// The same for the first USB3 Vision device.
    const NxDeviceInfo* AutoSelectU3V();

  private:
    const NxDeviceInfo* SelectDevice(const Parameters& parameters);
    bool RunUpdate(const Parameters& parameters, const NxDeviceInfo* device,
                   const std::string& path);

    NxSystem deviceSystem;
    int exitCode;
};
