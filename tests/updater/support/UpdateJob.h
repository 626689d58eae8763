#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "MirskoFirmwareUpdaterDlg.h"
#include "NxFwFileReader.h"
#include "Script.h"

class NxDeviceInfo;

/// A reader that hands out paths without any archive: member "x" is at "/unpacked/x".
class ProbeReader : public NxFwFileReader {
  public:
    explicit ProbeReader(const std::string& path = "fw.dfw") : NxFwFileReader("", path) {}

    [[nodiscard]] std::string ExtractFile(const std::string& name) override {
        asked.push_back(name);
        if (onExtract) {
            onExtract();
        }
        if (name == "Manifest.xml") {
            return manifestPath;
        }
        return hasMembers ? "/unpacked/" + name : std::string();
    }

    std::vector<std::string> asked;
    std::string manifestPath;
    bool hasMembers = true;
    std::function<void()> onExtract;
};

/// What one run of an update job left.
struct JobOutcome {
    bool succeeded = false;
    std::string out;
    std::string err;
    std::string outWithFlushes;
    std::string errWithFlushes;
};

/// One update job for the device "cam" over a script, with the standard streams recorded.
class UpdateJob {
  public:
    enum class Mode { kDirect, kPackage };

    explicit UpdateJob(Mode mode, const DeviceRecord& device = {DeviceRecord::Kind::kGigEVision,
                                                                "Camera", "cam"});
    ~UpdateJob();

    /// OnInitDialog.
    JobOutcome Run();
    /// Anything else done with the job.
    JobOutcome Record(const std::function<bool(MirskoFirmwareUpdaterDlg&)>& what);

    Script script;
    std::shared_ptr<ProbeReader> reader = std::make_shared<ProbeReader>();

  private:
    std::unique_ptr<NxDeviceInfo> mDevice;
    NxString mPath = "payload.dfw";

  public:
    MirskoFirmwareUpdaterDlg job;
};
