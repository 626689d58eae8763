#include <gmock/gmock.h>

#include "ImportTool.h"
#include "PackageFiles.h"
#include "UpdateFiles.h"

using testing::HasSubstr;

using ImportRefusalTest = ImportTool;

TEST_F(ImportRefusalTest, RefusesWhatItCannotConvert) {
    ExpectRefused("<GufRuleSet",
                  "Control.xml: line 1: Couldn't find end of Start Tag GufRuleSet line 1");
    // UTF-16 that breaks off in the middle of a character, of which libxml2 would print lines
    // itself.
    std::string utf16 = "\xFF\xFE";
    for (const char character : std::string("<GufRuleSet>")) {
        utf16 += std::string({character, '\0'});
    }
    ExpectRefused(utf16 + std::string("\0\xD8\0\0", 4),
                  "Control.xml: line 1: Premature end of data in tag GufRuleSet line 1");
    ExpectRefused("<Other/>", "Control.xml: the root element is <Other>, not <GufRuleSet>");
    ExpectRefused("<!DOCTYPE GufRuleSet [<!ENTITY a \"b\">]>" + GoodControlFile("<DeviceReset/>"),
                  "Control.xml: document type declarations are not accepted");
    ExpectRefused(GoodControlFile("<Wait>5</Wait>"),
                  "Control.xml: procedure \"p\": unknown step <Wait>");
    ExpectRefused(GoodControlFile("<DeviceReset xmlns=\"urn:other\"/>"),
                  "Control.xml: procedure \"p\": unknown step <{urn:other}DeviceReset>");
    ExpectRefused(
        GoodControlFile("<DeviceReset/>", "<Any><Condition Feature=\"F\">x</Condition></Any>"),
        "Control.xml: update 1: unknown element <Any>");
    ExpectRefused(GoodControlFile("<DeviceReset/>", "<Model>x</Model>"),
                  "Control.xml: update 1: unknown element <Model>");
    ExpectRefused(
        GoodControlFile("<DeviceReset/>", "<Condition Feature=\"F\"><Regex>x</Regex></Condition>"),
        "Control.xml: update 1: unknown part of a condition <Regex>");
    ExpectRefused(GoodControlFile("<DeviceReset/>", "<Condition Feature=\"F\"/>"),
                  "Control.xml: update 1: a condition has no pattern");
    ExpectRefused(GoodControlFile("<FeatureAssert><FeatureName>F</FeatureName></FeatureAssert>"),
                  "Control.xml: procedure \"p\", step 1, FeatureAssert: no pattern");
    ExpectRefused(GoodControlFile(OneUpload("none.dfw")), "@u.guf: contains no file \"none.dfw\"");
    ExpectRefused(GoodControlFile("<FileUpload/>"), "@u.guf: contains no file \"\"");
    EXPECT_FALSE(Exists("p.zip"));
    WriteUpdate(WithPattern("("));
    EXPECT_THAT(Run({"import", "@u.guf", "@p.zip"}).err,
                HasSubstr("the control file does not make a valid manifest: Manifest.xml:7: "
                          "<Condition> is not a valid regular expression: missing closing"));
}

TEST_F(ImportRefusalTest, TellsOfDamagedMembers) {
    std::string inner =
        MakeZip({{"Control.xml", GoodControlFile(OneUpload("a.dfw"))}, {"a.dfw", "firmware"}});
    inner.replace(inner.rfind("firmware"), 1, "x");
    mFolder.Write("u.guf", MakeUpdateFile(inner));
    const std::string damaged = "damaged: cannot be unpacked, or fails the length or CRC check\n";
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "", "mirsko-package: a.dfw: " + damaged);
    std::string outer = MakeUpdateFile(inner);
    outer.replace(outer.find("xirmware"), 1, "y");
    mFolder.Write("u.guf", outer);
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: " + damaged);
    mFolder.Write("u.guf", MakeUpdateFile("no archive, though long enough to be one"));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: not a zip archive, or damaged\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(ImportRefusalTest, RefusesAFileThatIsThereTwice) {
    const ZipMember control = {"Control.xml", GoodControlFile(OneUpload("a.dfw"))};
    const auto refused = [this](const std::string& bytes, const std::string& name) {
        mFolder.Write("u.guf", bytes);
        EXPECT_THAT(Run({"import", "@u.guf", "@p.zip"}).err,
                    HasSubstr("contains \"" + name + "\" more than once\n"));
        EXPECT_FALSE(Exists("p.zip"));
    };
    refused(MakeUpdateFile(MakeZip({control, {"a.dfw", "1"}, {"./a.dfw", "2"}})), "a.dfw");
    refused(MakeUpdateFile(MakeZip({control, control, {"a.dfw", "1"}})), "Control.xml");
    refused(MakeZip({{"package.zip", MakeZip({control})}, {"package.zip", MakeZip({control})}}),
            "package.zip");
    refused(MakeZip({{"package.zip", MakeZip({control})},
                     {"META-INF/signature.p7s", "x"},
                     {"META-INF/signature.p7s", "y"}}),
            "META-INF/signature.p7s");
}

TEST_F(ImportRefusalTest, RefusesArchivesThatUnpackToMoreThanAFirmwareHas) {
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({{"Control.xml", GoodControlFile(OneUpload("a"))},
                                                   MakeBomb("a", 1025)})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: a: the update file unpacks to more than 1024 MiB\n");
    ZipMember bomb = MakeBomb("Control.xml", 64);
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({bomb})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: Control.xml: larger than 1048576 bytes\n");
    mFolder.Write("u.guf", MakeZip({MakeBomb("package.zip", 1025)}));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: the update file unpacks to more than 1024 MiB\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(ImportRefusalTest, RefusesAControlFileThatIsNestedWithoutEnd) {
    std::string deep;
    for (int depth = 0; depth < 50'000; ++depth) {
        deep += "<a>";
    }
    WriteUpdate(GoodControlFile(deep));
    const ProcessResult result = Run({"import", "@u.guf", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, HasSubstr("mirsko-package: Control.xml: line 1: "));
}

TEST_F(ImportRefusalTest, DoesNotOverwriteTheUpdateFile) {
    const std::string bytes =
        MakeZip({{"Control.xml", GoodControlFile(OneUpload("a"))}, {"a", "x"}});
    mFolder.Write("p.zip", bytes);
    Expect({"import", "@p.zip", "@./p.zip"}, 1, "",
           "mirsko-package: @./p.zip is the update file itself\n");
    EXPECT_EQ(ReadFile(Path("p.zip")), bytes);
}

TEST_F(ImportRefusalTest, TellsWhatIsNoUpdateFile) {
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: No such file or directory\n");
    mFolder.Write("u.guf", MakeZip({}));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: contains neither \"package.zip\" nor \"Control.xml\"\n");
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({{"a", "b"}})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: @u.guf: contains no file \"Control.xml\"\n");
    EXPECT_EQ(Run({"import", "@u.guf"}).exitStatus, 2);
    EXPECT_EQ(Run({"import", "@u.guf", "@p.guf"}).exitStatus, 2);
}
