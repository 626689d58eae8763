// The real binary and packages of every kind and state of damage: what is transferred, what is
// said, and what stays in /tmp.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstdlib>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Left = testing::Matcher<const std::multimap<std::string, std::uintmax_t>&>;

constexpr std::uint16_t kEncrypted = 1;
constexpr std::uint32_t kDosDirectory = 0x10;
constexpr std::uint16_t kPpmd = 98;
constexpr std::uintmax_t kMebibyte = 1024 * 1024;
#ifdef MIRSKO_SANITIZED
constexpr long kMostMemoryKiB = 1024 * 1024;  // the sanitizers' own
#else
constexpr long kMostMemoryKiB = 32 * 1024;
#endif

const std::string kDone =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
    "Resetting device\nFirmware upload complete.\n";
const std::string kFailed = "Starting update...\n\nUpdate failed.\n";
const std::string kCannotUnpack = "cannot be unpacked (damaged, encrypted, or /tmp is full)\n";
const std::string kNoManifest =
    "Manifest.xml:1: it is empty, missing from the package, or " + kCannotUnpack;

std::string FailedUpload(const std::string& transport) {
    return "Cannot read the payload: it is missing from the package or " + kCannotUnpack +
           "Step 1 of procedure \"p\", FileUpload of \"a.dfw\" by " + transport +
           ", failed with code 1: the file was not transferred, or the device did not accept it\n";
}

std::string Body() {
    return RandomBytes(100000, 1) + std::string(100000, 'z');
}

std::string Payload() {
    return MakePayload(Body());
}

/// A package of a manifest that uploads "a.dfw", and that member.
std::vector<ZipMember> Members(const std::string& transport = "GenICam") {
    return {{"Manifest.xml", MakeManifest(Upload("a.dfw", transport))}, {"a.dfw", Payload()}};
}

std::string With(const std::function<void(ZipMember& manifest, ZipMember& payload)>& change,
                 const std::string& transport = "GenICam") {
    std::vector<ZipMember> members = Members(transport);
    change(members[0], members[1]);
    return MakeZip(members);
}

struct ArchiveCase {
    std::string name;
    std::function<std::string()> archive;
    std::string out;
    std::string err;
    Left left = IsEmpty();
};

void PrintTo(const ArchiveCase& one, std::ostream* stream) {
    *stream << one.name;
}

/// The case with either way of transfer.
std::vector<ArchiveCase> BothWays(const std::string& name,
                                  const std::function<void(ZipMember&, ZipMember&)>& change,
                                  const Left& left) {
    std::vector<ArchiveCase> cases;
    for (const char* transport : {"GenICam", "TFTP"}) {
        cases.push_back({name + "By" + transport,
                         [change, transport] { return With(change, transport); }, kFailed,
                         FailedUpload(transport), left});
    }
    return cases;
}

std::vector<ArchiveCase> GoodCases() {
    const auto good = [](const std::string& name,
                         const std::function<void(ZipMember&, ZipMember&)>& change) {
        return ArchiveCase{name, [change] { return With(change); }, kDone, ""};
    };
    return {
        good("Stored", [](ZipMember&, ZipMember&) {}),
        good("Deflated",
             [](ZipMember& manifest, ZipMember& payload) {
                 manifest.method = ZipMember::kDeflated;
                 payload.method = ZipMember::kDeflated;
             }),
        good("Zip64",
             [](ZipMember& manifest, ZipMember& payload) {
                 manifest.zip64 = true;
                 payload.zip64 = true;
             }),
        good("DeflatedZip64",
             [](ZipMember&, ZipMember& payload) {
                 payload.method = ZipMember::kDeflated;
                 payload.zip64 = true;
             }),
        good("InFolders",
             [](ZipMember& manifest, ZipMember& payload) {
                 manifest.name = "fw/Manifest.xml";
                 payload.name = "fw/camera/a.dfw";
             }),
    };
}

std::vector<ArchiveCase> BadPayloadCases() {
    const Left empty = ElementsAre(Pair("dfw", 0));
    const Left whole = ElementsAre(Pair("dfw", Payload().size()));
    std::vector<ArchiveCase> cases;
    const auto add = [&cases](const std::vector<ArchiveCase>& more) {
        cases.insert(cases.end(), more.begin(), more.end());
    };
    add(BothWays(
        "MissingMember", [](ZipMember&, ZipMember& payload) { payload.name = "b.dfw"; },
        IsEmpty()));
    add(BothWays(
        "EncryptedMember", [](ZipMember&, ZipMember& payload) { payload.flags = kEncrypted; },
        empty));
    add(BothWays(
        "DamagedStoredMember", [](ZipMember&, ZipMember& payload) { payload.crcError = 1; },
        whole));
    add(BothWays(
        "DamagedDeflatedMember",
        [](ZipMember&, ZipMember& payload) {
            payload.method = ZipMember::kDeflated;
            payload.crcError = 1;
        },
        whole));
    add(BothWays(
        "UnknownCompression", [](ZipMember&, ZipMember& payload) { payload.method = kPpmd; },
        empty));
    add(BothWays(
        "FolderOfThatName",
        [](ZipMember&, ZipMember& payload) {
            payload = {"a.dfw/", ""};
            payload.externalAttributes = kDosDirectory;
        },
        empty));
    return cases;
}

std::vector<ArchiveCase> BadManifestCases() {
    return {
        {"MalformedManifest",
         [] {
             return With([](ZipMember& manifest, ZipMember&) {
                 manifest.content = "<FirmwareUpdate>\n  <Foo>\n</FirmwareUpdate>";
             });
         },
         "", "Manifest.xml:3:18: Opening and ending tag mismatch: Foo line 2 and FirmwareUpdate\n"},
        {"ManifestAgainstTheGrammar",
         [] {
             return With([](ZipMember& manifest, ZipMember&) {
                 manifest.content = MakeManifest("<FeatureRead/>");
             });
         },
         "",
         "Manifest.xml:1: <FeatureRead> is not expected here: <Procedure> holds 1 to 256 steps: "
         "<FileUpload>, <FeatureAssert>, <FeatureWrite>, <FeatureExecute>, <DeviceReset>\n"},
        {"NoManifest", [] { return MakeZip({Members()[1]}); }, "", kNoManifest},
        {"ManifestInLowerCase",
         [] {
             return With([](ZipMember& manifest, ZipMember&) { manifest.name = "manifest.xml"; });
         },
         "", kNoManifest},
        {"NoMembers", [] { return MakeZip({}); }, "", kNoManifest},
        {"EmptyFile", [] { return std::string(); }, "", kNoManifest},
        {"NotAnArchive", [] { return std::string("not an archive"); }, "", kNoManifest},
        {"Truncated",
         [] {
             const std::string whole = MakeZip(Members());
             return whole.substr(0, whole.size() / 2);
         },
         "", kNoManifest},
        {"WithoutItsLastByte",
         [] {
             const std::string whole = MakeZip(Members());
             return whole.substr(0, whole.size() - 1);
         },
         "", kNoManifest},
        {"EmptyManifest",
         [] { return With([](ZipMember& manifest, ZipMember&) { manifest.content.clear(); }); }, "",
         kNoManifest},
        {"EncryptedManifest",
         [] { return With([](ZipMember& manifest, ZipMember&) { manifest.flags = kEncrypted; }); },
         "", kNoManifest, ElementsAre(Pair("xml", 0))},
        {"DamagedManifest",
         [] { return With([](ZipMember& manifest, ZipMember&) { manifest.crcError = 1; }); }, "",
         kNoManifest, ElementsAre(Pair("xml", Members()[0].content.size()))},
    };
}

/// Updates the camera on loopback by this package, which must take little memory.
ProcessResult Update(const std::string& package, const TemporaryFolder& folder) {
    const std::string peak = (folder.Path() / "peak").string();
    ProcessResult result = Process::Run({MIRSKO_BUILD_FOLDER "/tests/peak_memory", peak,
                                         Program("MirskoFirmwareUpdater"), kLoopback, package});
    EXPECT_LT(std::stol(ReadFile(peak)), kMostMemoryKiB);
    return result;
}

class PackageArchivesTest : public testing::TestWithParam<ArchiveCase> {};

std::string NameOf(const testing::TestParamInfo<ArchiveCase>& info) {
    return info.param.name;
}

/// Puts what the test itself writes elsewhere and gives /tmp room for one mebibyte.
class FullTmpTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(mount("tmpfs", "/mnt", "tmpfs", 0, "size=64m"), 0);
        ASSERT_EQ(setenv("TMPDIR", "/mnt", 1), 0);
        ASSERT_EQ(mount("tmpfs", "/tmp", nullptr, MS_REMOUNT, "size=1m"), 0);
        mFolder = std::make_unique<TemporaryFolder>();
    }

    [[nodiscard]] std::string Package(const std::vector<ZipMember>& members) const {
        return mFolder->Write("package.zip", MakeZip(members));
    }

    void ExpectRun(const std::string& package, const std::string& out, const std::string& err,
                   const Left& left) const {
        SimulatedCamera camera({"--profile", "file-access"});
        const ProcessResult result = Update(package, *mFolder);
        EXPECT_EQ(WithoutLabels(result.out), out);
        EXPECT_EQ(result.err, err);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(camera.Firmware(), "");
        EXPECT_THAT(UnpackedFiles(), left);
    }

    std::unique_ptr<TemporaryFolder> mFolder;
};

}  // namespace

TEST_P(PackageArchivesTest, IsTransferredOrRefusedWithAClearLine) {
    SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    const ProcessResult result = Update(folder.Write("package.zip", GetParam().archive()), folder);
    EXPECT_EQ(WithoutLabels(result.out), GetParam().out);
    EXPECT_EQ(result.err, GetParam().err);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(camera.Firmware() == (GetParam().out == kDone ? Body() : ""));
    EXPECT_THAT(UnpackedFiles(), GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(Good, PackageArchivesTest, testing::ValuesIn(GoodCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(BadPayload, PackageArchivesTest, testing::ValuesIn(BadPayloadCases()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(BadManifest, PackageArchivesTest, testing::ValuesIn(BadManifestCases()),
                         NameOf);

TEST_F(FullTmpTest, APayloadOfFourGibibytesOfZerosIsAFailedUpload) {
    const std::string package = Package({Members()[0], MakeBomb("a.dfw", 4096)});
    ExpectRun(package, kFailed, FailedUpload("GenICam"),
              ElementsAre(Pair("dfw", testing::AllOf(testing::Gt(0U), testing::Le(kMebibyte)))));
}

TEST_F(FullTmpTest, AManifestOfFourGibibytesOfZerosIsRefused) {
    const std::string package = Package({MakeBomb("Manifest.xml", 4096), Members()[1]});
    ExpectRun(package, "", kNoManifest,
              ElementsAre(Pair("xml", testing::AllOf(testing::Gt(0U), testing::Le(kMebibyte)))));
}
