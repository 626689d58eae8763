// The stage of an update job that looks at the device and chooses the transport.
#include <gmock/gmock.h>

#include <NxSystem/NxDeviceInfo.h>

#include "UpdateJob.h"
#include "UpdaterRun.h"

namespace {

constexpr const char* kSuccess =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
    "Resetting device\nFirmware upload complete.\n";

using Kind = DeviceRecord::Kind;

class TransportChoiceTest : public testing::Test {
  protected:
    static DeviceRecord Device(Kind kind) { return {kind, "Camera", "cam"}; }

    static void ExpectTftp(UpdateJob& update) {
        ExpectTftpTransfer(update.script, "cam", "payload.dfw");
        ExpectTftpStatus(update.script, "cam", "Firmware applied: 2");
        ExpectTftpReset(update.script, "cam", "payload.dfw");
        const JobOutcome outcome = update.Run();
        EXPECT_TRUE(outcome.succeeded);
        EXPECT_EQ(outcome.out, kSuccess);
        EXPECT_EQ(outcome.err, "");
    }
    static void ExpectFileAccess(UpdateJob& update) {
        ExpectFileAccessTransfer(update.script, "cam", "payload.dfw");
        ExpectFileAccessStatus(update.script, "Firmware applied: 2");
        update.script.Expect("NxDevice::Free cam");
        const JobOutcome outcome = update.Run();
        EXPECT_TRUE(outcome.succeeded);
        EXPECT_EQ(outcome.out, kSuccess);
        EXPECT_EQ(outcome.err, "");
    }
    static void ExpectNoWorker(UpdateJob& update) {
        const JobOutcome outcome = update.Run();
        EXPECT_FALSE(outcome.succeeded);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "Writing payload file to device failed!\n");
    }
    /// Tries the rule with a device of every type: by TFTP, or not at all where there is none.
    static void ExpectTftpWherePossible(const std::function<void(Script&)>& prepare) {
        for (const Kind kind : {Kind::kGigEVision, Kind::kLoader}) {
            UpdateJob update(UpdateJob::Mode::kDirect, Device(kind));
            prepare(update.script);
            ExpectTftp(update);
        }
        UpdateJob update(UpdateJob::Mode::kDirect, Device(Kind::kUsb3Vision));
        prepare(update.script);
        ExpectNoWorker(update);
    }
    static void ExpectFileAccessForAll(const std::function<void(Script&)>& prepare) {
        for (const Kind kind : {Kind::kGigEVision, Kind::kLoader, Kind::kUsb3Vision}) {
            UpdateJob update(UpdateJob::Mode::kDirect, Device(kind));
            prepare(update.script);
            ExpectFileAccess(update);
        }
    }
};

}  // namespace

TEST_F(TransportChoiceTest, ABackupLoadWithoutFileSelectorIsUpdatedByTftp) {
    ExpectTftpWherePossible([](Script& script) {
        script.enums["DeviceFirmwareLoad"] = {{"Load0", "The BackupLoad of this camera"},
                                              {"Load1", "MainLoad"}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, OnlyTheFirstLoadEntryAndItsDisplayNameDecide) {
    ExpectFileAccessForAll([](Script& script) {
        script.enums["DeviceFirmwareLoad"] = {{"BackupLoad", "Main"}, {"B", "BackupLoad"}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, TheBackupLoadIsComparedWithItsLetterCase) {
    ExpectFileAccessForAll([](Script& script) {
        script.enums["DeviceFirmwareLoad"] = {{"Load0", "backupload BACKUPLOAD Backup Load"}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, ALoadEnumerationWithoutEntriesMeansFileAccess) {
    ExpectFileAccessForAll([](Script& script) {
        script.enums["DeviceFirmwareLoad"] = {};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, ABackupLoadBesideAFileSelectorDoesNotMatter) {
    ExpectFileAccessForAll([](Script& script) {
        script.enums["DeviceFirmwareLoad"] = {{"Load0", "BackupLoad"}};
        script.enums["FileSelector"] = {{"StatusTxt", ""}, {"RemoteUpdateDfw", ""}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, AFileSelectorWithoutRemoteUpdateDfwMeansTftp) {
    ExpectTftpWherePossible([](Script& script) {
        script.enums["FileSelector"] = {{"StatusTxt", "RemoteUpdateDfw"}, {"remoteupdatedfw", ""}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, AFileSelectorWithRemoteUpdateDfwMeansFileAccess) {
    ExpectFileAccessForAll([](Script& script) {
        script.enums["FileSelector"] = {{"RemoteUpdateDfw", ""}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, FileAccessWithNeitherEnumerationMeansFileAccess) {
    ExpectFileAccessForAll([](Script& script) { ExpectProbe(script, "cam"); });
}

TEST_F(TransportChoiceTest, ADeviceWithoutFileAccessIsUpdatedByTftp) {
    ExpectTftpWherePossible([](Script& script) {
        script.fileAccess = false;
        script.enums["FileSelector"] = {{"RemoteUpdateDfw", ""}};
        ExpectProbe(script, "cam");
    });
}

TEST_F(TransportChoiceTest, ADeviceThatCannotBeConnectedIsUpdatedByTftpSilently) {
    ExpectTftpWherePossible([](Script& script) {
        script.Expect("NxDevice::CreateAndConnect record cam").Fails(0x104, "refused");
    });
}

TEST_F(TransportChoiceTest, BothArgumentsOfWriteAreIgnoredInDirectMode) {
    UpdateJob update(UpdateJob::Mode::kDirect);
    update.job.resetAfterUpdate = false;
    ExpectFileAccessUpdate(update.script, "cam", "payload.dfw");
    const JobOutcome outcome = update.Record([](MirskoFirmwareUpdaterDlg& job) {
        return job.Write("another file", "TFTP").GetCode() == 0;
    });
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_TRUE(update.reader->asked.empty());
}

TEST_F(TransportChoiceTest, WithoutATransportWriteGivesCode1AndPrintsNothing) {
    UpdateJob update(UpdateJob::Mode::kDirect, Device(Kind::kUsb3Vision));
    update.script.Expect("NxDevice::CreateAndConnect record cam").Fails(0x104, "refused");
    unsigned int code = 0;
    const JobOutcome outcome = update.Record([&code](MirskoFirmwareUpdaterDlg& job) {
        code = job.Write("payload.dfw", "Camera").GetCode();
        return false;
    });
    EXPECT_EQ(code, 1U);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(update.script.files + update.script.clients, 0);
}

TEST_F(TransportChoiceTest, DirectModeAsksForTheModelNameOnce) {
    UpdateJob update(UpdateJob::Mode::kDirect, Device(Kind::kUsb3Vision));
    update.script.Expect("NxDevice::CreateAndConnect record cam").Fails(0x104, "refused");
    ExpectNoWorker(update);
    EXPECT_EQ(update.script.CountOf("NxDeviceInfo::GetModelName"), 1U);
}

TEST_F(TransportChoiceTest, TheProbesConnectionIsReleasedBeforeTheWorkerConnects) {
    UpdateJob update(UpdateJob::Mode::kDirect);
    ExpectProbe(update.script, "cam");
    update.script.Expect("NxDevice::CreateAndConnect cam")
        .Does([&update] { EXPECT_EQ(update.script.connections, 0); })
        .Fails(0x104, "refused");
    EXPECT_EQ(update.Run().err, "refused\nWriting payload file to device failed!\n");
}

TEST_F(TransportChoiceTest, DirectModeWritesTheReadersFileForTheModelOfDiscovery) {
    class RecordedJob : public MirskoFirmwareUpdaterDlg {
      public:
        using MirskoFirmwareUpdaterDlg::MirskoFirmwareUpdaterDlg;
        NyUtilsLib::Result Write(const std::string& fileName, const std::string& word) override {
            written.push_back(fileName + " " + word);
            return NyUtilsLib::Result();
        }
        std::vector<std::string> written;
    };
    const Script script;
    const std::unique_ptr<NxDeviceInfo> device = MakeDeviceInfo(Device(Kind::kGigEVision));
    NxString path("payload.dfw");
    RecordedJob job(std::make_shared<ProbeReader>("the readers.dfw"), true, device.get(), path,
                    true);
    EXPECT_TRUE(job.OnInitDialog());
    EXPECT_THAT(job.written, testing::ElementsAre("the readers.dfw Camera"));
}
