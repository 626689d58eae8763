#include "Parameters.h"

#include <cctype>
#include <string>

namespace {

std::string Lowercase(std::string text) {
    for (char& character : text) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return text;
}

bool IsOption(const std::string& argument) {
    return argument.size() > 1 && argument[1] == '-';
}

bool IsFirmwareFile(const std::string& argument) {
    const std::string extension = argument.substr(argument.rfind('.') + 1);
    return extension == "dfw" || extension == "zip";
}

// As wide as this on purpose: a keyword counts anywhere in the option, also in a value,
// and values are cut from the lowercased text.
bool TakeOption(Parameters& parameters, const std::string& argument) {
    const std::string option = Lowercase(argument.substr(1));
    const auto has = [&option](const char* keyword) {
        return option.find(keyword) != std::string::npos;
    };
    if (has("-help")) {
        parameters.help = true;
    } else if (has("-u3v")) {
        parameters.u3v = true;
    } else if (has("-noreset")) {
        parameters.noReset = true;
    } else if (has("-localinterface=")) {
        parameters.localInterface = option.substr(option.find('=') + 1);
    } else if (has("-deviceid=")) {
        parameters.deviceId = option.substr(option.find('=') + 1);
    } else {
        return false;
    }
    return true;
}

}  // namespace

void Parameters::ParseParam(int argc, const char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (IsOption(argument)) {
            if (!TakeOption(*this, argument)) {
                help = true;
                return;
            }
        } else if (IsFirmwareFile(argument)) {
            firmwareFile = argument;
        } else {
            help = true;
            return;
        }
    }
}
