#include "FileLayout.h"

#include <utility>

#include "Layouts.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Access = RegisterRegion::Access;

MemoryStatus CheckSelectedFile(Profile profile, FileAccess::File file) {
    const auto absent = profile == Profile::kSelectorWithoutDfw ? FileAccess::File::kRemoteUpdateDfw
                                                                : FileAccess::File::kUserData;
    return static_cast<std::uint32_t>(file) < features::kFileCount && file != absent
               ? MemoryStatus::kOk
               : MemoryStatus::kInvalidParameter;
}

}  // namespace

std::unique_ptr<FileLayout> FileLayout::Make(const DeviceOptions& options, Bus bus) {
    switch (options.layout) {
        case RegisterLayout::kPlain:
        case RegisterLayout::kLittleEndian:
        case RegisterLayout::kLegacyEndian:
            return MakePlainLayout(options, bus);
        case RegisterLayout::kSelectorDependent:
            return MakeSelectorLayout(options, bus);
        case RegisterLayout::kBitFields:
            return MakeBitFieldLayout(options, bus);
        case RegisterLayout::kLocalSelectors:
            return MakeLocalSelectorLayout(options, bus);
        case RegisterLayout::kCommandRegister:
            return MakeCommandRegisterLayout(options, bus);
        case RegisterLayout::kWriteOnlyExecute:
            return MakeWriteOnlyExecuteLayout(options, bus);
        case RegisterLayout::kReadOnlyOffset:
            return MakeReadOnlyOffsetLayout(options, bus);
        case RegisterLayout::kWide:
            return MakeWideLayout(options, bus);
    }
    return nullptr;
}

void FileLayout::DefineFileSelector(RegisterRegion& registers, std::uint64_t address) const {
    if (!HasSelector()) {
        return;
    }
    const Profile profile = mOptions.profile;
    registers.Define(address, 4, Access::kReadWrite, {.afterWrite = [&registers, address, profile] {
                         return CheckSelectedFile(profile, FileIn(registers, address));
                     }});
    if (profile == Profile::kSelectorWithoutDfw) {
        registers.SetNumber(address, static_cast<std::uint32_t>(FileAccess::File::kStatusTxt));
    }
}

void FileLayout::DefineOperationSelector(RegisterRegion& registers, std::uint64_t address) {
    registers.Define(address, 4, Access::kReadWrite, {.afterWrite = [&registers, address] {
                         return registers.GetNumber(address) < features::kOperationCount
                                    ? MemoryStatus::kOk
                                    : MemoryStatus::kInvalidParameter;
                     }});
}

Bytes FileLayout::DefineBuffer(DeviceMemory& memory, std::uint64_t address) const {
    // It holds bytes, not numbers.
    auto& buffer = memory.Add<RegisterRegion>(address, mOptions.bufferSize, std::endian::native);
    buffer.Define(address, mOptions.bufferSize, Access::kReadWrite);
    return buffer.At(address, mOptions.bufferSize);
}

void FileLayout::DefineCommand(const Device& device, std::uint64_t address,
                               std::function<MemoryStatus(std::uint32_t value)> start) const {
    RegisterRegion& registers = device.registers;
    RegisterRegion::Hooks hooks;
    if (!mOptions.executeKeepsValue) {
        hooks.beforeRead = [&registers, &files = device.files, address] {
            if (!files.IsBusy()) {
                registers.SetNumber(address, 0);
            }
        };
    }
    hooks.afterWrite = [&registers, address, start = std::move(start)] {
        return start(registers.GetNumber(address));
    };
    registers.Define(address, 4, Access::kReadWrite, std::move(hooks));
}

FileOperations::Request FileLayout::RequestFor(const RegisterRegion& registers,
                                               FileAccess::Operation operation,
                                               FileAccess::OpenMode mode, Bytes buffer) {
    return {FileIn(registers, features::kFileSelector),
            operation,
            mode,
            registers.GetNumber(kOffset),
            registers.GetNumber(kLength),
            buffer};
}

FileAccess::File FileLayout::FileIn(const RegisterRegion& registers, std::uint64_t address) {
    return static_cast<FileAccess::File>(registers.GetNumber(address));
}

void FileLayout::DescribeCategory(DescriptionWriter& writer, bool hasFileSize) const {
    std::vector<std::string> all{"FileOperationSelector", "FileOperationExecute",
                                 "FileOpenMode",          "FileAccessBuffer",
                                 "FileAccessOffset",      "FileAccessLength",
                                 "FileOperationStatus",   "FileOperationResult"};
    if (hasFileSize) {
        all.emplace_back("FileSize");
    }
    if (HasSelector()) {
        all.insert(all.begin(), "FileSelector");
    }
    writer.Category("FileAccessControl", all);
}

void FileLayout::DescribeFileSelector(DescriptionWriter& writer, const Elements& place,
                                      const std::vector<Entry>& more) const {
    if (!HasSelector()) {
        return;
    }
    std::vector<Entry> entries = mOptions.profile == Profile::kSelectorWithoutDfw
                                     ? std::vector<Entry>{{"StatusTxt", 1}, {"UserData", 2}}
                                     : std::vector<Entry>{{"RemoteUpdateDfw", 0}, {"StatusTxt", 1}};
    entries.insert(entries.end(), more.begin(), more.end());
    writer.Enumeration(
        "FileSelector", {"pValue", "FileSelectorReg"}, entries,
        {"FileOperationSelector", "FileOperationExecute", "FileOpenMode", "FileAccessBuffer",
         "FileAccessOffset", "FileAccessLength", "FileOperationStatus", "FileOperationResult"});
    writer.Register("FileSelectorReg", place, "RW");
}

void FileLayout::DescribeOperationSelector(DescriptionWriter& writer, const Element& value) {
    writer.Enumeration("FileOperationSelector", value,
                       {{"Open", 0}, {"Close", 1}, {"Read", 2}, {"Write", 3}},
                       {"FileOperationExecute", "FileAccessOffset", "FileAccessLength",
                        "FileOperationStatus", "FileOperationResult"});
}

void FileLayout::DescribeOpenMode(DescriptionWriter& writer, const Element& value,
                                  const std::vector<Entry>& more, const Elements& extra) {
    std::vector<Entry> entries{{"Read", 0}, {"Write", 1}};
    if (more.empty()) {
        entries.push_back({"ReadWrite", 2});
    }
    entries.insert(entries.end(), more.begin(), more.end());
    writer.Enumeration("FileOpenMode", value, entries, {}, extra);
}

void FileLayout::DescribeOffset(DescriptionWriter& writer) {
    writer.Number("FileAccessOffset", DescriptionWriter::At(kOffset), "RW", 0, 0xffffffffU);
}

void FileLayout::DescribeCommandByFormula(DescriptionWriter& writer, const std::string& formula) {
    writer.Node("Command", "FileOperationExecute",
                {{"pValue", "FileOperationExecuteReg"}, {"pCommandValue", "FileOperationCommand"}});
    writer.Register("FileOperationExecuteReg", DescriptionWriter::At(kExecute), "RW");
    writer.Formula("FileOperationCommand",
                   {{"OPERATION", "FileOperationSelector"}, {"MODE", "FileOpenMode"}}, formula);
}

void FileLayout::DescribeStatus(DescriptionWriter& writer, const std::string& value,
                                std::uint32_t success) {
    writer.Enumeration("FileOperationStatus", {"pValue", value},
                       {{"Success", success},
                        {"Failure", success + 1},
                        {"Overflow", success + 2},
                        {"Denied", success + 3},
                        {"InvalidLength", success + 4},
                        {"NotOpen", success + 5}});
}

}  // namespace simulator
