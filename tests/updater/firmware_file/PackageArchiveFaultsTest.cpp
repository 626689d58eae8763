// A package of which single members cannot be read: linked with --wrap=mz_zip_reader_file_stat.
#include <set>

#include <gtest/gtest.h>
#include <miniz.h>

#include "TemporaryFolder.h"
#include "ZipBuilder.h"
#include "ZipFwFileReader.h"

namespace {

std::set<mz_uint> unreadable;

class PackageArchiveFaultsTest : public testing::Test {
  protected:
    ~PackageArchiveFaultsTest() override { unreadable.clear(); }

    /// Unpacks "a.dfw". @return its bytes; "none" if ExtractFile returned no path
    [[nodiscard]] std::string Unpack(const std::vector<ZipMember>& members) const {
        ZipFwFileReader reader("", folder.Write("fw.zip", MakeZip(members)));
        const std::string path = reader.ExtractFile("a.dfw");
        return path.empty() ? "none" : ReadFile(path);
    }

    TemporaryFolder folder;
};

}  // namespace

extern "C" {
mz_bool __real_mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                       mz_zip_archive_file_stat* stat);
mz_bool __wrap_mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                       mz_zip_archive_file_stat* stat);
}

mz_bool __wrap_mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                       mz_zip_archive_file_stat* stat) {
    return unreadable.count(index) != 0 ? 0 : __real_mz_zip_reader_file_stat(archive, index, stat);
}

TEST_F(PackageArchiveFaultsTest, AFirstMemberThatCannotBeReadHidesAllOthers) {
    unreadable = {0};
    EXPECT_EQ(Unpack({{"Manifest.xml", "m"}, {"a.dfw", "payload"}}), "none");
    EXPECT_EQ(Unpack({{"a.dfw", "payload"}}), "none");
}

TEST_F(PackageArchiveFaultsTest, ALaterMemberThatCannotBeReadIsSkipped) {
    const std::vector<ZipMember> members = {
        {"Manifest.xml", "m"}, {"a.dfw", "unreadable"}, {"b/a.dfw", "payload"}};
    EXPECT_EQ(Unpack(members), "unreadable");
    unreadable = {1};
    EXPECT_EQ(Unpack(members), "payload");
    unreadable = {1, 2};
    EXPECT_EQ(Unpack(members), "none");
}
