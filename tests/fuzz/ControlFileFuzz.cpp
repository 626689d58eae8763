// Any text as the control file of a GenICam update file: what is read makes a manifest that the
// parser takes or refuses, and what it takes means the same to whoever reads it back.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <NxGenICam/GenFUParser.h>

#include <check/UpdaterLimits.h>
#include <model/ManifestText.h>
#include <model/PackageModelBuilder.h>
#include <update_file/ControlFile.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    ControlFile control({});
    if (!control.Read(std::string(reinterpret_cast<const char*>(bytes), size)).empty()) {
        return 0;
    }
    PackageModel& model = control.GetModel();
    (void)DropFinalResets(model);
    (void)UpdaterLimits(model);
    const std::string manifest = ManifestText(model);
    PackageModelBuilder builder;
    if (NxGenICamLib::GenFUParser(&builder).Build(manifest).GetCode() != 0) {
        return 0;
    }
    const PackageModel& built = builder.GetModel();
    Require(built.procedures.size() == model.procedures.size(), "a procedure was lost");
    Require(built.updates.size() == model.updates.size(), "an update was lost");
    for (std::size_t index = 0; index < model.updates.size(); ++index) {
        const PackageUpdate& one = model.updates[index];
        const PackageUpdate& other = built.updates[index];
        Require(one.procedureId == other.procedureId, "another procedure");
        Require(one.conditions.size() == other.conditions.size(), "a condition was lost");
        for (std::size_t number = 0; number < one.conditions.size(); ++number) {
            Require(one.conditions[number].featureName == other.conditions[number].featureName &&
                        one.conditions[number].pattern == other.conditions[number].pattern,
                    "another condition");
        }
    }
    return 0;
}
