#include <gmock/gmock.h>

#include "PackageFiles.h"
#include "SigningTool.h"
#include "UpdateFiles.h"

using testing::HasSubstr;

/// Signatures of update files, made by the openssl program with certificates of the test's own.
class ImportSignatureTest : public SigningTool {
  protected:
    void SetUp() override {
        mPackage = MakeZip({{"Control.xml", GoodControlFile("<FileUpload><FileName>a.dfw"
                                                            "</FileName></FileUpload>")},
                            {"a.dfw", GoodPayload()}});
        MakeAuthority();
    }

    void WriteUpdate(const std::string& signature) const {
        mFolder.Write("u.guf", MakeUpdateFile(mPackage, signature));
    }

    void ExpectRefused(const std::vector<std::string>& options, const std::string& error) const {
        std::vector<std::string> arguments = {"import", "@u.guf", "@p.zip"};
        arguments.insert(arguments.begin() + 1, options.begin(), options.end());
        Expect(
            arguments, 1, "",
            "mirsko-package: @u.guf: " + error + " (use --ignore-signature to import it anyway)\n");
        EXPECT_FALSE(Exists("p.zip"));
        arguments.insert(arguments.begin() + 1, "--ignore-signature");
        Expect(arguments, 0, "@p.zip: 2 members\n", "mirsko-package: @u.guf: " + error + "\n");
        EXPECT_TRUE(std::filesystem::remove(Path("p.zip")));
    }

    static constexpr const char* kSigned = "@u.guf: signed by CN=signer,O=A Maker\n";
    std::string mPackage;
};

TEST_F(ImportSignatureTest, NamesASignerThatTheNamedAuthorityVouchesFor) {
    MakeSigner();
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{}, {"-noattr"}, {"-keyid"}, {"-nodetach"}}) {
        WriteUpdate(Sign(mPackage, options));
        Expect({"import", "--ca", "@ca.pem", "@u.guf", "@p.zip"}, 0,
               std::string(kSigned) + "@p.zip: 2 members\n", "");
    }
    // The certificate itself is as good as its issuer's.
    Expect({"import", "--ca", "@signer.pem", "@u.guf", "@p.zip"}, 0,
           std::string(kSigned) + "@p.zip: 2 members\n", "");
}

TEST_F(ImportSignatureTest, TrustsWhatTheSystemTrusts) {
    MakeSigner("extendedKeyUsage=codeSigning\n");
    WriteUpdate(Sign(mPackage));
    const ProcessResult result =
        Process::Run({Program("mirsko-package"), "import", Path("u.guf"), Path("p.zip")},
                     std::chrono::seconds(60), {"SSL_CERT_FILE=" + Path("ca.pem")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, Expand(std::string(kSigned) + "@p.zip: 2 members\n"));
    EXPECT_EQ(result.err, "");
}

TEST_F(ImportSignatureTest, SaysThatASignerCannotBeVerified) {
    MakeSigner();
    WriteUpdate(Sign(mPackage));
    Expect({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 2 members\n",
           "mirsko-package: @u.guf: signed by CN=signer,O=A Maker, whose certificate cannot be "
           "verified: unable "
           "to get local issuer certificate\n");
}

TEST_F(ImportSignatureTest, RefusesWhatTheNamedAuthorityDoesNotVouchFor) {
    MakeSigner();
    const std::string signature = Sign(mPackage);
    std::filesystem::copy_file(Path("ca.pem"), Path("old.pem"));
    SetUp();  // another authority, of the same name
    WriteUpdate(signature);
    const ProcessResult result = Run({"import", "--ca", "@ca.pem", "@u.guf", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, HasSubstr("whose certificate cannot be verified: "));
    EXPECT_FALSE(Exists("p.zip"));
    Expect({"import", "--ca", "@old.pem", "@u.guf", "@p.zip"}, 0,
           std::string(kSigned) + "@p.zip: 2 members\n", "");
}

TEST_F(ImportSignatureTest, RefusesAnUnsignedFileWhereAnAuthorityIsNamed) {
    WriteUpdate("");
    ExpectRefused({"--ca", "@ca.pem"}, "not signed");
}

TEST_F(ImportSignatureTest, RefusesASignatureOfOtherBytes) {
    MakeSigner();
    const std::string other = mPackage + "x";
    for (const std::string& signature :
         {Sign(other), Sign(other, {"-nodetach"}), Sign(other, {"-noattr"})}) {
        WriteUpdate(signature);
        const ProcessResult result = Run({"import", "@u.guf", "@p.zip"});
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.err, HasSubstr("u.guf: invalid signature: "));
        EXPECT_FALSE(Exists("p.zip"));
    }
    WriteUpdate(Sign(other));
    ExpectRefused({}, "invalid signature: content verify error");
}

TEST_F(ImportSignatureTest, RefusesWhatIsNoSignature) {
    MakeSigner();
    WriteUpdate("no signature");
    ExpectRefused({}, "invalid signature: not a CMS signature");
    mFolder.Write("content", mPackage);
    OpenSsl({"cms", "-digest_create", "-binary", "-outform", "DER", "-in", Path("content"), "-out",
             Path("signature")});
    WriteUpdate(ReadFile(Path("signature")));
    ExpectRefused({}, "invalid signature: not a CMS signature");
    mFolder.Write("u.guf", MakeUpdateFile(mPackage, std::string(300'000, 'x')));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: META-INF/signature.p7s: larger than 262144 bytes\n");
}

TEST_F(ImportSignatureTest, RefusesASignatureWithoutSigners) {
    MakeSigner();
    // Certificates alone, as some files with the name of a signature are.
    OpenSsl({"crl2pkcs7", "-nocrl", "-certfile", Path("signer.pem"), "-outform", "DER", "-out",
             Path("signature")});
    WriteUpdate(ReadFile(Path("signature")));
    const ProcessResult result = Run({"import", "--ca", "@ca.pem", "@u.guf", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, HasSubstr("invalid signature: "));
}

TEST_F(ImportSignatureTest, DoesNotTrustACertificateForOtherUses) {
    for (const char* const extensions :
         {"extendedKeyUsage=serverAuth\n", "keyUsage=keyEncipherment\n"}) {
        MakeSigner(extensions);
        WriteUpdate(Sign(mPackage));
        ExpectRefused({"--ca", "@ca.pem"},
                      "signed by CN=signer,O=A Maker, whose certificate cannot be verified: the "
                      "certificate may "
                      "not be used to sign packages");
    }
}

TEST_F(ImportSignatureTest, DoesNotTrustAnExpiredCertificate) {
    MakeSigner("keyUsage=digitalSignature\n", {"-days", "-1"});
    WriteUpdate(Sign(mPackage));
    ExpectRefused({"--ca", "@ca.pem"},
                  "signed by CN=signer,O=A Maker, whose certificate cannot be verified: "
                  "certificate has expired");
}

TEST_F(ImportSignatureTest, SaysWhenTheNamedFileHoldsNoCertificates) {
    MakeSigner();
    WriteUpdate(Sign(mPackage));
    mFolder.Write("none.pem", "no certificate");
    ExpectRefused({"--ca", "@none.pem"},
                  "signed by CN=signer,O=A Maker, whose certificate cannot be verified: cannot "
                  "read the trusted "
                  "certificates");
    EXPECT_EQ(Run({"import", "--ca", "@missing.pem", "@u.guf", "@p.zip"}).exitStatus, 2);
}
