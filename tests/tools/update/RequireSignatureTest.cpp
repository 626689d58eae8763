// mirsko-update --require-signature: only bytes that someone trusted has signed reach a camera.
#include <filesystem>

#include <gmock/gmock.h>

#include "CameraGroup.h"
#include "ManifestBuilder.h"
#include "ZipBuilder.h"

using testing::HasSubstr;
using testing::StartsWith;

class RequireSignatureTest : public CameraGroup {
  protected:
    RequireSignatureTest() { MakeSigner("maker"); }

    void MakeSigner(const std::string& name, const std::string& units = "") const {
        Succeed({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                 "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", Path(name + ".key"), "-out",
                 Path(name + ".pem"), "-subj", "/CN=" + name + units, "-days", "2"});
    }
    /// @return the file
    std::string Sign(const std::string& file, const std::string& signer = "maker") const {
        Succeed({Program("mirsko-package"), "sign", "--key", Path(signer + ".key"), "--certificate",
                 Path(signer + ".pem"), file});
        return file;
    }
    [[nodiscard]] std::string Package(const std::string& body) const {
        return MakeZip(
            {{"Manifest.xml", MakeManifest(Upload("a.dfw"))}, {"a.dfw", MakePayload(body)}});
    }
    [[nodiscard]] std::string Path(const std::string& name) const { return mFolder.Path() / name; }
    [[nodiscard]] std::vector<std::string> Required(std::vector<std::string> files) const {
        std::vector<std::string> arguments{"--all", "--require-signature", Path("maker.pem")};
        arguments.insert(arguments.end(), files.begin(), files.end());
        return arguments;
    }
    void ExpectRejected(const std::vector<std::string>& files, const std::string& reason) {
        const ProcessResult result = Update(Required(files));
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.exitStatus, 3);
        EXPECT_TRUE(IsUntouched(1));
    }

  private:
    static void Succeed(std::vector<std::string> command) {
        const ProcessResult result = Process::Run(std::move(command));
        ASSERT_EQ(result.exitStatus, 0) << result.err;
    }
};

TEST_F(RequireSignatureTest, WritesSignedPayloadsAndPackagesAndSaysWhoSignedThem) {
    Add({"--no-tftp"});
    Add({"--profile", "loader", "--family", "Other"});
    const std::string package = Sign(mFolder.Write("p.zip", Package(mBody)));
    const std::string payload = Sign(Payload("other.dfw", {.family = "Other"}));
    ProcessResult result = Update(Required({package}));
    EXPECT_THAT(result.out, StartsWith(package + ": signed by CN=maker\n"));
    EXPECT_TRUE(IsUpdated(1)) << result.out << result.err;
    result = Update({"--serial", "SIM-2", "--require-signature", Path("maker.pem"), payload});
    EXPECT_THAT(result.out, StartsWith(payload + ": signed by CN=maker\n"));
    EXPECT_TRUE(IsUpdated(2)) << result.out << result.err;
    EXPECT_EQ(Process::Run({"sh", "-c", "ls /tmp | grep -E '^(xml|dfw|tmpf)'"}).out, "");
}

TEST_F(RequireSignatureTest, RejectsFilesThatNobodyTrustedHasSigned) {
    Add({"--no-tftp"});
    MakeSigner("stranger");
    const std::string package = mFolder.Write("p.zip", Package(mBody));
    ExpectRejected({package}, package + ": not signed: " + package + ".p7s: No such file");
    ExpectRejected({Payload("fw.dfw")}, "fw.dfw: not signed: ");
    Sign(package, "stranger");
    ExpectRejected({package}, package + ": signed by CN=stranger, whose certificate cannot be");
    mFolder.Write("p.zip.p7s", "not a signature");
    ExpectRejected({package}, package + ": invalid signature: not a CMS signature");
    // One that is signed does not vouch for another.
    Sign(package);
    ExpectRejected({package, Payload("fw.dfw")}, "fw.dfw: not signed: ");
    std::filesystem::create_directory(Path("folder.zip"));
    ExpectRejected({Path("folder.zip")}, "folder.zip: not a regular file");
    ExpectRejected({Path("missing.zip")}, "missing.zip: No such file");
}

TEST_F(RequireSignatureTest, RejectsAPackageThatWasChangedAfterItWasSigned) {
    Add({"--no-tftp"});
    const std::string package = Sign(mFolder.Write("p.zip", Package(mBody)));
    const std::string whole = ReadFile(package);
    for (const std::string& changed : {Package(mBody.substr(1)), whole + "x", std::string()}) {
        mFolder.Write("p.zip", changed);
        ExpectRejected({package}, package + ": invalid signature: content verify error; the file");
    }
    std::string changed = whole;
    changed[whole.size() / 2] = static_cast<char>(changed[whole.size() / 2] ^ 1);
    mFolder.Write("p.zip", changed);
    ExpectRejected({package}, package + ": invalid signature: content verify error; the file");
}

TEST_F(RequireSignatureTest, CutsTheNameOfASignerWhoseCertificateHasNoEnd) {
    Add({"--no-tftp"});
    std::string units;
    for (int i = 0; i < 200; ++i) {
        units += "/OU=" + std::string(60, 'u');
    }
    MakeSigner("endless", units);
    const std::string package = mFolder.Write("p.zip", Package(mBody));
    Sign(package, "endless");
    const ProcessResult result = Update(Required({package}));
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.err, StartsWith(package + ": signed by "));
    EXPECT_LT(result.err.size(), 2100U);
}

TEST_F(RequireSignatureTest, NeedsACertificateFile) {
    Add({"--no-tftp"});
    const std::string package = Sign(mFolder.Write("p.zip", Package(mBody)));
    mFolder.Write("empty.pem", "");
    for (const std::string& file : {Path("missing.pem"), std::string(), Path("empty.pem")}) {
        const ProcessResult result = Update({"--all", "--require-signature", file, package});
        EXPECT_EQ(result.exitStatus, 3) << file;
        EXPECT_NE(result.err, "");
    }
    EXPECT_TRUE(IsUntouched(1));
}

TEST_F(RequireSignatureTest, WritesTheBytesThatWereVerifiedThoughTheFileIsReplacedMeanwhile) {
    AddAll(2, {"--no-tftp", "--latency", "4000"});
    const std::string payload = Sign(Payload("fw.dfw"));
    std::vector<std::string> command = Required({payload});
    command.insert(command.begin(), {Program("mirsko-update"), "--jobs", "1"});
    Process updater(command);
    EXPECT_TRUE(WaitUntil(
        [&updater] { return updater.OutputSoFar().find(": writing ") != std::string::npos; }));
    mFolder.Write("fw.dfw", MakePayload(std::string(50000, 'x')));
    const ProcessResult result = updater.Wait(std::chrono::minutes(2));
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_TRUE(IsUpdated(1) && IsUpdated(2));
}

TEST_F(RequireSignatureTest, UnpacksTheBytesThatWereVerifiedThoughThePackageIsReplacedMeanwhile) {
    Add({"--no-tftp"});
    const std::string package = Sign(mFolder.Write("p.zip", Package(mBody)));
    std::vector<std::string> command = Required({package});
    command.insert(command.begin(), Program("mirsko-update"));
    Process updater(command);
    // Said before the search for cameras, whose first one has the payload unpacked.
    EXPECT_TRUE(WaitUntil(
        [&updater] { return updater.OutputSoFar().find(": signed by ") != std::string::npos; }));
    const std::string other = mFolder.Write("other.zip", Package(std::string(50000, 'x')));
    std::filesystem::rename(other, package);
    const ProcessResult result = updater.Wait(std::chrono::minutes(2));
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_TRUE(IsUpdated(1));
}
