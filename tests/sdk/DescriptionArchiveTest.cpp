#include "DescriptionArchive.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Process.h"
#include "TemporaryFolder.h"

namespace {

const std::string kXml =
    "<RegisterDescription ModelName=\"Test\">" + std::string(5000, ' ') + "</RegisterDescription>";

std::string Zip(const std::vector<std::string>& options) {
    const TemporaryFolder folder;
    const std::string member = folder.Write("camera.xml", kXml);
    std::vector<std::string> command = {"zip", "-q", "-j"};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back((folder.Path() / "camera.zip").string());
    command.push_back(member);
    EXPECT_EQ(Process::Run(command).exitStatus, 0);
    return ReadFile(folder.Path() / "camera.zip");
}

bool Unpack(const std::string& stored, std::string& xml) {
    return UnpackDescription(std::as_bytes(std::span(stored)), xml);
}

}  // namespace

TEST(DescriptionArchiveTest, TakesPlainTextAsItIsWithoutItsPadding) {
    std::string xml;
    EXPECT_TRUE(Unpack(kXml + std::string(3, '\0'), xml));
    EXPECT_EQ(xml, kXml);
    EXPECT_TRUE(Unpack("", xml));
    EXPECT_EQ(xml, "");
}

TEST(DescriptionArchiveTest, UnpacksDeflatedAndStoredMembers) {
    for (const char* level : {"-9", "-0"}) {
        std::string xml;
        EXPECT_TRUE(Unpack(Zip({level}), xml)) << level;
        EXPECT_EQ(xml, kXml) << level;
        xml.clear();
        EXPECT_TRUE(Unpack(Zip({level}) + std::string(7, '\0'), xml)) << level << " padded";
        EXPECT_EQ(xml, kXml) << level;
    }
}

TEST(DescriptionArchiveTest, RefusesEncryptedArchives) {
    std::string xml = "before";
    EXPECT_FALSE(Unpack(Zip({"-P", "secret"}), xml));
    EXPECT_EQ(xml, "before");
}

TEST(DescriptionArchiveTest, RefusesEveryTruncationAndAWrongChecksum) {
    const std::string archive = Zip({});
    for (std::size_t length = 30; length < archive.size(); ++length) {
        std::string xml = "before";
        EXPECT_FALSE(Unpack(archive.substr(0, length), xml)) << length;
        EXPECT_EQ(xml, "before");
    }
    std::string damaged = archive;
    const std::size_t central = damaged.find("PK\x01\x02");
    ASSERT_NE(central, std::string::npos);
    damaged[central + 16] = static_cast<char>(damaged[central + 16] ^ 1);
    std::string xml;
    EXPECT_FALSE(Unpack(damaged, xml));
}

TEST(DescriptionArchiveTest, SurvivesEveryChangedByte) {
    const std::string archive = Zip({});
    for (std::size_t at = 0; at < archive.size(); ++at) {
        for (const char value : {'\x00', '\x7F', '\xFF'}) {
            std::string changed = archive;
            changed[at] = value;
            std::string xml;
            if (Unpack(changed, xml) && changed.compare(0, 4, archive, 0, 4) == 0) {
                EXPECT_EQ(xml, kXml) << at;
            }
        }
    }
}
