#include "SigningTool.h"

void SigningTool::OpenSsl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "openssl");
    const ProcessResult result = Process::Run(arguments);
    ASSERT_EQ(result.exitStatus, 0) << result.err;
}

void SigningTool::MakeAuthority(const std::string& name) const {
    OpenSsl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
             "-keyout", Path(name + ".key"), "-out", Path(name + ".pem"), "-subj", "/CN=Test CA",
             "-days", "2"});
}

void SigningTool::MakeSigner(const std::string& extensions,
                             const std::vector<std::string>& validity) const {
    mFolder.Write("signer.ext", extensions);
    OpenSsl({"req", "-new", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
             "-keyout", Path("signer.key"), "-out", Path("signer.csr"), "-subj",
             "/O=A Maker/CN=signer"});
    std::vector<std::string> sign = {"x509",
                                     "-req",
                                     "-in",
                                     Path("signer.csr"),
                                     "-CA",
                                     Path("ca.pem"),
                                     "-CAkey",
                                     Path("ca.key"),
                                     "-CAcreateserial",
                                     "-extfile",
                                     Path("signer.ext"),
                                     "-out",
                                     Path("signer.pem")};
    sign.insert(sign.end(), validity.begin(), validity.end());
    OpenSsl(sign);
}

std::string SigningTool::Sign(const std::string& content,
                              const std::vector<std::string>& options) const {
    mFolder.Write("content", content);
    std::vector<std::string> arguments = {"cms",
                                          "-sign",
                                          "-binary",
                                          "-outform",
                                          "DER",
                                          "-signer",
                                          Path("signer.pem"),
                                          "-inkey",
                                          Path("signer.key"),
                                          "-in",
                                          Path("content"),
                                          "-out",
                                          Path("signature")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    OpenSsl(arguments);
    return ReadFile(Path("signature"));
}
