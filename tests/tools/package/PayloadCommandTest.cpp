#include <NxDevice/NxDfwPayload.h>

#include "PackageTool.h"

class PayloadCommandTest : public PackageTool {};

TEST_F(PayloadCommandTest, MakesAPayloadOfABinary) {
    const std::string body = RandomBytes(100000, 1);
    mFolder.Write("body", body);
    Expect({"payload", "--family", "SIMCAM", "--version", "2.17", "@body", "@a.dfw"}, 0,
           "@a.dfw: family SIMCAM, version 2.17, 100000 bytes\n", "");
    const std::string payload = ReadFile(Path("a.dfw"));
    EXPECT_EQ(payload.substr(0, 12), std::string("MDFW\0\1\0\1\0\0\0@", 12));
    EXPECT_EQ(payload.substr(56, 4), std::string("\0\2\0\x11", 4));
    EXPECT_EQ(payload.substr(64), body);
    NxDfwHeader header;
    EXPECT_TRUE(NxDfwPayload::Verify(Path("a.dfw"), header).IsOK());
    EXPECT_EQ(Files(), (std::vector<std::string>{"a.dfw", "body"}));
}

TEST_F(PayloadCommandTest, OverwritesAPayload) {
    mFolder.Write("body", "new");
    mFolder.Write("a.dfw", std::string(1000, 'x'));
    EXPECT_EQ(Run({"payload", "--family=S", "--version=1.0", "@body", "@a.dfw"}).exitStatus, 0);
    EXPECT_EQ(ReadFile(Path("a.dfw")).substr(64), "new");
}

TEST_F(PayloadCommandTest, LeavesNothingBehindWhenTheBinaryIsMissing) {
    Expect({"payload", "--family", "S", "--version", "1.0", "@none", "@a.dfw"}, 1, "",
           "mirsko-package: Cannot open @none: No such file or directory\n");
    EXPECT_TRUE(Files().empty());
}

TEST_F(PayloadCommandTest, RefusesAFamilyThatIsTooLong) {
    mFolder.Write("body", "x");
    Expect({"payload", "--family", std::string(33, 'f'), "--version", "1.0", "@body", "@a.dfw"}, 1,
           "", "mirsko-package: The device family must have 1 to 32 printable ASCII characters\n");
    EXPECT_FALSE(Exists("a.dfw"));
}

TEST_F(PayloadCommandTest, RefusesMalformedVersions) {
    mFolder.Write("body", "x");
    for (const char* version : {"1", "1.", ".1", "1.2.3", "65536.0", "1.-1", "1,0", " 1.0"}) {
        const ProcessResult result =
            Run({"payload", "--family", "S", "--version", version, "@body", "@a.dfw"});
        EXPECT_EQ(result.exitStatus, 2) << version;
        EXPECT_EQ(result.err, "--version: expected MAJOR.MINOR, each from 0 to 65535, not \"" +
                                  std::string(version) +
                                  "\"\nRun with --help or --help-all for more information.\n");
    }
    EXPECT_FALSE(Exists("a.dfw"));
}

TEST_F(PayloadCommandTest, AsksForWhatIsMissing) {
    EXPECT_EQ(Run({}).exitStatus, 2);
    EXPECT_EQ(Run({"unknown"}).exitStatus, 2);
    EXPECT_EQ(Run({"payload"}).exitStatus, 2);
    EXPECT_EQ(Run({"payload", "--family", "S", "--version", "1.0", "@body"}).exitStatus, 2);
    EXPECT_EQ(Run({"payload", "--unknown"}).exitStatus, 2);
}

TEST_F(PayloadCommandTest, ShowsItsHelp) {
    const ProcessResult result = Run({"payload", "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("mirsko-package payload [OPTIONS] BINARY PAYLOAD"),
              std::string::npos);
}
