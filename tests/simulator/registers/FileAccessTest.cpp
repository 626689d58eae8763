#include "simulator/registers/FileAccess.h"

#include <gtest/gtest.h>

#include <array>

#include "Payload.h"
#include "TemporaryFolder.h"

using simulator::ConstBytes;
using simulator::EventLog;
using simulator::FileAccess;
using simulator::FirmwareStore;
using File = FileAccess::File;
using OpenMode = FileAccess::OpenMode;
using Status = FileAccess::Status;

namespace {

ConstBytes AsBytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class FileAccessTest : public testing::Test {
  protected:
    FileAccessTest() {
        std::string why;
        mFirmware = FirmwareStore::Open({}, mEvents, why);
        EXPECT_NE(mFirmware, nullptr) << why;
    }

    EventLog mEvents;
    std::unique_ptr<FirmwareStore> mFirmware;
};

}  // namespace

TEST_F(FileAccessTest, WritesRemoteUpdateDfwAndReadsStatusTxt) {
    FileAccess files(*mFirmware, mEvents, 0);
    const std::string payload = Payload{.body = "firmware"}.Encode();
    EXPECT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kWrite).status, Status::kSuccess);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 0, AsBytes(payload.substr(0, 60))).result, 60U);
    EXPECT_EQ(files.Size(File::kRemoteUpdateDfw), 60U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 60, AsBytes(payload.substr(60))).result, 12U);
    EXPECT_EQ(files.Close(File::kRemoteUpdateDfw).status, Status::kSuccess);

    const std::string expected = "Firmware applied: MirskoSim 2.1";
    EXPECT_EQ(files.Size(File::kStatusTxt), expected.size());
    EXPECT_EQ(files.Open(File::kStatusTxt, OpenMode::kRead).status, Status::kSuccess);
    std::array<std::uint8_t, 20> buffer{};
    EXPECT_EQ(files.Read(File::kStatusTxt, 0, buffer).result, 20U);
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), expected.substr(0, 20));
    EXPECT_EQ(files.Read(File::kStatusTxt, 20, buffer).result, expected.size() - 20);
    const FileAccess::Outcome end = files.Read(File::kStatusTxt, expected.size(), buffer);
    EXPECT_EQ(end.status, Status::kSuccess);
    EXPECT_EQ(end.result, 0U);
    EXPECT_EQ(files.Close(File::kStatusTxt).status, Status::kSuccess);
}

TEST_F(FileAccessTest, FailsWhatTheFilesDoNotAllow) {
    FileAccess files(*mFirmware, mEvents, 0);
    std::array<std::uint8_t, 4> buffer{};
    EXPECT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kRead).status, Status::kDenied);
    EXPECT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kReadWrite).status, Status::kDenied);
    EXPECT_EQ(files.Open(File::kStatusTxt, OpenMode::kWrite).status, Status::kDenied);
    EXPECT_EQ(files.Open(File::kUserData, OpenMode::kRead).status, Status::kDenied);
    EXPECT_EQ(files.Open(File::kStatusTxt, OpenMode{7}).status, Status::kDenied);
    EXPECT_EQ(files.Read(File::kStatusTxt, 0, buffer).status, Status::kNotOpen);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 0, buffer).status, Status::kNotOpen);
    EXPECT_EQ(files.Close(File::kStatusTxt).status, Status::kNotOpen);
    EXPECT_EQ(files.Close(File::kRemoteUpdateDfw).status, Status::kNotOpen);

    EXPECT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kWrite).status, Status::kSuccess);
    EXPECT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kWrite).status, Status::kDenied);
    EXPECT_EQ(files.Open(File::kStatusTxt, OpenMode::kRead).status, Status::kDenied);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 1, buffer).status, Status::kOverflow) << "a gap";
    EXPECT_EQ(files.Close(File::kStatusTxt).status, Status::kNotOpen);
    EXPECT_EQ(files.Close(File::kRemoteUpdateDfw).status, Status::kSuccess);
}

TEST_F(FileAccessTest, TakesHalfOfEveryNthWrite) {
    FileAccess files(*mFirmware, mEvents, 3);
    ASSERT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kWrite).status, Status::kSuccess);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 0, AsBytes("01234567")).result, 8U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 8, AsBytes("01234567")).result, 8U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 16, AsBytes("01234567")).result, 4U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 20, AsBytes("4567")).result, 4U);
    EXPECT_EQ(files.Size(File::kRemoteUpdateDfw), 24U);
}

TEST_F(FileAccessTest, TakesMultiplesOfTheIncrementAndDropsThePaddingOfThePayload) {
    FileAccess files(*mFirmware, mEvents, 3, 4);
    const std::string payload = Payload{.body = "nine char"}.Encode();
    ASSERT_EQ(files.Open(File::kRemoteUpdateDfw, OpenMode::kWrite).status, Status::kSuccess);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 0, AsBytes(payload)).status,
              Status::kInvalidLength);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 0, AsBytes(payload.substr(0, 64))).result, 64U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 64, AsBytes("nine")).result, 4U);
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 68, AsBytes(" char???")).result, 4U) << "half";
    EXPECT_EQ(files.Write(File::kRemoteUpdateDfw, 72, AsBytes("r???")).result, 4U);
    EXPECT_EQ(files.Close(File::kRemoteUpdateDfw).status, Status::kSuccess);
    EXPECT_EQ(mFirmware->State().lastStatus, "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(mFirmware->State().stored.Text(), "2.1");
}

TEST_F(FileAccessTest, ShowsTheStatusAsItWasWhenItWasOpened) {
    FileAccess files(*mFirmware, mEvents, 0);
    ASSERT_EQ(files.Open(File::kStatusTxt, OpenMode::kRead).status, Status::kSuccess);
    std::string why;
    mFirmware->BeginUpload(why)->Finish();
    EXPECT_EQ(files.Size(File::kStatusTxt), 0U);
    files.Abandon();
    EXPECT_GT(files.Size(File::kStatusTxt), 0U);
}
