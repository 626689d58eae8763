#include "InfoCommand.h"

#include <array>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include <openssl/evp.h>

#include <NxBase/Hexadecimal.h>
#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <NxDevice/NxDfwPayload.h>

#include "../model/Package.h"
#include "Description.h"
#include "FileKind.h"

namespace {

void Print(const Json& description, const std::string& text, bool asJson) {
    if (asJson) {
        // Names in an archive may hold bytes that are not UTF-8.
        std::cout << description.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
        return;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::cout << PrintableText(line, Command::kLongestLine) << '\n';
    }
}

// Of the whole file, for comparing it with a published one.
NxResult HashFile(const std::string& path, std::string& hash) {
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                     EVP_MD_CTX_free);
    std::ifstream file(path, std::ios::binary);
    bool isGood = file.is_open() && context != nullptr &&
                  EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
    std::vector<char> buffer(1U << 16U);
    while (isGood && file) {
        file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        isGood = !file.bad() && EVP_DigestUpdate(context.get(), buffer.data(),
                                                 static_cast<std::size_t>(file.gcount())) == 1;
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (!isGood || EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1) {
        return NxResult(kNxLocalFile, path + ": cannot be read");
    }
    hash.clear();
    for (unsigned int i = 0; i < length; ++i) {
        hash += HexDigits(digest[i], 2);
    }
    return NxResult();
}

}  // namespace

CLI::App* InfoCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("info", "Show the contents of a payload or package");
    options->add_flag("--json", mAsJson, "Print a JSON object instead of text");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package");
    return options;
}

int InfoCommand::Run() {
    // Once the file is known to be one: what is read whole has an end.
    const auto print = [&](Json description, const std::string& text) {
        std::string hash;
        if (const NxResult hashed = HashFile(mFile, hash); !hashed.IsOK()) {
            return Fail(hashed.GetDescription().GetAscii());
        }
        description["sha256"] = hash;
        Print(description, text + "\nSHA-256 " + hash, mAsJson);
        return kDone;
    };
    if (IsPayloadPath(mFile)) {
        NxDfwHeader header;
        const NxResult result = NxDfwPayload::ReadHeader(mFile, header);
        if (!result.IsOK()) {
            return Fail(result.GetDescription().GetAscii());
        }
        const Json payload = DescribePayload(header);
        return print(payload, PayloadText(payload));
    }
    Package package;
    const std::string error = package.Open(mFile);
    if (!error.empty()) {
        return Fail(mFile + ": " + error);
    }
    const Json description = DescribePackage(package);
    std::string text = PackageText(description);
    text.pop_back();  // the line feed
    return print(description, text);
}
