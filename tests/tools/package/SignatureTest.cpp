// Signatures of packages, made and checked by mirsko-package and by the openssl program.
#include <filesystem>

#include <gmock/gmock.h>

#include "PackageFiles.h"
#include "SigningTool.h"

using testing::HasSubstr;
using testing::StartsWith;

class SignatureTest : public SigningTool {
  protected:
    void SetUp() override {
        MakeAuthority();
        MakeSigner();
        mFolder.Write("p.zip", mPackage);
    }

    void ExpectSigned(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {"sign",          "--key",       "@signer.key",
                                              "--certificate", "@signer.pem", "@p.zip"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Expect(arguments, 0, "@p.zip.p7s: signature of @p.zip\n", "");
    }
    void ExpectNotSigned(const std::string& key, const std::string& certificate,
                         const std::string& error) const {
        Expect({"sign", "--key", key, "--certificate", certificate, "@p.zip"}, 1, "",
               "mirsko-package: " + error + "\n");
        EXPECT_FALSE(Exists("p.zip.p7s"));
    }
    void ExpectVerified(const std::string& authority = "@ca.pem") const {
        Expect({"verify", "--ca", authority, "@p.zip"}, 0,
               "@p.zip: signed by CN=signer,O=A Maker\n", "");
    }
    void ExpectNotVerified(const std::string& error) const {
        Expect({"verify", "--ca", "@ca.pem", "@p.zip"}, 1, "",
               "mirsko-package: @p.zip: " + error + "\n");
    }

    const std::string mPackage = "the bytes of a package";
    static constexpr const char* kChanged =
        "; the file was changed after it was signed, or this is the signature of another file";
};

TEST_F(SignatureTest, WhatIsSignedIsVerified) {
    ExpectSigned();
    ExpectVerified();
    ExpectVerified("@signer.pem");
    EXPECT_EQ(ReadFile(Path("p.zip")), mPackage);
}

TEST_F(SignatureTest, OpenSslVerifiesWhatIsSignedHere) {
    ExpectSigned();
    const auto verify = [this] {
        return Process::Run({"openssl", "cms", "-verify", "-binary", "-inform", "DER", "-in",
                             Path("p.zip.p7s"), "-content", Path("p.zip"), "-CAfile",
                             Path("ca.pem"), "-purpose", "any", "-out", "/dev/null"})
            .exitStatus;
    };
    EXPECT_EQ(verify(), 0);
    mFolder.Write("p.zip", mPackage + "x");
    EXPECT_NE(verify(), 0);
}

TEST_F(SignatureTest, WhatOpenSslSignsIsVerifiedHere) {
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{}, {"-noattr"}, {"-keyid"}}) {
        mFolder.Write("p.zip.p7s", Sign(mPackage, options));
        ExpectVerified();
    }
}

TEST_F(SignatureTest, AnRsaKeySignsToo) {
    OpenSsl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", Path("signer.key"), "-out",
             Path("signer.pem"), "-subj", "/O=A Maker/CN=signer", "-days", "2"});
    ExpectSigned();
    ExpectVerified("@signer.pem");
}

TEST_F(SignatureTest, AChangedFileIsNotVerified) {
    ExpectSigned();
    for (const std::string& changed :
         {mPackage + "x", mPackage.substr(1), std::string(), std::string(mPackage.size(), 'x')}) {
        mFolder.Write("p.zip", changed);
        ExpectNotVerified(std::string("invalid signature: content verify error") + kChanged);
    }
}

TEST_F(SignatureTest, TheSignatureOfAnotherFileIsNotVerified) {
    mFolder.Write("p.zip.p7s", Sign("another file"));
    ExpectNotVerified(std::string("invalid signature: content verify error") + kChanged);
    // The other file inside the signature does not count.
    mFolder.Write("p.zip.p7s", Sign("another file", {"-nodetach"}));
    ExpectNotVerified(std::string("invalid signature: content verify error") + kChanged);
}

TEST_F(SignatureTest, AMissingSignatureIsReported) {
    ExpectNotVerified("not signed: @p.zip.p7s: No such file or directory");
    std::filesystem::create_directory(Path("p.zip.p7s"));
    ExpectNotVerified("not signed: @p.zip.p7s: not a regular file");
}

TEST_F(SignatureTest, GarbageIsNotASignature) {
    ExpectSigned();
    const std::string signature = ReadFile(Path("p.zip.p7s"));
    for (const std::string& garbage :
         {std::string(), std::string("garbage"), signature.substr(0, signature.size() / 2),
          std::string(100, '\0')}) {
        mFolder.Write("p.zip.p7s", garbage);
        ExpectNotVerified("invalid signature: not a CMS signature");
    }
    mFolder.Write("p.zip.p7s", std::string(300'000, 'x'));
    ExpectNotVerified("not signed: @p.zip.p7s: larger than 262144 bytes");
}

TEST_F(SignatureTest, NoChangedByteOfASignatureIsVerifiedAsAnotherSigners) {
    ExpectSigned();
    const std::string signature = ReadFile(Path("p.zip.p7s"));
    const std::size_t step = signature.size() / 20;
    for (std::size_t at = 0; at < signature.size(); at += step) {
        std::string changed = signature;
        changed[at] = static_cast<char>(changed[at] ^ 0x20);
        mFolder.Write("p.zip.p7s", changed);
        const ProcessResult result = Run({"verify", "--ca", "@ca.pem", "@p.zip"});
        if (result.exitStatus == 0) {  // a byte of what nobody relies on
            EXPECT_EQ(result.out, Expand("@p.zip: signed by CN=signer,O=A Maker\n")) << at;
        } else {
            EXPECT_EQ(result.exitStatus, 1) << at;
            EXPECT_EQ(result.out, "") << at;
        }
    }
}

TEST_F(SignatureTest, AnotherKeyIsNotTrusted) {
    MakeAuthority("other");
    Expect({"sign", "--key", "@other.key", "--certificate", "@other.pem", "@p.zip"}, 0,
           "@p.zip.p7s: signature of @p.zip\n", "");
    const ProcessResult result = Run({"verify", "--ca", "@ca.pem", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith(Expand("mirsko-package: @p.zip: signed by CN=Test CA, whose "
                                              "certificate cannot be verified: ")));
}

TEST_F(SignatureTest, AKeyAndItsCertificateHaveToMatch) {
    ExpectNotSigned("@ca.key", "@signer.pem",
                    "@signer.pem: not the certificate of the key @ca.key");
    ExpectNotSigned("@signer.pem", "@signer.pem", "@signer.pem: not a private key in PEM format");
    ExpectNotSigned("@signer.key", "@signer.key", "@signer.key: not a certificate in PEM format");
}

TEST_F(SignatureTest, ACertificateThatNobodyAcceptsSignsNothing) {
    MakeSigner("extendedKeyUsage=serverAuth\n");
    ExpectNotSigned("@signer.key", "@signer.pem",
                    "@signer.pem: signatures with this certificate are not accepted: the "
                    "certificate may not be used to sign packages");
    MakeSigner("keyUsage=digitalSignature\n", {"-days", "-1"});
    ExpectNotSigned("@signer.key", "@signer.pem",
                    "@signer.pem: signatures with this certificate are not accepted: certificate "
                    "has expired");
}

TEST_F(SignatureTest, TheKeyMayHaveAPassphrase) {
    OpenSsl({"pkey", "-in", Path("signer.key"), "-aes256", "-passout", "pass:secret", "-out",
             Path("locked.key")});
    mFolder.Write("right", "secret\nmore\n");
    mFolder.Write("wrong", "guess\n");
    mFolder.Write("empty", "");
    ExpectNotSigned("@locked.key", "@signer.pem", "@locked.key: encrypted; use --passphrase-file");
    const auto sign = [this](const std::string& passphrase) {
        return Run({"sign", "--key", "@locked.key", "--certificate", "@signer.pem",
                    "--passphrase-file", passphrase, "@p.zip"});
    };
    EXPECT_EQ(sign("@wrong").err, Expand("mirsko-package: @locked.key: the passphrase is wrong, or "
                                         "the key is damaged\n"));
    EXPECT_EQ(sign("@empty").err, Expand("mirsko-package: @empty: has no passphrase\n"));
    EXPECT_FALSE(Exists("p.zip.p7s"));
    EXPECT_EQ(sign("@right").exitStatus, 0);
    ExpectVerified();
}

TEST_F(SignatureTest, NoInputFileIsOverwritten) {
    for (const std::string input : {"@p.zip", "@signer.key", "@signer.pem"}) {
        const std::string before = ReadFile(Expand(input));
        Expect({"sign", "--key", "@signer.key", "--certificate", "@signer.pem", "--signature",
                input, "@p.zip"},
               1, "",
               "mirsko-package: " + input +
                   " is an input file; choose another name for the signature\n");
        EXPECT_EQ(ReadFile(Expand(input)), before);
    }
}

TEST_F(SignatureTest, TheSignatureMayBeElsewhere) {
    Expect({"sign", "--key=@signer.key", "--certificate=@signer.pem", "--signature=@s", "@p.zip"},
           0, "@s: signature of @p.zip\n", "");
    Expect({"verify", "--ca=@ca.pem", "--signature=@s", "@p.zip"}, 0,
           "@p.zip: signed by CN=signer,O=A Maker\n", "");
    const ProcessResult result = Run({"sign", "--key=@signer.key", "--certificate=@signer.pem",
                                      "--signature=@missing/s", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, HasSubstr("missing/s: cannot be written: No such file"));
    EXPECT_EQ(Run({"verify", "@p.zip"}).exitStatus, 2);
}
