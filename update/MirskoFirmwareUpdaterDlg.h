#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include <NxBase/NxString.h>
#include <NxGenICam/IGenFUUpdater.h>
#include <NyUtilsLib/Result.h>

class NxDevice;
class NxDeviceInfo;
class NxFwFileReader;
class NxResult;
class Thread;

/// One firmware update of one device: chooses the transport, runs one transfer worker after the
/// other, waits for it, has the device's status text judged, and reports each stage on the standard
/// streams. Used from one thread.
///
/// Direct mode transfers one payload file. Package mode has the SDK's firmware-update model run the
/// package's "Manifest.xml"; the model calls back the IGenFUUpdater operations.
class MirskoFirmwareUpdaterDlg : public NxGenICamLib::IGenFUUpdater {
  public:
    /// @param directPayload true for a plain payload, false for a package
    /// @param deviceInfo not owned, must outlive the job
    /// @param payloadPath the file that direct mode transfers
    /// @param selectionGiven kept, never read
    MirskoFirmwareUpdaterDlg(std::shared_ptr<NxFwFileReader> reader, bool directPayload,
                             const NxDeviceInfo* deviceInfo, NxString& payloadPath,
                             bool selectionGiven);
    ~MirskoFirmwareUpdaterDlg() override;
    MirskoFirmwareUpdaterDlg(const MirskoFirmwareUpdaterDlg&) = delete;
    MirskoFirmwareUpdaterDlg& operator=(const MirskoFirmwareUpdaterDlg&) = delete;

    /// Answers every node that the device can read with the model name that discovery found.
    /// @return code 25, `value` untouched, for a node that cannot be read
    NyUtilsLib::Result ReadGenStringValue(const std::string& nodeName, std::string& value) override;
    /// Not provided: code 1540.
    NyUtilsLib::Result WriteGenStringValue(const std::string& nodeName,
                                           const std::string& value) override;
    /// Not provided: code 1540.
    NyUtilsLib::Result ExecuteGenCommand(const std::string& nodeName) override;
    /// Not provided: code 1540.
    NyUtilsLib::Result GetGenEnumEntries(const std::string& nodeName,
                                         std::list<std::string>& entries) override;
    /// Transfers one file and waits for its end. Direct mode ignores both arguments.
    /// @param fileName a member of the package
    /// @param transport "TFTP"; any other word means GenICam file access
    /// @return code 1 when no transport could be chosen, or the transfer or its validation failed
    NyUtilsLib::Result Write(const std::string& fileName, const std::string& transport) override;
    /// @return code 16 when there is no worker, that is always outside of Write
    NyUtilsLib::Result Reset() override;

    /// The whole update; called once.
    virtual bool OnInitDialog();

    /// Starts the worker, shows its label every 500 ms until it is complete, validates, completes.
    NyUtilsLib::Result WaitForUpdate();
    void ValidateUpdate();
    /// Gives the device its new ID, resets it after a success, deletes the worker.
    void CompleteUpdate();
    void UpdateLabel();
    void UpdateProgress();

  private:
    bool UpdateFromPayload();
    bool UpdateFromPackage();
    NxResult ChooseTransport();

    std::shared_ptr<NxFwFileReader> reader;
    const NxDeviceInfo* deviceInfo;
    NxString payloadPath;
    Thread* thread = nullptr;
    NxDevice* device = nullptr;
    std::int32_t status = 0;
    [[maybe_unused]] bool selectionGiven;

  public:
    /// Whether the device is reset after a successful transfer.
    bool resetAfterUpdate = true;

  private:
    bool directPayload;

  public:
    /// The ID that the device is given after each transfer; empty for none.
    NxString newDeviceId;
};
