// Packages of every kind and state of damage: none crashes the reader, what cannot be unpacked
// gives no path, and what was unpacked of it stays in /tmp.
#include <filesystem>
#include <fstream>
#include <memory>

#include <sys/mount.h>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <miniz.h>

#include "PackageArchive.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "ZipBuilder.h"
#include "ZipFwFileReader.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint16_t kEncrypted = 1;
constexpr std::uint32_t kDosDirectory = 0x10;

/// Runs in a /tmp of its own (see tests/isolated.sh).
class PackageArchiveTest : public testing::Test {
  protected:
    [[nodiscard]] std::string Archive() const { return (folder.Path() / "fw.zip").string(); }

    /// Unpacks "a.dfw". @return its bytes; "none" if ExtractFile returned no path
    std::string Unpack(const std::string& archive, const std::string& name = "a.dfw") {
        reader = std::make_unique<ZipFwFileReader>("", archive);
        const std::string path = reader->ExtractFile(name);
        return path.empty() ? "none" : ReadFile(path);
    }
    std::string UnpackBytes(const std::string& bytes) {
        return Unpack(folder.Write("fw.zip", bytes));
    }
    /// The contents of the files that stay in /tmp when the reader is gone.
    std::vector<std::string> LeftBehind() {
        reader.reset();
        std::vector<std::string> contents;
        for (const fs::directory_entry& entry : fs::directory_iterator("/tmp")) {
            if (entry.is_regular_file()) {
                contents.push_back(ReadFile(entry.path()));
            }
        }
        return contents;
    }
    /// Makes an archive with Info-ZIP's zip.
    void Zip(const std::vector<std::string>& options, const std::string& content) {
        folder.Write("a.dfw", content);
        std::vector<std::string> command = {"zip", "-q", "-j"};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back(Archive());
        command.push_back((folder.Path() / "a.dfw").string());
        const ProcessResult result = Process::Run(command);
        ASSERT_EQ(result.exitStatus, 0) << result.out << result.err;
    }

    TemporaryFolder folder;
    std::unique_ptr<ZipFwFileReader> reader;
};

}  // namespace

TEST_F(PackageArchiveTest, StoredDeflatedAndZip64ArchivesOfInfoZipAreRead) {
    const std::string content = RandomBytes(300'000, 1) + std::string(300'000, 'z');
    for (const char* option : {"-0", "-1", "-9", "-fz"}) {
        fs::remove(Archive());
        Zip({option}, content);
        EXPECT_EQ(Unpack(Archive()), content) << option;
    }
    EXPECT_THAT(LeftBehind(), testing::IsEmpty());
}

TEST_F(PackageArchiveTest, AMemberWhoseSizesFollowItIsRead) {
    constexpr std::size_t kFlags = 6;  // of a local header
    constexpr char kSizesFollow = 8;
    const std::string content = RandomBytes(300'000, 5) + std::string(300'000, 'z');
    for (const char* option : {"-0", "-9"}) {
        fs::remove(Archive());
        Zip({option, "-fd"}, content);
        ASSERT_EQ(ReadFile(Archive()).at(kFlags) & kSizesFollow, kSizesFollow);
        EXPECT_EQ(Unpack(Archive()), content) << option;
    }
}

TEST_F(PackageArchiveTest, ANameWithTwoDotsOrBackslashesIsATextLikeAnyOther) {
    for (const char* name :
         {"../a.dfw", "../../etc/a.dfw", "/etc/a.dfw", "fw\\a.dfw", "..\\a.dfw"}) {
        const std::string archive = folder.Write("fw.zip", MakeZip({{name, "payload"}}));
        EXPECT_EQ(Unpack(archive), "payload") << name;
        EXPECT_EQ(Unpack(archive, name), "payload") << name;
        EXPECT_THAT(reader->ExtractFile(name), testing::MatchesRegex("/tmp/dfw-[A-Za-z0-9]{6}"));
    }
    EXPECT_THAT(LeftBehind(), testing::IsEmpty());
    EXPECT_FALSE(fs::exists("/etc/a.dfw"));
    EXPECT_FALSE(fs::exists("/a.dfw"));
}

TEST_F(PackageArchiveTest, AStoredMemberIsUnpacked) {
    const std::string content = RandomBytes(1'000'003, 2);
    EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", content}})), content);
}

TEST_F(PackageArchiveTest, ADeflatedMemberIsUnpacked) {
    const std::string content = RandomBytes(1'000'003, 3) + std::string(5'000'000, 'x');
    EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", content, ZipMember::kDeflated}})), content);
}

TEST_F(PackageArchiveTest, AZip64MemberIsUnpacked) {
    for (const std::uint16_t method : {ZipMember::kStored, ZipMember::kDeflated}) {
        EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", "sixty-four bits", method, true}})),
                  "sixty-four bits");
    }
}

TEST_F(PackageArchiveTest, AnEmptyMemberIsAnEmptyFile) {
    for (const std::uint16_t method : {ZipMember::kStored, ZipMember::kDeflated}) {
        EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", "", method}})), "");
    }
    EXPECT_THAT(LeftBehind(), testing::IsEmpty());
}

TEST_F(PackageArchiveTest, AnArchiveCutAnywhereIsRefused) {
    const std::string whole = MakeZip({{"Manifest.xml", "<m/>"}, {"a.dfw", "payload"}});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(UnpackBytes(whole.substr(0, length)), "none") << length;
    }
    EXPECT_EQ(UnpackBytes(whole), "payload");
    EXPECT_THAT(LeftBehind(), testing::IsEmpty());
}

TEST_F(PackageArchiveTest, AMemberWhoseCrcIsWrongFailsAndItsBytesStayInTmp) {
    for (const std::uint16_t method : {ZipMember::kStored, ZipMember::kDeflated}) {
        ZipMember member = {"a.dfw", "payload", method};
        member.crcError = 1;
        EXPECT_EQ(UnpackBytes(MakeZip({member})), "none");
    }
    EXPECT_THAT(LeftBehind(), testing::ElementsAre("payload", "payload"));
}

TEST_F(PackageArchiveTest, ADamagedByteIsFound) {
    const std::string content = RandomBytes(500'000, 4) + std::string(500'000, 'x');
    for (const std::uint16_t method : {ZipMember::kStored, ZipMember::kDeflated}) {
        std::string bytes = MakeZip({{"a.dfw", content, method}});
        bytes[250'000] = static_cast<char>(bytes[250'000] ^ 0x10);
        EXPECT_EQ(UnpackBytes(bytes), "none");
    }
    EXPECT_THAT(LeftBehind(), testing::SizeIs(2));
}

TEST_F(PackageArchiveTest, AMemberThatDeclaresAnotherSizeFails) {
    for (const std::int64_t error : {-3, 3}) {
        ZipMember member = {"a.dfw", "payload", ZipMember::kDeflated};
        member.sizeError = error;
        EXPECT_EQ(UnpackBytes(MakeZip({member})), "none") << error;
    }
}

TEST_F(PackageArchiveTest, AMemberThatUnpacksToMoreThanItDeclaresStopsThere) {
    ZipMember bomb = MakeBomb("a.dfw", 64);
    bomb.sizeError = 1024 * 1024 - 64 * 1024 * 1024;
    EXPECT_EQ(UnpackBytes(MakeZip({bomb})), "none");
    const std::vector<std::string> left = LeftBehind();
    ASSERT_EQ(left.size(), 1U);
    // miniz notices it after the piece of 32 KiB that is too much, compat/miniz before.
    EXPECT_LE(left[0].size(), (1024U + 32U) * 1024U);
}

TEST_F(PackageArchiveTest, AnEncryptedMemberFailsAndLeavesAnEmptyFile) {
    Zip({"-e", "-P", "secret"}, "payload");
    EXPECT_EQ(Unpack(Archive()), "none");
    EXPECT_THAT(LeftBehind(), testing::ElementsAre(""));
}

TEST_F(PackageArchiveTest, AMemberMarkedAsEncryptedFails) {
    EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", "payload", 0, false, kEncrypted}})), "none");
}

TEST_F(PackageArchiveTest, AnotherCompressionFailsAndLeavesAnEmptyFile) {
    Zip({"-Z", "bzip2"}, std::string(10'000, 'x'));
    EXPECT_EQ(Unpack(Archive()), "none");
    EXPECT_THAT(LeftBehind(), testing::ElementsAre(""));
    EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw", "payload", 99}})), "none");
}

TEST_F(PackageArchiveTest, AFolderThatMatchesFirstFails) {
    EXPECT_EQ(UnpackBytes(MakeZip({{"a.dfw/", ""}, {"a.dfw/a.dfw", "payload"}})), "none");
    ZipMember marked = {"a.dfw", "payload"};
    marked.externalAttributes = kDosDirectory;
    EXPECT_EQ(UnpackBytes(MakeZip({marked, {"b/a.dfw", "payload"}})), "none");
    EXPECT_THAT(LeftBehind(), testing::ElementsAre("", ""));
}

TEST_F(PackageArchiveTest, SaysWhatItsDirectorySaysOfEachMember) {
    ZipMember encrypted = {"secret", "xyz", ZipMember::kStored, false, kEncrypted};
    folder.Write("fw.zip", MakeZip({{"b/a.dfw", std::string(1000, 'x'), ZipMember::kDeflated},
                                    {"folder/", ""},
                                    encrypted}));
    const PackageArchive archive(Archive());
    EXPECT_TRUE(archive.IsOpen());
    ASSERT_EQ(archive.Count(), 3U);
    const auto payload = archive.At(0);
    ASSERT_TRUE(payload.has_value());
    EXPECT_EQ(payload->name, "b/a.dfw");
    EXPECT_EQ(payload->size, 1000U);
    EXPECT_LT(payload->compressedSize, 1000U);
    EXPECT_FALSE(payload->isFolder);
    EXPECT_TRUE(payload->isSupported);
    EXPECT_TRUE(archive.At(1)->isFolder);
    EXPECT_FALSE(archive.At(2)->isSupported);
    EXPECT_FALSE(archive.At(3).has_value());
    EXPECT_EQ(archive.Find("a.dfw"), 0U);
    EXPECT_FALSE(archive.Find("b.dfw").has_value());
    EXPECT_FALSE(archive.Extract(3, (folder.Path() / "out").string()));
    EXPECT_FALSE(fs::exists(folder.Path() / "out"));
}

TEST_F(PackageArchiveTest, HasNoMembersWhereThereIsNoArchive) {
    const PackageArchive archive(Archive());
    EXPECT_FALSE(archive.IsOpen());
    EXPECT_EQ(archive.Count(), 0U);
    EXPECT_FALSE(archive.At(0).has_value());
    EXPECT_FALSE(archive.Find("").has_value());
}

TEST_F(PackageArchiveTest, ADamagedMemberDoesNotDisturbAnother) {
    ZipMember damaged = {"b.dfw", "damaged"};
    damaged.crcError = 1;
    EXPECT_EQ(UnpackBytes(MakeZip({damaged, {"a.dfw", "payload"}})), "payload");
}

TEST_F(PackageArchiveTest, ManyMembersAreSearched) {
    std::vector<ZipMember> members;
    for (int i = 0; i < 5000; ++i) {
        members.push_back({"member" + std::to_string(i), "x"});
    }
    members.push_back({"a.dfw", "payload"});
    EXPECT_EQ(UnpackBytes(MakeZip(members)), "payload");
}

TEST_F(PackageArchiveTest, ALongNameIsComparedUpToItsFirst511Bytes) {
    const std::string name = std::string(505, 'n') + "a.dfw";
    EXPECT_EQ(UnpackBytes(MakeZip({{name, "payload"}})), "payload");
    EXPECT_EQ(UnpackBytes(MakeZip({{"nn" + name, "payload"}})), "none");
}

TEST_F(PackageArchiveTest, AMemberIsFoundByItsStoredNameWhateverItsUnicodePathSays) {
    ZipMember renamed = {"a.dfw", "payload"};
    // Version 1, CRC-32 of the stored name, and the name that other programs take (0x7075).
    renamed.extra = ZipExtra(0x7075, std::string("\x01\xAF\x3A\x85\x90", 5) + "b.dfw");
    const std::string archive = folder.Write("fw.zip", MakeZip({renamed}));
    ASSERT_THAT(Process::Run({"zipinfo", "-1", archive}).out, testing::StartsWith("b.dfw"));
    EXPECT_EQ(Unpack(archive), "payload");
    EXPECT_EQ(Unpack(archive, "b.dfw"), "none");
}

TEST_F(PackageArchiveTest, AStoredNameEndsAtItsFirstZeroByte) {
    EXPECT_EQ(UnpackBytes(MakeZip({{std::string("b.dfw\0/a.dfw", 12), "hidden"},
                                   {std::string("a.dfw\0.txt", 10), "payload"}})),
              "payload");
    EXPECT_EQ(Unpack(Archive(), "a.dfw ."), "none");
    EXPECT_EQ(Unpack(Archive(), "txt"), "none");
}

TEST_F(PackageArchiveTest, ASmallMemberWithStrongEncryptionDoesNotHideTheOthers) {
    ZipMember secret = {"secret.txt", "tiny", 99, false, kEncrypted};
    secret.extra = ZipExtra(0x9901, std::string("\x02\0AE\x03\0\0", 7));  // AES-256, stored
    EXPECT_EQ(UnpackBytes(MakeZip({secret, {"a.dfw", "payload"}})), "payload");
    EXPECT_EQ(Unpack(Archive(), "secret.txt"), "none");
}

TEST_F(PackageArchiveTest, OfTwoArchivesInOneFileTheLastIsRead) {
    const std::string first = MakeZip({{"a.dfw", "old"}, {"b.dfw", "old"}});
    EXPECT_EQ(UnpackBytes(first + MakeZip({{"a.dfw", "payload"}}, first.size())), "payload");
    EXPECT_EQ(Unpack(Archive(), "b.dfw"), "none");
}

TEST_F(PackageArchiveTest, OfTwoEndRecordsTheLastCounts) {
    const std::string archive = MakeZip({{"a.dfw", "payload"}});
    std::string empty = MakeZip({});
    EXPECT_EQ(UnpackBytes(archive + empty), "none");
    EXPECT_EQ(UnpackBytes(archive + archive.substr(archive.size() - 22)), "payload");
    // In the comment of the first one, too.
    std::string commented = archive;
    commented[commented.size() - 2] = static_cast<char>(empty.size());
    EXPECT_EQ(UnpackBytes(commented + empty), "none");
}

TEST_F(PackageArchiveTest, AnOddMemberThatIsNotAskedForDoesNoHarm) {
    constexpr std::uint16_t kUtf8 = 1U << 11U;
    ZipMember wronglyMarked = {"\xFF\xFE", "x", 0, false, kUtf8};
    ZipMember malformedExtra = {"b", "x"};
    malformedExtra.extra = std::string("\x55\x54\x50\0z", 5);  // announces 80 bytes, has one
    EXPECT_EQ(UnpackBytes(MakeZip({wronglyMarked, malformedExtra, {"a.dfw", "payload"}})),
              "payload");
}

TEST_F(PackageArchiveTest, FourGibibytesOfZerosAreUnpackedInBoundedMemory) {
    const std::string path = folder.Write("fw.zip", MakeZip({MakeBomb("a.dfw", 4096)}));
    EXPECT_LT(fs::file_size(path), 5'000'000U);
    mz_zip_archive archive = {};
    ASSERT_TRUE(mz_zip_reader_init_file(&archive, path.c_str(), 0));
    rusage before = {};
    rusage after = {};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_TRUE(mz_zip_reader_extract_to_file(&archive, 0, "/dev/null", 0));
    getrusage(RUSAGE_SELF, &after);
    EXPECT_TRUE(mz_zip_reader_end(&archive));
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 8 * 1024) << "KiB";
}

TEST_F(PackageArchiveTest, ATmpThatFillsUpIsAFailedExtraction) {
    // The archive on a file system of its own, a /tmp of one mebibyte over the other.
    ASSERT_EQ(mount("tmpfs", "/mnt", "tmpfs", 0, "size=64m"), 0);
    std::ofstream("/mnt/fw.zip", std::ios::binary) << MakeZip({MakeBomb("a.dfw", 4096)});
    ASSERT_EQ(mount("tmpfs", "/tmp", "tmpfs", 0, "size=1m"), 0);
    EXPECT_EQ(Unpack("/mnt/fw.zip"), "none");
    reader.reset();
    const fs::directory_iterator left("/tmp");
    ASSERT_EQ(std::distance(begin(left), end(left)), 1);
    EXPECT_LE(fs::begin(fs::directory_iterator("/tmp"))->file_size(), 1024U * 1024U);
    // The reader's own descriptor keeps it busy.
    ASSERT_EQ(umount2("/tmp", MNT_DETACH), 0);
    ASSERT_EQ(umount("/mnt"), 0);
}
