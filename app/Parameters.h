#pragma once

#include <NxBase/NxString.h>

/// What the command line asked for.
struct Parameters {
    bool help = false;        ///< print the banner and the usage, do nothing else
    bool u3v = false;         ///< select the first USB3 Vision device
    bool noReset = false;     ///< do not reset the device after the update
    NxString localInterface;  ///< MAC address of the interface to the first GigE Vision device
    NxString deviceId;        ///< new device ID, in lower case; empty for none
    NxString firmwareFile;    ///< path exactly as given

    /// Fills the record; what cannot be accepted asks for help and ends the parsing.
    void ParseParam(int argc, const char** argv);
};
