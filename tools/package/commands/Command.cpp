#include "Command.h"

#include <iostream>

#include <NxBase/PrintableText.h>

#include "FileKind.h"

Command::~Command() = default;

CLI::Option* Command::AddArgument(CLI::App& options, const std::string& name, std::string& value,
                                  const std::string& help) {
    return options.add_option(name, value, help)->type_name("")->required();
}

void Command::AddPackage(CLI::App& options, std::string& package) {
    AddArgument(options, "PACKAGE", package, "The \".zip\" file to write")
        ->check([](const std::string& text) {
            return IsPackagePath(text)
                       ? WhyNotAnArgument(text)
                       : "expected a package name that ends in \".zip\", not \"" + text + "\"";
        });
}

void Command::Note(const std::string& text) {
    std::cerr << "mirsko-package: " << PrintableText(text, kLongestLine) << '\n';
}

int Command::Fail(const std::string& text) {
    Note(text);
    return kFailed;
}
