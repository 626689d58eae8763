#include "Command.h"

#include <iostream>

Command::~Command() = default;

int Command::Fail(const std::string& text) {
    std::cerr << "mirsko-package: " << text << '\n';
    return kFailed;
}
