#include "FaultCell.h"

#include <algorithm>
#include <cctype>

std::string FaultCell::Name() const {
    std::string name = std::string(NameOf(transport)) + "_" + fault + "_at_" + moment;
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char character) { return std::isalnum(character) == 0; }, '_');
    return name;
}

const char* NameOf(Transport transport) {
    switch (transport) {
        case Transport::kFileAccess:
            return "file access";
        case Transport::kTftp:
            return "TFTP";
        case Transport::kFileAccessPackage:
            return "package";
        case Transport::kTftpPackage:
            return "TFTP package";
        case Transport::kUsb:
            return "USB3 Vision";
        case Transport::kUsbPackage:
            return "USB package";
    }
    return "";
}

const char* NameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::kComplete:
            return "complete, new";
        case Outcome::kFailed:
            return "failed, either";
        case Outcome::kFailedOld:
            return "failed, old";
        case Outcome::kFailedNew:
            return "failed, new";
        case Outcome::kNotFound:
            return "not found, old";
        case Outcome::kUntouched:
            return "complete first";
        case Outcome::kCompleteOrNot:
            return "any";
    }
    return "";
}

void PrintTo(const FaultCell& cell, std::ostream* stream) {
    *stream << cell.Name();
}
