// Package mode of an update job: connect, manifest, firmware-update model and its callbacks.
#include <iostream>
#include <memory>

#include <gmock/gmock.h>

#include <NxSystem/NxDeviceInfo.h>

#include "RecordedStream.h"
#include "TemporaryFolder.h"
#include "UpdateJob.h"
#include "UpdaterRun.h"

namespace {

using NyUtilsLib::Result;
using Kind = DeviceRecord::Kind;
using Updater = NxGenICamLib::IGenFUUpdater;

class PackageStageTest : public testing::Test {
  protected:
    PackageStageTest() { update.reader->manifestPath = folder.Write("manifest", "<Manifest/>"); }

    /// Expects a package run in which the model does this.
    void ExpectRun(const ExpectedCall::Run& what) {
        script.Expect("NxDevice::CreateAndConnect record cam");
        script.Expect("GenFUParser::Build <Manifest/>");
        script.Expect("GenFUControl::Run").Runs(what);
    }
    void ExpectFree() { script.Expect("NxDevice::Free cam"); }

    TemporaryFolder folder;
    UpdateJob update{UpdateJob::Mode::kPackage};
    Script& script = update.script;
};

}  // namespace

TEST_F(PackageStageTest, AFailedConnectionIsTheOnlyLine) {
    script.Expect("NxDevice::CreateAndConnect record cam")
        .Fails(0x104, "cam is controlled by another");
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.errWithFlushes, "cam is controlled by another\n<flush>");
    EXPECT_TRUE(update.reader->asked.empty());
}

TEST_F(PackageStageTest, AManifestThatDoesNotParseIsOneLineAndLeavesTheConnectionOpen) {
    script.Expect("NxDevice::CreateAndConnect record cam");
    script.Expect("GenFUParser::Build <Manifest/>").Fails(7, "Manifest.xml:1:1: unknown element");
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.errWithFlushes, "Manifest.xml:1:1: unknown element\n<flush>");
    EXPECT_EQ(script.connections, 1);
}

TEST_F(PackageStageTest, TheEndOfTheJobFreesNoConnection) {
    const std::unique_ptr<NxDeviceInfo> device =
        MakeDeviceInfo({Kind::kGigEVision, "Camera", "cam"});
    NxString path;
    auto job =
        std::make_unique<MirskoFirmwareUpdaterDlg>(update.reader, false, device.get(), path, true);
    script.Expect("NxDevice::CreateAndConnect record cam");
    script.Expect("GenFUParser::Build <Manifest/>").Fails(7, "Manifest.xml:1:1: unknown element");
    const RecordedStream err(std::cerr);
    EXPECT_FALSE(job->OnInitDialog());
    job.reset();
    EXPECT_EQ(script.connections, 1);
    EXPECT_EQ(script.CountOf("NxDevice::Free cam"), 0U);
}

TEST_F(PackageStageTest, AMissingManifestIsAnEmptyTextForTheParser) {
    update.reader->manifestPath = "";
    script.Expect("NxDevice::CreateAndConnect record cam");
    script.Expect("GenFUParser::Build ").Fails(7, "Manifest.xml:1:1: empty");
    EXPECT_EQ(update.Run().err, "Manifest.xml:1:1: empty\n");
    EXPECT_THAT(update.reader->asked, testing::ElementsAre("Manifest.xml"));
}

TEST_F(PackageStageTest, ARunThatFailsShowsItsMessageAndFreesTheConnection) {
    ExpectRun([](Updater&) { return Result(25, "No update in this package is for Camera"); });
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.errWithFlushes, "No update in this package is for Camera\n<flush>");
    EXPECT_EQ(script.connections, 0);
}

TEST_F(PackageStageTest, ARunThatSucceedsPrintsNothingOfItsOwn) {
    ExpectRun([](Updater&) { return Result(); });
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(PackageStageTest, ControlAndParserAreMadeOnceAndNeverDeleted) {
    ExpectRun([](Updater&) { return Result(); });
    ExpectFree();
    (void)update.Run();
    EXPECT_EQ(script.CountOf("GenFUControl::GenFUControl"), 1U);
    EXPECT_EQ(script.CountOf("GenFUParser::GenFUParser"), 1U);
    EXPECT_EQ(script.CountOf("GenFUControl::~GenFUControl"), 0U);
    EXPECT_EQ(script.CountOf("GenFUParser::~GenFUParser"), 0U);
}

TEST_F(PackageStageTest, EachWriteTransfersOneMemberByTheWayItsWordNames) {
    update.job.resetAfterUpdate = false;
    ExpectRun([](Updater& updater) {
        EXPECT_EQ(updater.Write("main.dfw", "TFTP").GetCode(), 0U);
        EXPECT_EQ(updater.Write("lut.bin", "GenICam").GetCode(), 0U);
        return Result();
    });
    ExpectTftpTransfer(script, "cam", "/unpacked/main.dfw");
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    ExpectFileAccessTransfer(script, "cam", "/unpacked/lut.bin");
    ExpectFileAccessStatus(script, "Successfully wrote file to non-volatile memory");
    script.Expect("NxDevice::Free cam");
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    const std::string one =
        "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
        "Firmware upload complete.\n";
    EXPECT_EQ(outcome.out, one + one);
    EXPECT_THAT(update.reader->asked, testing::ElementsAre("Manifest.xml", "main.dfw", "lut.bin"));
}

TEST_F(PackageStageTest, OnlyTheExactWordTftpMeansTftp) {
    update.job.resetAfterUpdate = false;
    for (const char* word : {"tftp", "Tftp", "TFTP ", "", "GenICam", "Camera"}) {
        ExpectRun([word](Updater& updater) { return updater.Write("a.dfw", word); });
        ExpectFileAccessTransfer(script, "cam", "/unpacked/a.dfw");
        ExpectFileAccessStatus(script, "Firmware applied: 2");
        script.Expect("NxDevice::Free cam");
        ExpectFree();
        EXPECT_TRUE(update.Run().succeeded) << word;
    }
}

TEST_F(PackageStageTest, AMemberThatIsMissingIsTransferredFromAnEmptyPathAndFailsThere) {
    update.reader->hasMembers = false;
    ExpectRun([](Updater& updater) { return updater.Write("gone.dfw", "TFTP"); });
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile ").Fails(0x101, "cannot open");
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "Starting update...\n\nUpdate failed.\n");
}

TEST_F(PackageStageTest, AfterOneFailedWriteEveryLaterOneFailsAndNothingIsReset) {
    ExpectRun([](Updater& updater) {
        EXPECT_EQ(updater.Write("a.dfw", "TFTP").GetCode(), 1U);
        EXPECT_EQ(updater.Write("b.dfw", "TFTP").GetCode(), 1U);
        return Result(1, "the second upload failed");
    });
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile /unpacked/a.dfw").Fails(0x103, "no answer");
    ExpectTftpTransfer(script, "cam", "/unpacked/b.dfw");
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out,
              "Starting update...\n\nUpdate failed.\n"
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Update failed.\n");
    EXPECT_EQ(outcome.err, "no answer\nthe second upload failed\n");
}

TEST_F(PackageStageTest, AReadableNodeIsAnsweredWithTheModelNameOfDiscovery) {
    script.strings["DeviceVersion"] = "1.2";
    ExpectRun([](Updater& updater) {
        std::string value = "before";
        EXPECT_EQ(updater.ReadGenStringValue("DeviceVersion", value).GetCode(), 0U);
        EXPECT_EQ(value, "Camera");
        return Result();
    });
    ExpectFree();
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(script.CountOf("NxGenParameterArray::GetStringValue DeviceVersion"), 1U);
}

TEST_F(PackageStageTest, ANodeThatCannotBeReadGivesCode25AndLeavesTheValue) {
    ExpectRun([](Updater& updater) {
        std::string value = "before";
        EXPECT_EQ(updater.ReadGenStringValue("NoSuchNode", value).GetCode(), 25U);
        EXPECT_EQ(value, "before");
        return Result();
    });
    ExpectFree();
    EXPECT_TRUE(update.Run().succeeded);
}

TEST_F(PackageStageTest, WhatTheUpdaterDoesNotProvideGivesCode1540) {
    ExpectRun([](Updater& updater) {
        EXPECT_EQ(updater.WriteGenStringValue("DeviceUserID", "x").GetCode(), 1540U);
        EXPECT_EQ(updater.ExecuteGenCommand("DeviceReset").GetCode(), 1540U);
        std::list<std::string> entries = {"kept"};
        EXPECT_EQ(updater.GetGenEnumEntries("FileSelector", entries).GetCode(), 1540U);
        EXPECT_THAT(entries, testing::ElementsAre("kept"));
        return Result();
    });
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(PackageStageTest, AResetBeforeAnyWriteGivesCode16) {
    ExpectRun([](Updater& updater) {
        const Result result = updater.Reset();
        EXPECT_EQ(result.GetCode(), 16U);
        return result;
    });
    ExpectFree();
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.err, "\n");
}

TEST_F(PackageStageTest, AResetAfterAWriteGivesCode16ThoughTheWriteDidReset) {
    ExpectRun([](Updater& updater) {
        EXPECT_EQ(updater.Write("a.dfw", "TFTP").GetCode(), 0U);
        EXPECT_EQ(updater.Reset().GetCode(), 16U);
        return Result(16, "step 2 (DeviceReset) failed");
    });
    ExpectTftpTransfer(script, "cam", "/unpacked/a.dfw");
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    ExpectTftpReset(script, "cam", "/unpacked/a.dfw");
    ExpectFree();
    EXPECT_EQ(update.Run().err, "step 2 (DeviceReset) failed\n");
}

TEST_F(PackageStageTest, TheConnectionIsFreedBeforeTheRunsMessageIsShown) {
    ExpectRun([](Updater&) { return Result(25, "No update in this package is for Camera"); });
    const RecordedStream err(std::cerr);
    script.Expect("NxDevice::Free cam").Does([&err] { EXPECT_EQ(err.Text(), ""); });
    EXPECT_FALSE(update.job.OnInitDialog());
    EXPECT_EQ(err.Text(), "No update in this package is for Camera\n");
}

TEST_F(PackageStageTest, TheManifestIsUnpackedBeforeTheModelIsMade) {
    std::size_t models = 1;
    update.reader->onExtract = [this, &models] {
        models = script.CountOf("GenFUControl::GenFUControl");
    };
    ExpectRun([](Updater&) { return Result(); });
    ExpectFree();
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(models, 0U);
}
