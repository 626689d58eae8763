#include "xml_location/DescriptionArchive.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Process.h"
#include "TemporaryFolder.h"
#include "ZipBuilder.h"

using namespace std::string_literals;

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
    std::string why;
    return UnpackDescription(std::as_bytes(std::span(stored)), xml, why);
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

TEST(DescriptionArchiveTest, TakesArchivesAsDevicesStoreThem) {
    // The sizes behind the data, extra fields of either length, and a comment.
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-9"}, {"-fd"}, {"-X"}, {"-fd", "-X"}}) {
        for (const std::string& rest : {""s, "\0\0\0"s, "\xFF\xFF\xFF\xFF\xFF"s, "PK\x05\x06"s}) {
            std::string xml;
            EXPECT_TRUE(Unpack(Zip(options) + rest, xml)) << options[0];
            EXPECT_EQ(xml, kXml) << options[0];
        }
    }
}

TEST(DescriptionArchiveTest, TakesTheArchiveInFrontOfTheRestOfAnOlderOne) {
    const std::string archive = MakeZip({{.name = "new.xml", .content = kXml}});
    const std::string longer =
        MakeZip({{.name = "older.xml", .content = kXml + kXml, .method = ZipMember::kStored}});
    ASSERT_GT(longer.size(), archive.size());
    std::string xml;
    EXPECT_TRUE(Unpack(archive + longer.substr(archive.size()), xml));
    EXPECT_EQ(xml, kXml);
    // Also when the older one's end is what comes first.
    EXPECT_TRUE(Unpack(archive.substr(0, archive.size() - 22) + longer.substr(longer.size() - 22) +
                           archive.substr(archive.size() - 22),
                       xml));
    EXPECT_EQ(xml, kXml);
}

TEST(DescriptionArchiveTest, TakesTheMemberThatIsNamedAsXml) {
    std::string xml;
    EXPECT_TRUE(Unpack(MakeZip({{.name = "Camera/", .content = ""},
                                {.name = "Camera/read me.txt", .content = "text"},
                                {.name = "Camera/My camera.XML", .content = kXml},
                                {.name = "b.xml", .content = "<B/>"}}),
                       xml));
    EXPECT_EQ(xml, kXml);
    EXPECT_TRUE(Unpack(
        MakeZip({{.name = "Camera/", .content = ""}, {.name = "camera", .content = kXml}}), xml));
    EXPECT_EQ(xml, kXml);
}

TEST(DescriptionArchiveTest, TakesTheDocumentOfAMemberAndOfAPlainText) {
    for (const std::string& rest :
         {"\0\0"s, "\0</Older></RegisterDescription>"s, "er></RegisterDescription>\n"s, "\xFF"s}) {
        std::string xml;
        EXPECT_TRUE(Unpack(MakeZip({{.name = "a.xml", .content = kXml + rest}}), xml));
        EXPECT_EQ(xml, kXml);
        xml.clear();
        EXPECT_TRUE(Unpack(kXml + rest, xml));
        EXPECT_EQ(xml, kXml);
    }
}

TEST(DescriptionArchiveTest, SaysWhatIsWrongWithAnArchive) {
    const auto problem = [](const std::string& stored) {
        std::string xml;
        std::string why;
        EXPECT_FALSE(UnpackDescription(std::as_bytes(std::span(stored)), xml, why));
        return why;
    };
    const ZipMember member{.name = "a.xml", .content = kXml};
    const auto changed = [&member](const auto& change) {
        ZipMember other = member;
        change(other);
        return MakeZip({other});
    };
    const std::string archive = MakeZip({member});
    EXPECT_EQ(problem(archive.substr(0, archive.size() - 1)),
              "its zip archive is truncated: its directory is missing");
    EXPECT_EQ(problem(changed([](ZipMember& m) { m.flags = 1; })), "its zip archive is encrypted");
    EXPECT_EQ(problem(changed([](ZipMember& m) { m.crcError = 1; })),
              "its zip archive is damaged: checksum error in its description");
    EXPECT_EQ(problem(changed([](ZipMember& m) { m.sizeError = 1; })),
              "its zip archive is damaged: " + std::to_string(kXml.size()) +
                  " bytes cannot unpack to " + std::to_string(kXml.size() + 1));
    EXPECT_EQ(problem(changed([](ZipMember& m) { m.content.clear(); })),
              "its zip archive contains a description of 0 bytes; 1 byte to 16 MiB is allowed");
    EXPECT_EQ(problem(MakeZip({{.name = "Camera/", .content = ""}})),
              "its zip archive is damaged: its directory lists no file");
}

TEST(DescriptionArchiveTest, RefusesATextThatIsTooLargeBeforeItIsUnpacked) {
    std::string xml;
    std::string why;
    const std::string bomb = MakeZip({MakeBomb("a.xml", 17)});
    EXPECT_FALSE(UnpackDescription(std::as_bytes(std::span(bomb)), xml, why));
    EXPECT_EQ(
        why,
        "its zip archive contains a description of 17825792 bytes; 1 byte to 16 MiB is allowed");
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
