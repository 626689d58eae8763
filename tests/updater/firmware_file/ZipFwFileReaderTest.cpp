#include <filesystem>
#include <memory>
#include <set>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "TemporaryFolder.h"
#include "ZipBuilder.h"
#include "ZipFwFileReader.h"

namespace {

namespace fs = std::filesystem;

std::size_t OpenDescriptors() {
    const fs::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

/// Runs in a /tmp of its own (see tests/isolated.sh).
class ZipFwFileReaderTest : public testing::Test {
  protected:
    ZipFwFileReaderTest() : mBefore(FilesInTmp()) {}

    void Open(const std::vector<ZipMember>& members) { OpenBytes(MakeZip(members)); }
    void OpenBytes(const std::string& bytes) {
        reader = std::make_unique<ZipFwFileReader>("", folder.Write("fw.zip", bytes));
    }
    /// The files that were made in /tmp, by their names.
    [[nodiscard]] std::vector<std::string> Made() const {
        std::vector<std::string> made;
        for (const std::string& name : FilesInTmp()) {
            if (mBefore.count(name) == 0) {
                made.push_back(name);
            }
        }
        return made;
    }

    TemporaryFolder folder;
    std::unique_ptr<ZipFwFileReader> reader;

  private:
    static std::set<std::string> FilesInTmp() {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator("/tmp")) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    std::set<std::string> mBefore;
};

}  // namespace

TEST_F(ZipFwFileReaderTest, APackageThatDoesNotExistYieldsNothingForEveryName) {
    reader = std::make_unique<ZipFwFileReader>("", "/no/such/package.zip");
    for (const char* name : {"Manifest.xml", "", "x"}) {
        EXPECT_EQ(reader->ExtractFile(name), "");
    }
    EXPECT_THAT(Made(), testing::IsEmpty());
}

TEST_F(ZipFwFileReaderTest, ATextFileNamedZipYieldsNothingForEveryName) {
    for (const char* text : {"", "not a zip archive", "PK"}) {
        OpenBytes(text);
        for (const char* name : {"Manifest.xml", "", "x"}) {
            EXPECT_EQ(reader->ExtractFile(name), "");
        }
    }
    OpenBytes(std::string(100'000, 'P'));
    EXPECT_EQ(reader->ExtractFile(""), "");
    EXPECT_THAT(Made(), testing::IsEmpty());
}

TEST_F(ZipFwFileReaderTest, AFolderYieldsNothing) {
    reader = std::make_unique<ZipFwFileReader>("", folder.Path().string());
    EXPECT_EQ(reader->ExtractFile(""), "");
}

TEST_F(ZipFwFileReaderTest, AnArchiveWithoutMembersYieldsNothing) {
    Open({});
    EXPECT_EQ(reader->ExtractFile("Manifest.xml"), "");
    EXPECT_EQ(reader->ExtractFile(""), "");
    EXPECT_THAT(Made(), testing::IsEmpty());
}

TEST_F(ZipFwFileReaderTest, TheManifestIsUnpackedIntoAFileOfItsOwn) {
    const std::string manifest("<a>\r\n\0</a>", 11);
    Open({{"Manifest.xml", manifest, ZipMember::kDeflated}});
    const std::string path = reader->ExtractFile("Manifest.xml");
    EXPECT_THAT(path, testing::MatchesRegex("/tmp/xml-[A-Za-z0-9]{6}"));
    EXPECT_EQ(ReadFile(path), manifest);
}

TEST_F(ZipFwFileReaderTest, TwoRequestsForOneNameGiveTwoFilesAndBothAreDeleted) {
    Open({{"a.dfw", "payload"}});
    const std::string first = reader->ExtractFile("a.dfw");
    const std::string second = reader->ExtractFile("a.dfw");
    EXPECT_NE(first, second);
    EXPECT_EQ(ReadFile(first), "payload");
    EXPECT_EQ(ReadFile(second), "payload");
    reader.reset();
    EXPECT_FALSE(fs::exists(first));
    EXPECT_FALSE(fs::exists(second));
}

TEST_F(ZipFwFileReaderTest, APartOfANameGivesTheFirstMemberThatContainsIt) {
    Open({{"readme.txt", "t"}, {"first.dfw", "1"}, {"second.dfw", "2"}});
    const std::string path = reader->ExtractFile(".dfw");
    EXPECT_THAT(path, testing::MatchesRegex("/tmp/dfw-[A-Za-z0-9]{6}"));
    EXPECT_EQ(ReadFile(path), "1");
}

TEST_F(ZipFwFileReaderTest, NothingIsLeftAfterTheReaderIsDestroyed) {
    Open({{"Manifest.xml", "m"}, {"a.dfw", "a"}, {"b.bin", "b"}});
    for (const char* name : {"Manifest.xml", "a.dfw", "b.bin", "a.dfw"}) {
        EXPECT_NE(reader->ExtractFile(name), "");
    }
    reader.reset();
    EXPECT_THAT(Made(), testing::IsEmpty());
}

TEST_F(ZipFwFileReaderTest, LetterCaseMatters) {
    Open({{"Manifest.xml", "m"}});
    EXPECT_EQ(reader->ExtractFile("manifest.xml"), "");
    EXPECT_EQ(reader->ExtractFile("MANIFEST.XML"), "");
}

TEST_F(ZipFwFileReaderTest, AMemberInAFolderIsFoundByItsName) {
    Open({{"fw/Manifest.xml", "in the folder"}, {"Manifest.xml", "at the top"}});
    EXPECT_EQ(ReadFile(reader->ExtractFile("Manifest.xml")), "in the folder");
    EXPECT_EQ(ReadFile(reader->ExtractFile("fw/Manifest.xml")), "in the folder");
    EXPECT_EQ(reader->ExtractFile("fw\\Manifest.xml"), "");
}

TEST_F(ZipFwFileReaderTest, ALongerNameThatComesFirstIsTaken) {
    Open({{"Manifest.xml.old", "old"}, {"Manifest.xml", "new"}});
    EXPECT_EQ(ReadFile(reader->ExtractFile("Manifest.xml")), "old");
}

TEST_F(ZipFwFileReaderTest, TheFirstOfDuplicateNamesIsTaken) {
    Open({{"a.dfw", "first"}, {"a.dfw", "second"}});
    EXPECT_EQ(ReadFile(reader->ExtractFile("a.dfw")), "first");
}

TEST_F(ZipFwFileReaderTest, AnEmptyNameMatchesTheFirstMember) {
    Open({{"a.dfw", "first"}, {"b.dfw", "second"}});
    const std::string path = reader->ExtractFile("");
    EXPECT_THAT(path, testing::MatchesRegex("/tmp/-[A-Za-z0-9]{6}"));
    EXPECT_EQ(ReadFile(path), "first");
}

TEST_F(ZipFwFileReaderTest, TheTagIsWhatFollowsTheLastDotOfTheNameAskedFor) {
    Open({{"dir.d/fw_1.2.dfw", "x"}, {"README", "r"}, {"ends.with.", "e"}});
    EXPECT_THAT(reader->ExtractFile("fw_1.2.dfw"), testing::MatchesRegex("/tmp/dfw-.{6}"));
    EXPECT_THAT(reader->ExtractFile("fw_1.2"), testing::MatchesRegex("/tmp/2-.{6}"));
    EXPECT_THAT(reader->ExtractFile("fw_1"), testing::MatchesRegex("/tmp/fw_1-.{6}"));
    EXPECT_THAT(reader->ExtractFile("README"), testing::MatchesRegex("/tmp/README-.{6}"));
    EXPECT_THAT(reader->ExtractFile("ends.with."), testing::MatchesRegex("/tmp/-.{6}"));
}

TEST_F(ZipFwFileReaderTest, ATagWithASlashMakesNoFileAndFails) {
    Open({{"dir.d/payload", "x"}});
    EXPECT_EQ(reader->ExtractFile("dir.d/payload"), "");
    EXPECT_EQ(reader->ExtractFile("../tmp"), "");
    reader.reset();
    EXPECT_THAT(Made(), testing::IsEmpty());
}

TEST_F(ZipFwFileReaderTest, ATagTooLongForThePathIsCut) {
    const std::string name(300, 'n');
    Open({{name, "x"}});
    const std::string path = reader->ExtractFile(name);
    EXPECT_EQ(path, "/tmp/" + std::string(250, 'n'));
    EXPECT_EQ(ReadFile(path), "x");
    reader.reset();
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(ZipFwFileReaderTest, ANameThatIsNotUtf8IsComparedByItsBytes) {
    Open({{"caf\x82.dfw", "code page 437"}, {"caf\xC3\xA9.dfw", "UTF-8", 0, false, 0x0800}});
    EXPECT_EQ(ReadFile(reader->ExtractFile("caf\x82.dfw")), "code page 437");
    EXPECT_EQ(ReadFile(reader->ExtractFile("caf\xC3\xA9.dfw")), "UTF-8");
    EXPECT_EQ(reader->ExtractFile("caf\xE9.dfw"), "");
}

TEST_F(ZipFwFileReaderTest, TheTemporaryFileBelongsToItsOwnerAlone) {
    const mode_t before = umask(0);
    Open({{"a.dfw", "x"}});
    struct stat file = {};
    ASSERT_EQ(stat(reader->ExtractFile("a.dfw").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0600U);
    umask(before);
}

TEST_F(ZipFwFileReaderTest, OneDescriptorStaysOpenForEachExtraction) {
    Open({{"a.dfw", "x"}});
    const std::size_t before = OpenDescriptors();
    (void)reader->ExtractFile("a.dfw");
    EXPECT_EQ(OpenDescriptors(), before + 1);
    (void)reader->ExtractFile("a.dfw");
    EXPECT_EQ(OpenDescriptors(), before + 2);
    (void)reader->ExtractFile("no such member");
    EXPECT_EQ(OpenDescriptors(), before + 2);
    reader.reset();
    EXPECT_EQ(OpenDescriptors(), before + 2);
}

TEST_F(ZipFwFileReaderTest, CreateTempFileMakesAnEmptyFileAndDeleteTempFileRemovesIt) {
    const ZipFwFileReader empty("", "");
    const NyString path = empty.CreateTempFile(NyString("tag"));
    EXPECT_THAT(path.GetAscii(), testing::MatchesRegex("/tmp/tag-[A-Za-z0-9]{6}"));
    EXPECT_EQ(fs::file_size(path.GetAscii()), 0U);
    empty.DeleteTempFile(path);
    EXPECT_FALSE(fs::exists(path.GetAscii()));
    empty.DeleteTempFile(path);
}

TEST_F(ZipFwFileReaderTest, AFileThatIsGoneAlreadyDoesNotDisturbTheCleaning) {
    Open({{"a.dfw", "x"}, {"b.dfw", "y"}});
    fs::remove(reader->ExtractFile("a.dfw"));
    const std::string second = reader->ExtractFile("b.dfw");
    reader.reset();
    EXPECT_FALSE(fs::exists(second));
}

TEST_F(ZipFwFileReaderTest, TheArchiveIsOpenedAnewByEachRequest) {
    Open({{"a.dfw", "before"}});
    EXPECT_EQ(ReadFile(reader->ExtractFile("a.dfw")), "before");
    folder.Write("fw.zip", MakeZip({{"a.dfw", "after"}}));
    EXPECT_EQ(ReadFile(reader->ExtractFile("a.dfw")), "after");
}

TEST_F(ZipFwFileReaderTest, TheTextOfThePackageItselfIsTheArchivesOwn) {
    OpenBytes("just text");
    EXPECT_EQ(reader->GetFileContent(), "just text");
}
