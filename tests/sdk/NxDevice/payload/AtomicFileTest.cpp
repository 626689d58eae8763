#include "payload/AtomicFile.h"

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "TemporaryFolder.h"

namespace {

class AtomicFileTest : public testing::Test {
  protected:
    static NxResult Write(const AtomicFile& file, std::uint64_t offset, const std::string& text) {
        return file.WriteAt(offset, std::as_bytes(std::span(text)));
    }

    [[nodiscard]] auto CountFiles() const {
        return std::distance(std::filesystem::directory_iterator(mFolder.Path()), {});
    }

    TemporaryFolder mFolder;
    std::string mPath = mFolder.Path() / "file";
};

}  // namespace

TEST_F(AtomicFileTest, AppearsUnderItsNameWhenPublishedAndNotBefore) {
    AtomicFile file;
    ASSERT_TRUE(file.Open(mPath).IsOK());
    EXPECT_TRUE(Write(file, 5, " end").IsOK());
    EXPECT_TRUE(Write(file, 0, "begin").IsOK());
    EXPECT_FALSE(std::filesystem::exists(mPath));
    EXPECT_TRUE(file.Publish().IsOK());
    EXPECT_EQ(ReadFile(mPath), "begin end");
    EXPECT_EQ(CountFiles(), 1);
}

TEST_F(AtomicFileTest, LeavesAnEarlierFileWhenNotPublished) {
    mFolder.Write("file", "earlier");
    {
        AtomicFile file;
        ASSERT_TRUE(file.Open(mPath).IsOK());
        EXPECT_TRUE(Write(file, 0, "later").IsOK());
    }
    EXPECT_EQ(ReadFile(mPath), "earlier");
    EXPECT_EQ(CountFiles(), 1);
}

TEST_F(AtomicFileTest, LetsTheLastOneOfTheSameNameWin) {
    AtomicFile first;
    AtomicFile second;
    ASSERT_TRUE(first.Open(mPath).IsOK());
    ASSERT_TRUE(second.Open(mPath).IsOK());
    EXPECT_TRUE(Write(first, 0, "first").IsOK());
    EXPECT_TRUE(Write(second, 0, "second").IsOK());
    EXPECT_TRUE(second.Publish().IsOK());
    EXPECT_TRUE(first.Publish().IsOK());
    EXPECT_EQ(ReadFile(mPath), "first");
    EXPECT_EQ(CountFiles(), 1);
}

TEST_F(AtomicFileTest, NamesTheFileAndTheReasonWhenItCannotBeOpened) {
    AtomicFile file;
    const NxResult result = file.Open(mPath + "/absent");
    EXPECT_EQ(result.GetCode(), kNxLocalFile);
    EXPECT_EQ(result.GetDescription(),
              NxString("Cannot write " + mPath + "/absent: No such file or directory"));
}

TEST_F(AtomicFileTest, ReplacesRegularFilesOnly) {
    AtomicFile file;
    EXPECT_EQ(file.Open(mFolder.Path().string()).GetCode(), kNxLocalFile);
    EXPECT_EQ(file.Open("/dev/null").GetCode(), kNxLocalFile);
}
