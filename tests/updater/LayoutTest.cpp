// The order of fields and virtual operations that programs built against these classes rely on
// (Itanium C++ ABI, section 2.4 "Non-POD class types" and 2.5 "Virtual table layout").
#include <array>
#include <cstdint>
#include <cstring>
#include <iostream>

#include <gtest/gtest.h>

#include <NxSystem/NxDeviceInfo.h>

#include "MirskoFirmwareUpdater.h"
#include "Parameters.h"
#include "ProbeThread.h"
#include "RecordedStream.h"
#include "ThreadGenICam.h"
#include "ThreadTftp.h"
#include "UpdateJob.h"
#include "UpdaterRun.h"
#include "ZipFwFileReader.h"

namespace {

template <typename Value>
Value FieldAt(const void* object, std::size_t offset) {
    Value value;
    std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof value);
    return value;
}

// The text of an NxString.
const char* TextAt(const void* object, std::size_t offset) {
    return reinterpret_cast<const NxString*>(static_cast<const char*>(object) + offset)->GetAscii();
}

std::ptrdiff_t OffsetOf(const void* field, const void* object) {
    return static_cast<const char*>(field) - static_cast<const char*>(object);
}

// A pointer to a virtual member function holds 1 + the offset of its slot in the table.
template <typename Function>
std::size_t SlotOf(Function function) {
    std::array<std::uintptr_t, 2> parts = {};
    static_assert(sizeof function == sizeof parts);
    std::memcpy(parts.data(), &function, sizeof parts);
#if defined(__aarch64__)
    EXPECT_EQ(parts[1] & 1U, 1U) << "not virtual";
    return parts[0] / sizeof(void*);
#else
    EXPECT_EQ(parts[0] & 1U, 1U) << "not virtual";
    return (parts[0] - 1) / sizeof(void*);
#endif
}

}  // namespace

TEST(LayoutTest, TheFieldsOfParametersAreInOrder) {
    const Parameters parameters;
    EXPECT_EQ(OffsetOf(&parameters.help, &parameters), 0);
    EXPECT_EQ(OffsetOf(&parameters.u3v, &parameters), 1);
    EXPECT_EQ(OffsetOf(&parameters.noReset, &parameters), 2);
    EXPECT_EQ(OffsetOf(&parameters.localInterface, &parameters), 8);
    EXPECT_LT(&parameters.localInterface, &parameters.deviceId);
    EXPECT_LT(&parameters.deviceId, &parameters.firmwareFile);
    EXPECT_EQ(sizeof(Parameters), 8 + 3 * sizeof(NxString));
}

TEST(LayoutTest, TheApplicationsFieldsAndSlotsAreInOrder) {
    EXPECT_EQ(SlotOf(&MirskoFirmwareUpdaterApp::InitInstance), 0U);
    EXPECT_EQ(SlotOf(&MirskoFirmwareUpdaterApp::ExitInstance), 1U);
    EXPECT_FALSE(std::has_virtual_destructor_v<MirskoFirmwareUpdaterApp>);
    const Script script;
    const RecordedStream err(std::cerr);
    MirskoFirmwareUpdaterApp application;
    constexpr std::size_t kExitCode = sizeof(void*) + sizeof(NxSystem);
    EXPECT_EQ(FieldAt<std::int32_t>(&application, kExitCode), 0);
    EXPECT_FALSE(application.InitInstance(0, nullptr));
    EXPECT_EQ(FieldAt<std::int32_t>(&application, kExitCode), 100);
}

TEST(LayoutTest, TheSlotsOfAWorkerAreInOrder) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Thread>);
    EXPECT_EQ(SlotOf(&Thread::GetLabel), 2U);
    EXPECT_EQ(SlotOf(&Thread::Run), 3U);
    EXPECT_EQ(SlotOf(&Thread::GetStatus), 4U);
    EXPECT_EQ(SlotOf(&Thread::GetRawProgress), 5U);
    EXPECT_EQ(SlotOf(&Thread::SendBuffer), 6U);
    EXPECT_EQ(SlotOf(&Thread::SupportsReset), 7U);
}

TEST(LayoutTest, TheFieldsOfAWorkerAreInOrder) {
    ProbeThread worker("fw.dfw");
    constexpr std::size_t kTransferring = sizeof(void*);
    EXPECT_FALSE(FieldAt<bool>(&worker, kTransferring));
    worker.SetTransferring(true);
    EXPECT_TRUE(FieldAt<bool>(&worker, kTransferring));
    const Thread& base = worker;
    EXPECT_EQ(OffsetOf(&base.mResult, &base), 16);
    // The file name lies between the outcome and the status.
    EXPECT_EQ(OffsetOf(&base.mStatus, &base.mResult),
              static_cast<std::ptrdiff_t>(sizeof(NxResult) + sizeof(NxString)));
    const std::size_t thread =
        static_cast<std::size_t>(OffsetOf(&base.mStatus, &base)) + sizeof(NxString);
    EXPECT_EQ(FieldAt<void*>(&worker, thread), nullptr);
    worker.Start();
    EXPECT_NE(FieldAt<void*>(&worker, thread), nullptr);
    while (!worker.IsComplete()) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(FieldAt<bool>(&worker, thread + sizeof(void*)));
}

TEST(LayoutTest, TheFieldsOfAFileAccessWorkerAreInOrder) {
    Script script;
    ThreadGenICam worker("cam", "fw.dfw");
    constexpr std::size_t kConnectionId = sizeof(Thread);
    constexpr std::size_t kDevice = kConnectionId + sizeof(NxString);
    constexpr std::size_t kFile = kDevice + sizeof(void*);
    EXPECT_EQ(sizeof worker, kFile + sizeof(void*));
    EXPECT_STREQ(TextAt(&worker, kConnectionId), "cam");
    EXPECT_EQ(FieldAt<void*>(&worker, kDevice), nullptr);
    EXPECT_EQ(FieldAt<void*>(&worker, kFile), nullptr);
    ExpectFileAccessTransfer(script, "cam", "fw.dfw");
    worker.Run();
    EXPECT_EQ(FieldAt<void*>(&worker, kDevice), script.newestConnection);
    EXPECT_EQ(FieldAt<void*>(&worker, kFile), script.newestFile);
    script.Expect("NxDevice::Free cam");
}

TEST(LayoutTest, TheFieldsOfATftpWorkerAreInOrder) {
    Script script;
    ThreadTftp worker("cam", "fw.dfw");
    constexpr std::size_t kConnectionId = sizeof(Thread);
    constexpr std::size_t kWarningProgress = kConnectionId + sizeof(NxString);
    constexpr std::size_t kLastWarning = kWarningProgress + sizeof(std::int64_t);
    constexpr std::size_t kClient = kLastWarning + sizeof(NxString);
    EXPECT_EQ(sizeof worker, kClient + sizeof(void*));
    EXPECT_STREQ(TextAt(&worker, kConnectionId), "cam");
    EXPECT_EQ(FieldAt<std::int64_t>(&worker, kWarningProgress), 0);
    EXPECT_STREQ(TextAt(&worker, kLastWarning), "");
    EXPECT_EQ(FieldAt<void*>(&worker, kClient), nullptr);
    ExpectTftpTransfer(script, "cam", "fw.dfw");
    worker.Run();
    script.progress = {{51200, 102400}};
    script.warnings = {"waiting"};
    EXPECT_STREQ(worker.GetLabel().GetAscii(), "waiting");
    EXPECT_EQ(FieldAt<std::int64_t>(&worker, kWarningProgress), 51200);
    EXPECT_STREQ(TextAt(&worker, kLastWarning), "waiting");
    EXPECT_EQ(FieldAt<void*>(&worker, kClient), script.newestClient);
}

TEST(LayoutTest, TheSlotsOfTheUpdateJobAreInOrder) {
    using Job = MirskoFirmwareUpdaterDlg;
    EXPECT_TRUE(std::has_virtual_destructor_v<Job>);
    EXPECT_EQ(SlotOf(&Job::ReadGenStringValue), 2U);
    EXPECT_EQ(SlotOf(&Job::WriteGenStringValue), 3U);
    EXPECT_EQ(SlotOf(&Job::ExecuteGenCommand), 4U);
    EXPECT_EQ(SlotOf(&Job::GetGenEnumEntries), 5U);
    EXPECT_EQ(SlotOf(&Job::Write), 6U);
    EXPECT_EQ(SlotOf(&Job::Reset), 7U);
    EXPECT_EQ(SlotOf(&Job::OnInitDialog), 8U);
}

TEST(LayoutTest, TheFieldsOfTheUpdateJobAreInOrderWithTheirFirstValues) {
    const Script script;
    const std::unique_ptr<NxDeviceInfo> device = MakeDeviceInfo({});
    const auto reader = std::make_shared<ProbeReader>();
    NxString path = "p.dfw";
    for (const bool flag : {false, true}) {
        const MirskoFirmwareUpdaterDlg job(reader, flag, device.get(), path, !flag);
        EXPECT_EQ(reader.use_count(), 2);
        EXPECT_EQ(FieldAt<void*>(&job, 8), reader.get());
        EXPECT_EQ(FieldAt<const NxDeviceInfo*>(&job, 24), device.get());
        constexpr std::size_t kThread = 32 + sizeof(NxString);
        EXPECT_EQ(FieldAt<void*>(&job, kThread), nullptr);
        EXPECT_EQ(FieldAt<void*>(&job, kThread + 8), nullptr);
        EXPECT_EQ(FieldAt<std::int32_t>(&job, kThread + 16), 0);
        EXPECT_EQ(FieldAt<bool>(&job, kThread + 20), !flag);
        EXPECT_EQ(OffsetOf(&job.resetAfterUpdate, &job), static_cast<std::ptrdiff_t>(kThread + 21));
        EXPECT_TRUE(job.resetAfterUpdate);
        EXPECT_EQ(FieldAt<bool>(&job, kThread + 22), flag);
        EXPECT_EQ(OffsetOf(&job.newDeviceId, &job), static_cast<std::ptrdiff_t>(kThread + 24));
        EXPECT_EQ(job.newDeviceId.GetLength(), 0U);
    }
    EXPECT_EQ(reader.use_count(), 1);
}

TEST(LayoutTest, TheStatusOfTheUpdateJobTellsWhatFailed) {
    const auto statusOf = [](const MirskoFirmwareUpdaterDlg& job) {
        const std::ptrdiff_t reset = OffsetOf(&job.resetAfterUpdate, &job);
        return FieldAt<std::int32_t>(&job, static_cast<std::size_t>(reset) - 5);
    };
    UpdateJob update{UpdateJob::Mode::kDirect};
    update.job.resetAfterUpdate = false;
    ExpectFileAccessUpdate(update.script, "cam", "payload.dfw");
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(statusOf(update.job), 0);

    ExpectProbe(update.script, "cam");
    ExpectFileAccessTransfer(update.script, "cam", "payload.dfw");
    ExpectFileAccessStatus(update.script, "Flash error");
    update.script.Expect("NxDevice::Free cam");
    EXPECT_FALSE(update.Run().succeeded);
    EXPECT_EQ(statusOf(update.job), 104);

    ExpectProbe(update.script, "cam");
    update.script.Expect("NxDevice::CreateAndConnect cam").Fails(0x104, "refused");
    EXPECT_FALSE(update.Run().succeeded);
    EXPECT_EQ(statusOf(update.job), 103);

    // Kept by a later success.
    ExpectFileAccessUpdate(update.script, "cam", "payload.dfw");
    EXPECT_FALSE(update.Run().succeeded);
    EXPECT_EQ(statusOf(update.job), 103);
}

TEST(LayoutTest, TheReadersSlotsAreInOrderAndTheirPathIsTheFirstField) {
    EXPECT_TRUE(std::has_virtual_destructor_v<NxFwFileReader>);
    EXPECT_EQ(SlotOf(&NxFwFileReader::ExtractFile), 2U);
    EXPECT_EQ(SlotOf(&ZipFwFileReader::ExtractFile), 2U);
    const NxFwFileReader reader("auxiliary", "path");
    EXPECT_EQ(OffsetOf(&reader.GetFilePath(), &reader), 8);
    EXPECT_EQ(FieldAt<const char*>(&reader, 8), reader.GetFilePath().c_str());
    EXPECT_STREQ(FieldAt<const char*>(&reader, 8 + sizeof(std::string)), "auxiliary");
    EXPECT_EQ(sizeof(NxFwFileReader), 8 + 2 * sizeof(std::string));
    EXPECT_EQ(sizeof(ZipFwFileReader), sizeof(NxFwFileReader) + sizeof(std::vector<std::string>));
}
