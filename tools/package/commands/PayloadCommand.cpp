#include "PayloadCommand.h"

#include <iostream>

#include <NxDevice/NxDfwPayload.h>

#include "FirmwareVersion.h"

CLI::App* PayloadCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("payload", "Create a \".dfw\" payload from a binary file");
    options
        ->add_option("--family", mFamily,
                     "Device family, 1 to 32 printable ASCII characters; required")
        ->type_name("NAME")
        ->required();
    options
        ->add_option("--version", mVersion,
                     "Firmware version, each number from 0 to 65535; required")
        ->type_name("MAJOR.MINOR")
        ->required()
        ->check([](const std::string& text) {
            return FirmwareVersion::Parse(text)
                       ? std::string()
                       : "expected MAJOR.MINOR, each from 0 to 65535, not \"" + text + "\"";
        });
    AddArgument(*options, "BINARY", mBody, "Firmware image, as the device stores it");
    AddArgument(*options, "PAYLOAD", mPayload, "The \".dfw\" file to write");
    return options;
}

int PayloadCommand::Run() {
    const FirmwareVersion version = FirmwareVersion::Parse(mVersion).value_or(FirmwareVersion());
    NxResult result = NxDfwPayload::Create(mBody, mFamily, version.major, version.minor, mPayload);
    NxDfwHeader header;
    if (result.IsOK()) {
        result = NxDfwPayload::ReadHeader(mPayload, header);
    }
    if (!result.IsOK()) {
        return Fail(result.GetDescription().GetAscii());
    }
    std::cout << mPayload << ": family " << header.family << ", version " << header.major << '.'
              << header.minor << ", " << header.bodyLength << " bytes\n";
    return kDone;
}
