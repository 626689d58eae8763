#include <filesystem>

#include <gtest/gtest.h>

#include "NxFwFileReader.h"
#include "TemporaryFolder.h"

namespace {

std::string ContentOf(const std::string& path) {
    return NxFwFileReader(std::string(), path).GetFileContent();
}

}  // namespace

TEST(NxFwFileReaderTest, ItsOnlyMemberIsTheFileByItsExactPath) {
    NxFwFileReader reader("", "/data/Fw.dfw");
    EXPECT_EQ(reader.ExtractFile("/data/Fw.dfw"), "/data/Fw.dfw");
    for (const char* other : {"/data/fw.dfw", "/DATA/FW.DFW", ".//data/Fw.dfw", "Fw.dfw", "",
                              "/data/Fw.dfw ", "/data/Fw.df", "Manifest.xml"}) {
        EXPECT_EQ(reader.ExtractFile(other), "") << other;
    }
}

TEST(NxFwFileReaderTest, ALeadingDotAndSlashMakesAnotherName) {
    NxFwFileReader reader("", "fw.dfw");
    EXPECT_EQ(reader.ExtractFile("fw.dfw"), "fw.dfw");
    EXPECT_EQ(reader.ExtractFile("./fw.dfw"), "");
}

TEST(NxFwFileReaderTest, AnEmptyNameEqualsAnEmptyPath) {
    NxFwFileReader reader("auxiliary", "");
    EXPECT_EQ(reader.ExtractFile(""), "");
    EXPECT_EQ(reader.ExtractFile("auxiliary"), "");
}

TEST(NxFwFileReaderTest, TheFileNeedNotExistToBeNamed) {
    NxFwFileReader reader("", "/no/such/file.dfw");
    EXPECT_EQ(reader.ExtractFile("/no/such/file.dfw"), "/no/such/file.dfw");
    EXPECT_EQ(reader.GetFilePath(), "/no/such/file.dfw");
}

TEST(NxFwFileReaderTest, AMissingFileHasNoText) {
    EXPECT_EQ(ContentOf("/no/such/file.xml"), "");
    EXPECT_EQ(ContentOf(""), "");
}

TEST(NxFwFileReaderTest, AnEmptyFileHasNoText) {
    const TemporaryFolder folder;
    EXPECT_EQ(ContentOf(folder.Write("empty", "")), "");
}

TEST(NxFwFileReaderTest, AFolderHasNoText) {
    const TemporaryFolder folder;
    EXPECT_EQ(ContentOf(folder.Path().string()), "");
}

TEST(NxFwFileReaderTest, TheTextEndsAtTheFirstZeroByte) {
    const TemporaryFolder folder;
    EXPECT_EQ(ContentOf(folder.Write("f", std::string("ab\0cd", 5))), "ab");
    EXPECT_EQ(ContentOf(folder.Write("g", std::string("\0cd", 3))), "");
}

TEST(NxFwFileReaderTest, CarriageReturnsAreKept) {
    const TemporaryFolder folder;
    EXPECT_EQ(ContentOf(folder.Write("f", "a\r\nb\r\n")), "a\r\nb\r\n");
}

TEST(NxFwFileReaderTest, TheTextIsReadAnewEachTime) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("f", "one");
    const NxFwFileReader reader("", path);
    EXPECT_EQ(reader.GetFileContent(), "one");
    folder.Write("f", "two");
    EXPECT_EQ(reader.GetFileContent(), "two");
}

TEST(NxFwFileReaderTest, ALargeTextIsReadAsAWhole) {
    const TemporaryFolder folder;
    const std::string text(3'000'001, 'x');
    EXPECT_EQ(ContentOf(folder.Write("f", text)), text);
}
