#include "simulator/firmware/FirmwareStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"

using simulator::ConstBytes;
using simulator::EventLog;
using simulator::FirmwareImage;
using simulator::FirmwareListener;
using simulator::FirmwareState;
using simulator::FirmwareStore;
using simulator::FirmwareUpload;
using simulator::FirmwareVersion;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

ConstBytes AsBytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class FirmwareStoreTest : public testing::Test {
  protected:
    FirmwareStoreTest() {
        mOptions.folder = mFolder.Path() / "device";
        mOptions.deviceId = "first";
    }

    void Open() {
        mStore.reset();
        std::string why;
        mStore = FirmwareStore::Open(mOptions, mEvents, why);
        ASSERT_NE(mStore, nullptr) << why;
    }

    void Send(const std::string& payload, std::size_t chunk = 1000) {
        std::string why;
        const auto upload = mStore->BeginUpload(why);
        ASSERT_NE(upload, nullptr) << why;
        for (std::size_t at = 0; at < payload.size(); at += chunk) {
            ASSERT_TRUE(upload->Write(upload->Size(), AsBytes(payload.substr(at, chunk))));
        }
        upload->Finish();
    }

    std::string StoredBytes() { return ReadFile(mOptions.folder / "firmware.bin"); }

    TemporaryFolder mFolder;
    FirmwareStore::Options mOptions;
    EventLog mEvents;
    std::unique_ptr<FirmwareStore> mStore;
};

class Listener : public FirmwareListener {
  public:
    void PayloadGrew(std::uint64_t total) override { mTotals.push_back(total); }
    void Reached(simulator::FaultMoment moment) override { mMoments.push_back(moment); }
    void ResetRequested() override { ++mResets; }

    std::vector<std::uint64_t> mTotals;
    std::vector<simulator::FaultMoment> mMoments;
    int mResets = 0;
};

}  // namespace

TEST_F(FirmwareStoreTest, StoresNewFirmwareAtOnceAndRunsItAfterTheNextStart) {
    Open();
    const std::string body = RandomBytes(100'000, 1);
    Send(Payload{.body = body}.Encode());
    EXPECT_EQ(mStore->State().lastStatus, "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(StoredBytes(), body);
    EXPECT_EQ(mStore->State().running, (FirmwareVersion{1, 0}));
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{2, 1}));

    mStore->PowerOff(true);
    mStore->PowerOn();
    EXPECT_EQ(mStore->State().running, (FirmwareVersion{2, 1}));
    EXPECT_EQ(mStore->State().resets, 1U);
}

TEST_F(FirmwareStoreTest, WordsTheSuccessAsNonVolatileMemoryWhenTold) {
    mOptions.wording = FirmwareStore::Wording::kNonVolatile;
    Open();
    Send(Payload{.body = "x"}.Encode());
    EXPECT_THAT(mStore->State().lastStatus,
                HasSubstr("Successfully wrote file to non-volatile memory"));
}

TEST_F(FirmwareStoreTest, KeepsEverythingOverARestartOfTheProgram) {
    Open();
    Send(Payload{.body = "abc"}.Encode());
    Send(Payload{.kind = 2, .body = "left camera"}.Encode());
    const std::string status = mStore->State().lastStatus;
    Open();
    mStore->PowerOn();
    EXPECT_EQ(mStore->State().running, (FirmwareVersion{2, 1}));
    EXPECT_EQ(mStore->State().deviceId, "left camera");
    EXPECT_EQ(mStore->State().lastStatus, status);
    EXPECT_EQ(mStore->State().transfers, 2U);
    EXPECT_EQ(StoredBytes(), "abc");
}

TEST_F(FirmwareStoreTest, TakesADeviceIdRecordOfUpTo63PrintableCharacters) {
    Open();
    Send(Payload{.kind = 2, .body = std::string(63, 'i')}.Encode());
    EXPECT_EQ(mStore->State().deviceId, std::string(63, 'i'));
    for (const std::string& body : {std::string(), std::string(64, 'i'), std::string("a\x01")}) {
        Send(Payload{.kind = 2, .body = body}.Encode());
        EXPECT_EQ(mStore->State().lastStatus, "Payload rejected: malformed device ID");
    }
    EXPECT_EQ(mStore->State().deviceId, std::string(63, 'i'));
    EXPECT_FALSE(std::filesystem::exists(mOptions.folder / "firmware.bin"));
}

TEST_F(FirmwareStoreTest, TellsItsListenerOfRecordsAndOfWhoAsksForTheStatus) {
    using simulator::FaultMoment;
    Open();
    Listener listener;
    mStore->SetListener(&listener);
    Send(Payload{.body = "abc"}.Encode());
    EXPECT_THAT(listener.mMoments, testing::IsEmpty());
    Send(Payload{.kind = 2, .body = "left camera"}.Encode());
    EXPECT_EQ(mStore->HandOutStatus(), mStore->State().lastStatus);
    Send(Payload{.kind = 3}.Encode());
    EXPECT_EQ(listener.mMoments,
              (std::vector{FaultMoment::kDeviceId, FaultMoment::kStatus, FaultMoment::kReset}));
}

TEST_F(FirmwareStoreTest, FailsOneOperationAsAFault) {
    Open();
    Listener listener;
    mStore->SetListener(&listener);
    mStore->FailOperation();
    EXPECT_EQ(mStore->HandOutStatus(), std::nullopt);
    EXPECT_EQ(mStore->HandOutStatus(), "");
    std::string why;
    const auto upload = mStore->BeginUpload(why);
    const std::vector<std::uint8_t> bytes(100);
    mStore->FailOperation();
    EXPECT_FALSE(upload->Write(0, bytes));
    EXPECT_TRUE(upload->Write(0, bytes));
}

TEST_F(FirmwareStoreTest, AsksForAResetOnAResetRecord) {
    Open();
    Listener listener;
    mStore->SetListener(&listener);
    Send(Payload{.kind = 3}.Encode());
    EXPECT_EQ(listener.mResets, 1);
    EXPECT_EQ(listener.mTotals, std::vector<std::uint64_t>{64});
}

TEST_F(FirmwareStoreTest, RejectsWhatIsNotForItAndKeepsTheOldFirmware) {
    Open();
    Send(Payload{.body = "old firmware"}.Encode());
    const std::string good = Payload{.majorNumber = 3, .body = "new firmware"}.Encode();
    Send("");
    EXPECT_EQ(mStore->State().lastStatus, "Payload rejected: no firmware header");
    Send(std::string(5000, 'x'));
    EXPECT_EQ(mStore->State().lastStatus, "Payload rejected: no firmware header");
    Send(Payload{.family = "Other", .body = "b"}.Encode());
    EXPECT_EQ(
        mStore->State().lastStatus,
        "Payload rejected: it is for device family \"Other\", but this device is \"MirskoSim\"");
    Send(good + "!");
    EXPECT_EQ(mStore->State().lastStatus,
              "Payload rejected: the body has 13 bytes, but the header says 12");
    Send(good.substr(0, good.size() - 1));
    EXPECT_EQ(mStore->State().lastStatus,
              "Payload rejected: the body has 11 bytes, but the header says 12");
    Send(good.substr(0, good.size() - 1) + "!");
    EXPECT_EQ(mStore->State().lastStatus, "Payload rejected: body CRC mismatch");
    EXPECT_EQ(StoredBytes(), "old firmware");
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{2, 1}));
    EXPECT_EQ(mEvents.Count("payload_rejected"), 6U);
}

TEST_F(FirmwareStoreTest, TakesChunksAgainAtTheSamePlaceButNoGaps) {
    Open();
    const std::string payload = Payload{.body = RandomBytes(3000, 2)}.Encode();
    std::string why;
    const auto upload = mStore->BeginUpload(why);
    EXPECT_FALSE(upload->Write(1, AsBytes("x")));
    EXPECT_TRUE(upload->Write(0, AsBytes(payload.substr(0, 100))));
    EXPECT_TRUE(upload->Write(0, AsBytes(payload.substr(0, 100))));
    EXPECT_TRUE(upload->Write(100, AsBytes(payload.substr(100, 900))));
    EXPECT_TRUE(upload->Write(40, AsBytes(payload.substr(40, 500))));
    EXPECT_TRUE(upload->Write(1000, AsBytes(payload.substr(1000))));
    EXPECT_FALSE(upload->Write(upload->Size() + 1, AsBytes("x")));
    EXPECT_FALSE(upload->Write(~std::uint64_t{0}, AsBytes("x")));
    EXPECT_EQ(upload->Size(), payload.size());
    upload->Finish();
    EXPECT_THAT(mStore->State().lastStatus, StartsWith("Firmware applied: "));
    EXPECT_EQ(StoredBytes(), payload.substr(64));
}

TEST_F(FirmwareStoreTest, RefusesMoreThanTheFlashHolds) {
    mOptions.flashSize = 10;
    Open();
    std::string why;
    const auto upload = mStore->BeginUpload(why);
    EXPECT_FALSE(upload->Write(0, AsBytes(std::string(75, 'x'))));
    EXPECT_TRUE(upload->Write(0, AsBytes(std::string(74, 'x'))));
    EXPECT_FALSE(upload->Write(74, AsBytes("x")));
}

TEST_F(FirmwareStoreTest, HasOneUploadAtATimeAndSaysWhenOneWasDropped) {
    Open();
    std::string why;
    auto upload = mStore->BeginUpload(why);
    EXPECT_EQ(mStore->BeginUpload(why), nullptr);
    EXPECT_EQ(why, "Another transfer is in progress");
    ASSERT_TRUE(upload->Write(0, AsBytes("abc")));
    upload.reset();
    EXPECT_EQ(mStore->State().lastStatus, "Transfer incomplete: 3 bytes received");
    EXPECT_NE(mStore->BeginUpload(why), nullptr);
}

TEST_F(FirmwareStoreTest, IsBusyWhileItFlashes) {
    mOptions.flashTime = std::chrono::milliseconds(100);
    Open();
    Send(Payload{.body = "abc"}.Encode());
    EXPECT_EQ(mStore->State().lastStatus, "Flash currently being written in background");
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{1, 0}));
    std::string why;
    EXPECT_EQ(mStore->BeginUpload(why), nullptr);
    EXPECT_EQ(why, FirmwareStore::kBusyStatus);
    ASSERT_TRUE(WaitUntil([this] { return !mStore->State().flashing.has_value(); }));
    EXPECT_EQ(mStore->State().lastStatus, "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(StoredBytes(), "abc");
}

TEST_F(FirmwareStoreTest, KeepsTheOldFirmwareWhenPowerIsCutWhileFlashing) {
    Open();
    Send(Payload{.body = "old"}.Encode());
    mOptions.flashTime = std::chrono::hours(1);
    Open();
    Send(Payload{.majorNumber = 3, .body = "new"}.Encode());
    mStore->PowerOff(false);
    mStore->PowerOn();
    EXPECT_EQ(mStore->State().running, (FirmwareVersion{2, 1}));
    EXPECT_EQ(mStore->State().lastStatus, "Flash write interrupted, firmware 2.1 kept");
    EXPECT_EQ(StoredBytes(), "old");
}

TEST_F(FirmwareStoreTest, KeepsTheOldFirmwareWhenTheProgramEndsWhileFlashing) {
    mOptions.flashTime = std::chrono::hours(1);
    Open();
    Send(Payload{.body = "new"}.Encode());
    Open();
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{1, 0}));
    EXPECT_EQ(mStore->State().lastStatus, "Flash write interrupted, firmware 1.0 kept");
    EXPECT_FALSE(mStore->State().flashing.has_value());
}

TEST_F(FirmwareStoreTest, CountsAnImageThatWasWhollyInTheFlashWhenItWasKilled) {
    Open();
    mStore.reset();
    // As left by a kill between the replacement of firmware.bin and that of state.json.
    (void)mFolder.Write("device/firmware.bin", "new");
    std::string why;
    auto state = FirmwareState::Load(mOptions.folder / "state.json", why);
    ASSERT_TRUE(state) << why;
    state->flashing = FirmwareImage{{5, 6}, 3, BitwiseCrc32("new")};
    ASSERT_TRUE(state->Save(mOptions.folder / "state.json"));
    Open();
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{5, 6}));
    EXPECT_EQ(mStore->State().lastStatus, "Firmware applied: MirskoSim 5.6");
}

TEST_F(FirmwareStoreTest, FailsTheFlashingAsAFault) {
    mOptions.failFlash = true;
    Open();
    Send(Payload{.body = "abc"}.Encode());
    EXPECT_EQ(mStore->State().lastStatus,
              "Flash write failed: verification error, firmware 1.0 kept");
    EXPECT_EQ(mStore->State().stored, (FirmwareVersion{1, 0}));
    EXPECT_EQ(mEvents.Count("flash_failed"), 1U);
}

TEST_F(FirmwareStoreTest, MisjudgesTheCrcAsAFault) {
    mOptions.misjudgeBodyCrc = true;
    Open();
    Send(Payload{.body = "abc"}.Encode());
    EXPECT_EQ(mStore->State().lastStatus, "Payload rejected: body CRC mismatch");
}

TEST_F(FirmwareStoreTest, RefusesAFolderWithABrokenState) {
    for (const char* text : {"", "{", "[]", "{\"running_version\": \"x\"}"}) {
        const std::string file = mFolder.Write("device/state.json", text);
        std::string why;
        EXPECT_EQ(FirmwareStore::Open(mOptions, mEvents, why), nullptr);
        EXPECT_THAT(why, StartsWith(file + ": "));
        EXPECT_EQ(ReadFile(file), text) << "the evidence is kept";
    }
}

TEST_F(FirmwareStoreTest, RefusesAFolderThatCannotBeMade) {
    mOptions.folder = mFolder.Write("file", "") + "/device";
    std::string why;
    EXPECT_EQ(FirmwareStore::Open(mOptions, mEvents, why), nullptr);
    EXPECT_THAT(why, HasSubstr("cannot write the device's state"));
}

TEST_F(FirmwareStoreTest, LivesInATemporaryFolderWhenGivenNone) {
    mOptions.folder.clear();
    Open();
    Send(Payload{.body = "abc"}.Encode());
    const std::filesystem::path folder = mStore->Folder();
    EXPECT_EQ(ReadFile(folder / "firmware.bin"), "abc");
    mStore.reset();
    EXPECT_FALSE(std::filesystem::exists(folder));
}
