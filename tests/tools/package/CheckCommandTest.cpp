#include <nlohmann/json.hpp>

#include <NxDevice/NxDfwPayload.h>

#include "PackageArchive.h"
#include "PackageFiles.h"
#include "PackageTool.h"
#include "ZipBuilder.h"

constexpr std::uint16_t kEncrypted = 1;
constexpr std::uint16_t kBzip2 = 12;

class CheckCommandTest : public PackageTool {
  protected:
    static std::vector<ZipMember> Members(const std::string& manifest = GoodManifest(),
                                          const std::string& payload = GoodPayload()) {
        return {{"Manifest.xml", manifest}, {"a.dfw", payload}};
    }

    /// Checks a package with this manifest and a good a.dfw.
    void ExpectFindings(const std::string& manifest, const std::string& findings) const {
        ExpectFindings(Members(manifest), findings);
    }

    void ExpectFindings(const std::vector<ZipMember>& members, const std::string& findings) const {
        mFolder.Write("p.zip", MakeZip(members));
        Expect({"check", "@p.zip"}, 1, findings, "");
    }

    static std::string WithCondition(const std::string& condition) {
        std::string manifest = GoodManifest();
        return manifest.replace(manifest.find("</Update>"), 0, condition);
    }
};

TEST_F(CheckCommandTest, FindsNothingInAGoodPackage) {
    mFolder.Write("p.zip", MakeZip(Members()));
    Expect({"check", "@p.zip"}, 0, "@p.zip: no problems found\n", "");
    Expect({"check", "--model", "M", "@p.zip"}, 0, "@p.zip: no problems found\n", "");
}

TEST_F(CheckCommandTest, TellsWhatIsNoPackage) {
    Expect({"check", "@p.zip"}, 1, "error: @p.zip: No such file or directory\n", "");
    mFolder.Write("p.zip", "no archive at all, though long enough to be one");
    Expect({"check", "@p.zip"}, 1, "error: @p.zip: not a zip archive, or damaged\n", "");
    mFolder.Write("p.zip", MakeZip({}));
    Expect({"check", "@p.zip"}, 1, "error: @p.zip: no \"Manifest.xml\" in the archive\n", "");
}

TEST_F(CheckCommandTest, TellsWhereAManifestBreaksTheGrammar) {
    ExpectFindings(
        "<FirmwareUpdate>\n</Firmware>",
        "error: Manifest.xml:2:12: Opening and ending tag mismatch: FirmwareUpdate line 1 and "
        "Firmware\n");
}

TEST_F(CheckCommandTest, TellsOfAManifestThatIsTooLarge) {
    ExpectFindings(std::string(2000000, ' '), "error: Manifest.xml: larger than 1048576 bytes\n");
}

TEST_F(CheckCommandTest, TellsOfBytesThatTheUpdaterDoesNotRead) {
    ExpectFindings(GoodManifest() + std::string("\0<more/>", 8),
                   "warning: Manifest.xml contains a zero byte; the updater reads only up to it\n");
}

TEST_F(CheckCommandTest, FindsAMissingMember) {
    ExpectFindings(GoodManifest(Upload("a.dfw") + Upload("b.dfw")),
                   "error: b.dfw: not in the package\n");
}

TEST_F(CheckCommandTest, TellsWhichMembersTheUpdaterTakes) {
    ExpectFindings({{"fw/old-a.dfw", GoodPayload()},
                    {"Manifest.xml.old", GoodManifest()},
                    {"Manifest.xml", "<a/>"},
                    {"a.dfw", GoodPayload()}},
                   "warning: the updater uses the member \"Manifest.xml.old\" as the manifest, "
                   "because it is the first whose name contains \"Manifest.xml\"\n"
                   "error: a.dfw: the updater uses the member \"fw/old-a.dfw\" for it, because "
                   "that is the first "
                   "whose name contains \"a.dfw\"\n");
}

TEST_F(CheckCommandTest, AllowsMembersInFoldersWithAWarning) {
    ExpectFindings({{"Manifest.xml", GoodManifest()}, {"fw/a.dfw", GoodPayload()}},
                   "warning: a.dfw: the updater uses the member \"fw/a.dfw\" for it\n");
}

TEST_F(CheckCommandTest, FindsDamagedMembers) {
    std::string bytes = MakeZip(Members(GoodManifest(), GoodPayload(std::string(100, 'f'))));
    bytes[bytes.find("ffff")] = 'g';
    mFolder.Write("p.zip", bytes);
    Expect({"check", "@p.zip"}, 1,
           "error: a.dfw: damaged: cannot be unpacked, or fails the length or CRC check\n", "");
}

TEST_F(CheckCommandTest, FindsMembersThatTheUpdaterCannotUnpack) {
    const std::string finding =
        "error: a.dfw: encrypted, or compressed by a method other than deflate\n";
    std::vector<ZipMember> members = Members();
    members[1].flags = kEncrypted;
    ExpectFindings(members, finding);
    members = Members();
    members[1].method = kBzip2;
    ExpectFindings(members, finding);
    ExpectFindings({{"Manifest.xml", GoodManifest()}, {"a.dfw/", ""}},
                   "warning: a.dfw: the updater uses the member \"a.dfw/\" for it\n"
                   "error: a.dfw/: is a folder\n");
}

TEST_F(CheckCommandTest, SeesNamesAsTheUpdaterDoes) {
    const std::string missing = "error: a.dfw: not in the package\n";
    const auto findings = [this](const std::string& name, const std::string& text) {
        mFolder.Write("p.zip", MakeZip({{"Manifest.xml", GoodManifest()}, {name, GoodPayload()}}));
        Expect({"check", "@p.zip"}, 1, text, "");
    };
    // The updater looks at 511 bytes of a name, and at none after a zero byte.
    findings(std::string(507, 'n') + "a.dfw", missing);
    findings(std::string("x\0a.dfw", 7), missing);
    findings(std::string("a.dfw\0x", 7) + "/", "error: a.dfw: is a folder\n");
}

TEST_F(CheckCommandTest, FindsFoldersByTheirAttributesToo) {
    ZipMember member{.name = "a.dfw", .content = GoodPayload()};
    member.externalAttributes = 0x10;
    mFolder.Write("p.zip", MakeZip({{"Manifest.xml", GoodManifest()}, member}));
    Expect({"check", "@p.zip"}, 1, "error: a.dfw: is a folder\n", "");
}

TEST_F(CheckCommandTest, FindsAFirstMemberWithoutWhichTheUpdaterFindsNone) {
    // Its sizes are said to be in a zip64 field that it does not have in full.
    ZipMember first{.name = "readme.txt", .content = "x", .zip64 = true};
    std::string bytes =
        MakeZip({first, {"Manifest.xml", GoodManifest()}, {"a.dfw", GoodPayload()}});
    bytes[bytes.rfind(std::string("readme.txt\x01\0\x10", 13)) + 12] = '\x08';
    mFolder.Write("p.zip", bytes);
    Expect({"check", "@p.zip"}, 1,
           "error: @p.zip: its first member is unreadable, so the updater cannot find any member\n",
           "");
}

TEST_F(CheckCommandTest, FindsNothingInAPackageExactlyWhenItsFilesCanBeUnpacked) {
    const std::string payload = GoodPayload(std::string(3000, 'f'));
    const std::string good =
        MakeZip({{"Manifest.xml", GoodManifest(), ZipMember::kDeflated}, {"a.dfw", payload}});
    const auto unpacks = [&](const std::string& name, const std::string& content) {
        const PackageArchive archive(Path("p.zip"));
        const auto member = archive.Find(name);
        return member && archive.Extract(*member, Path("unpacked")) &&
               ReadFile(Path("unpacked")) == content;
    };
    std::size_t readable = 0;
    std::size_t refused = 0;
    // A bit here and there: in names, sizes, flags, offsets, data and records.
    for (std::size_t at = 0; at < good.size(); at += at < 200 || at > good.size() - 200 ? 3 : 97) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << at % 8));
        mFolder.Write("p.zip", bytes);
        const bool isGood = unpacks("Manifest.xml", GoodManifest()) && unpacks("a.dfw", payload);
        const ProcessResult check = Run({"check", "@p.zip"});
        EXPECT_EQ(check.out.find("error: ") == std::string::npos, isGood)
            << at << ": " << check.out;
        ++(isGood ? readable : refused);
    }
    EXPECT_GT(readable, 20U);
    EXPECT_GT(refused, 20U);
}

TEST_F(CheckCommandTest, FindsDamagedPayloads) {
    const auto findings = [this](const std::string& payload, const std::string& text) {
        ExpectFindings(Members(GoodManifest(), payload), text);
        EXPECT_EQ(Files(), std::vector<std::string>{"p.zip"});
    };
    std::string damaged = GoodPayload();
    damaged.back() = 'x';
    findings(damaged, "error: a.dfw is not a firmware payload: checksum error in its body\n");
    findings(
        GoodPayload() + "x",
        "error: a.dfw is not a firmware payload: its body has 9 bytes, but its header says 8\n");
    findings("MDFW and then nothing that a header could be",
             "error: a.dfw is not a firmware payload: it ends after 44 of the 64 bytes of its "
             "header\n");
    findings("just bytes",
             "warning: a.dfw: no payload header; the updater transfers it as is, but cannot set a "
             "device ID or reset the device over TFTP\n");
}

TEST_F(CheckCommandTest, FindsAPayloadThatUnpacksToMoreThanTheArchiveSays) {
    ZipMember member{.name = "a.dfw", .content = GoodPayload(), .method = ZipMember::kDeflated};
    member.sizeError = 8 - static_cast<std::int64_t>(member.content.size());
    mFolder.Write("p.zip", MakeZip({{"Manifest.xml", GoodManifest()}, member}));
    Expect({"check", "@p.zip"}, 1,
           "error: a.dfw: damaged: cannot be unpacked, or fails the length or CRC check\n", "");
}

TEST_F(CheckCommandTest, FindsRecordsInThePlaceOfFirmware) {
    mFolder.Write("firmware.dfw", GoodPayload());
    std::string record(128, '\0');
    unsigned int length = 0;
    ASSERT_TRUE(NxDfwPayload::GetResetRecord(Path("firmware.dfw"),
                                             reinterpret_cast<unsigned char*>(record.data()), 128,
                                             length)
                    .IsOK());
    mFolder.Write("reset.dfw", record.substr(0, length));
    Expect({"check", "@reset.dfw"}, 1,
           "error: @reset.dfw: a device-ID or reset record, not firmware\n", "");
}

TEST_F(CheckCommandTest, WarnsOfStepsThatTheUpdaterRefuses) {
    ExpectFindings(
        GoodManifest(Upload("a.dfw") +
                     "<DeviceReset/>"
                     "<FeatureWrite><FeatureName>F</FeatureName><Value>v</Value></FeatureWrite>"
                     "<FeatureExecute><FeatureName>F</FeatureName></FeatureExecute>"),
        "warning: procedure \"p\", step 2, DeviceReset: the updater refuses this step with code "
        "16, which ends the update; it resets the device on its own after a TFTP upload\n"
        "warning: procedure \"p\", step 3, FeatureWrite: the updater refuses this step with code "
        "1540, which ends the update\n"
        "warning: procedure \"p\", step 4, FeatureExecute: the updater refuses this step with code "
        "1540, which ends the update\n");
}

TEST_F(CheckCommandTest, WarnsOfAnUploadToADeviceThatIsRestarting) {
    ExpectFindings(
        GoodManifest(Upload("a.dfw", "TFTP") + Upload("a.dfw")),
        "warning: procedure \"p\", step 2, FileUpload: after the preceding TFTP upload the updater "
        "resets the device (unless given --noreset), and it may still be restarting\n");
}

TEST_F(CheckCommandTest, WarnsOfWordsThatTheUpdaterTakesOtherwise) {
    ExpectFindings(GoodManifest("<FileUpload Transport=\"tftp\"><FileName>a.dfw</FileName>"
                                "<DeviceFileName>UserSet1</DeviceFileName></FileUpload>"),
                   "warning: procedure \"p\", step 1, FileUpload: the updater treats the transport "
                   "\"tftp\" as GenICam file access\n"
                   "warning: procedure \"p\", step 1, FileUpload: the updater always writes the "
                   "device file \"RemoteUpdateDfw\", not \"UserSet1\"\n");
}

TEST_F(CheckCommandTest, WarnsOfFeaturesThatTheUpdaterAnswersWithTheModel) {
    ExpectFindings(WithCondition("<Condition Feature=\"DeviceVersion\">1.*</Condition>"),
                   "warning: update 1: the updater returns the model name for every feature, "
                   "including \"DeviceVersion\"\n");
    ExpectFindings(GoodManifest("<FeatureAssert><FeatureName>Lens</FeatureName><AssertPattern>x"
                                "</AssertPattern><Message>m</Message></FeatureAssert>" +
                                Upload("a.dfw")),
                   "warning: procedure \"p\", step 1, FeatureAssert: the updater returns the model "
                   "name for every feature, including \"Lens\"\n");
}

TEST_F(CheckCommandTest, WarnsOfWhatIsMissingOrNeverRun) {
    std::string manifest = GoodManifest();
    manifest.replace(manifest.find("<Update "), 0,
                     "<Procedure Id=\"q\">" + Upload("a.dfw") + "</Procedure>");
    const std::string version = "<Info Name=\"Version\">2.1</Info>";
    manifest.replace(manifest.find(version), version.size(), "");
    ExpectFindings(manifest,
                   "warning: procedure \"q\": not used by any update\n"
                   "warning: update 1: the info \"Version\" is missing\n");
}

TEST_F(CheckCommandTest, ExpectsAnUpdateForEachModelNamed) {
    mFolder.Write("p.zip", MakeZip(Members()));
    Expect({"check", "--model", "M", "--model", "N", "@p.zip"}, 1,
           "error: N: No update in this package is for N\n", "");
}

TEST_F(CheckCommandTest, ComparesModelTagsWithTheConditions) {
    const std::string name = "zelka_qrm_lanx_fk02_tc3mn03_128kd.dfw";
    const auto findings = [&](const std::string& pattern, int status, const std::string& text) {
        std::string manifest = GoodManifest(Upload(name));
        manifest.replace(manifest.find(">M<"), 3, ">" + pattern + "<");
        mFolder.Write("p.zip", MakeZip({{"Manifest.xml", manifest}, {name, GoodPayload()}}));
        Expect({"check", "@p.zip"}, status, text, "");
    };
    findings(
        "zELKA-QRm-LanX-FK02-TC3MN03-128kD", 1,
        "warning: update 1: the model name \"zELKA-QRm-LanX-FK02-TC3MN03-128kD\" has 33 "
        "bytes; a GigE Vision device reports at most 31, so only a USB3 Vision device can have "
        "it\n");
    findings("M", 1,
             "warning: " + name +
                 ": named for zELKA-QRm-LanX-FK02-TC3MN03-128kD, but the "
                 "manifest does not upload it to that model\n");
    findings("zELKA-.*", 1,
             "warning: " + name +
                 ": named for zELKA-QRm-LanX-FK02-TC3MN03-128kD, but the "
                 "manifest also uploads it to zELKA-QRm-H-FK02-TC3MN01-128kD\n"
                 "warning: " +
                 name +
                 ": named for zELKA-QRm-LanX-FK02-TC3MN03-128kD, but the "
                 "manifest also uploads it to zELKA-QRm-H-FK02-TC3MN02-128kD\n");
}

TEST_F(CheckCommandTest, ChecksPlainPayloads) {
    mFolder.Write("a.dfw", GoodPayload());
    Expect({"check", "@a.dfw"}, 0, "@a.dfw: no problems found\n", "");
    mFolder.Write("b.dfw", GoodPayload().substr(0, 70));
    Expect({"check", "@b.dfw"}, 1,
           "error: @b.dfw is not a firmware payload: its body has 6 bytes, but its header says 8\n",
           "");
}

TEST_F(CheckCommandTest, ComparesModelTagsOfPlainPayloadsWithTheModelsNamed) {
    mFolder.Write("zelka_qrm_h_fk02_3.dfw", GoodPayload());
    Expect({"check", "@zelka_qrm_h_fk02_3.dfw"}, 1,
           "error: @zelka_qrm_h_fk02_3.dfw: the updater rejects a payload whose path contains "
           "\"zelka_qrm_h_fk02\" for every device\n",
           "");
    mFolder.Write("zelka_qrm_lanx_fk02_tc3mn03_128kd.dfw", GoodPayload());
    Expect({"check", "--model", "M", "@zelka_qrm_lanx_fk02_tc3mn03_128kd.dfw"}, 1,
           "error: M: the updater accepts a payload whose path contains "
           "\"zelka_qrm_lanx_fk02_tc3mn03_128kd\" only for zELKA-QRm-LanX-FK02-TC3MN03-128kD\n",
           "");
    Expect({"check", "--model", "zELKA-QRm-LanX-FK02-TC3MN03-128kD",
            "@zelka_qrm_lanx_fk02_tc3mn03_128kd.dfw"},
           0, "@zelka_qrm_lanx_fk02_tc3mn03_128kd.dfw: no problems found\n", "");
}

TEST_F(CheckCommandTest, ShowsNoControlCharactersOfAMembersName) {
    ExpectFindings(
        {{"Manifest.xml", GoodManifest()}, {"\x1B[2J\u009b2J\u202e\u2028a.dfw", GoodPayload()}},
        "warning: a.dfw: the updater uses the member \"?[2J?2J\?\?a.dfw\" for it\n");
}

TEST_F(CheckCommandTest, WarnsOfANameThatTheUpdaterDoesNotTake) {
    mFolder.Write("p.ZIP", MakeZip(Members()));
    Expect({"check", "@p.ZIP"}, 1,
           "warning: @p.ZIP: the updater accepts only packages whose name ends in \".zip\"\n", "");
}

TEST_F(CheckCommandTest, WarnsOfModelNamesThatNoGigEVisionDeviceReports) {
    const std::string longest(31, 'M');
    mFolder.Write(
        "p.zip", MakeZip(Members(WithCondition("<Condition Feature=\"DeviceModelName\">" + longest +
                                               "|M|N" + longest + "</Condition>"))));
    Expect({"check", "@p.zip"}, 1,
           "warning: update 1: the model name \"N" + longest +
               "\" has 32 bytes; a GigE Vision device reports at most 31, so only a USB3 Vision "
               "device can have it\n",
           "");
    mFolder.Write("q.zip", MakeZip(Members(WithCondition(
                               "<Condition Feature=\"DeviceModelName\">M{40}|.*</Condition>"))));
    Expect({"check", "@q.zip"}, 0, "@q.zip: no problems found\n", "");
}

TEST_F(CheckCommandTest, AcceptsWarningsByNameButNoErrors) {
    mFolder.Write("p.zip", MakeZip(Members(GoodManifest(), "raw image")));
    const std::string text =
        "a.dfw: no payload header; the updater transfers it as is, but cannot set a device ID or "
        "reset the device over TFTP\n";
    Expect({"check", "@p.zip"}, 1, "warning: " + text, "");
    Expect({"check", "--accept", "member-name", "@p.zip"}, 1, "warning: " + text, "");
    Expect({"check", "--accept", "member-name", "--accept", "no-header", "@p.zip"}, 0,
           "accepted: " + text + "@p.zip: no problems found\n", "");
    const ProcessResult unknown = Run({"check", "--accept", "everything", "@p.zip"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_EQ(unknown.out, "");
    mFolder.Write("b.dfw", GoodPayload().substr(0, 70));
    EXPECT_EQ(Run({"check", "--accept", "no-header", "@b.dfw"}).exitStatus, 1);
}

TEST_F(CheckCommandTest, PrintsItsFindingsAsJson) {
    mFolder.Write("p.zip",
                  MakeZip(Members(GoodManifest(Upload("a.dfw") + Upload("b.dfw")), "raw image")));
    const ProcessResult result = Run({"check", "--json", "--accept", "no-header", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    const nlohmann::json report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report["format"], 1);
    EXPECT_EQ(report["file"], Path("p.zip"));
    EXPECT_EQ(report["ok"], false);
    ASSERT_EQ(report["findings"].size(), 2U);
    EXPECT_EQ(report["findings"][0]["severity"], "warning");
    EXPECT_EQ(report["findings"][0]["name"], "no-header");
    EXPECT_EQ(report["findings"][0]["accepted"], true);
    EXPECT_EQ(report["findings"][1]["severity"], "error");
    EXPECT_EQ(report["findings"][1]["text"], "b.dfw: not in the package");
    EXPECT_EQ(report["findings"][1]["accepted"], false);
}
