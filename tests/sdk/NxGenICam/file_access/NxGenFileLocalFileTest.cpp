// The local file of a transfer, which others may change or replace meanwhile.
#include "NxGenFileFixture.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

using testing::StrEq;

namespace {

class NxGenFileLocalFileTest : public NxGenFileFixture {
  protected:
    // Of registers or memory of the device.
    void AfterEachWrite(const std::function<void()>& act) {
        device->port->onWrite = [act, before = device->port->onWrite](std::uint64_t address) {
            before(address);
            act();
        };
    }
};

// What happens to the local file in the middle of its transfer.
struct LocalChange {
    const char* name;
    std::function<void(const std::string& path)> make;
};

TEST_F(NxGenFileLocalFileTest, FailsWhenTheLocalFileIsChangedOrReplacedMeanwhile) {
    const std::string content = RandomBytes(20'000, 11);
    const LocalChange changes[] = {
        {"overwritten in place",
         [](const std::string& path) {
             std::fstream(path, std::ios::in | std::ios::out) << "other bytes";
         }},
        {"made longer",
         [](const std::string& path) { std::ofstream(path, std::ios::app) << "more"; }},
        {"made shorter",
         [](const std::string& path) { std::filesystem::resize_file(path, 15'000); }},
        {"replaced",
         [&](const std::string& path) {
             std::ofstream(path + ".new") << content;
             std::filesystem::rename(path + ".new", path);
         }},
        {"removed", [](const std::string& path) { std::filesystem::remove(path); }},
    };
    for (const LocalChange& change : changes) {
        SCOPED_TRACE(change.name);
        Connect();
        const std::string path = folder.Write("changing.dfw", content);
        // Long enough ago for the change to have a time of its own.
        std::filesystem::last_write_time(
            path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
        int writes = 0;
        AfterEachWrite([&] {
            if (++writes == 30) {
                change.make(path);
            }
        });
        const NxResult result = file.WriteFrom(path);
        EXPECT_GE(writes, 30);
        EXPECT_EQ(result.GetCode(), kNxLocalFile);
        EXPECT_THAT(
            result.GetDescription().GetAscii(),
            testing::EndsWith(path + ": it was changed or replaced while it was being sent"));
        // The last bytes are held back.
        EXPECT_LT(device->files["RemoteUpdateDfw"].size(), content.size());
        (void)file.Close();
    }
}

TEST_F(NxGenFileLocalFileTest, FailsWhenTheLocalFileIsReplacedAfterItsLastByteWasRead) {
    Connect();
    const std::string path = folder.Write("changing.dfw", RandomBytes(100, 12));
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    AfterEachWrite([&] { std::filesystem::remove(path); });
    EXPECT_EQ(file.WriteFrom(path).GetCode(), kNxLocalFile);
}

TEST_F(NxGenFileLocalFileTest, SaysWhyALocalFileCannotBeRead) {
    Connect();
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    EXPECT_THAT(file.WriteFrom("/nowhere/x.dfw").GetDescription().GetAscii(),
                StrEq("Cannot open /nowhere/x.dfw: No such file or directory"));
    EXPECT_EQ(file.WriteFrom(folder.Path().string()).GetCode(), kNxLocalFile);
    // The path that a package reader gives for a member that it cannot hand out.
    EXPECT_THAT(file.WriteFrom("").GetDescription().GetAscii(),
                StrEq("Cannot read the payload: it is missing from the package or cannot be "
                      "unpacked (damaged, encrypted, or /tmp is full)"));
}

}  // namespace
