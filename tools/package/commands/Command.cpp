#include "Command.h"

#include <iostream>

#include <NxBase/PrintableText.h>

Command::~Command() = default;

int Command::Fail(const std::string& text) {
    std::cerr << "mirsko-package: " << PrintableText(text, kLongestLine) << '\n';
    return kFailed;
}
