#include "FileDevice.h"

#include <algorithm>

#include "GenXml.h"

namespace {

constexpr unsigned int kFile = 0x1000;
constexpr unsigned int kOperation = 0x1004;
constexpr unsigned int kMode = 0x1008;
constexpr unsigned int kHasSelector = FileDevice::kHasSelectorAddress;
constexpr unsigned int kPlainBase = 0x2000;
constexpr unsigned int kExecute = 0x00;
constexpr unsigned int kOffset = 0x10;
constexpr unsigned int kLength = 0x20;
constexpr unsigned int kStatus = 0x30;
constexpr unsigned int kResult = 0x40;
constexpr unsigned int kSize = 0x50;
constexpr unsigned int kBuffer = 0x100;
constexpr unsigned int kStride = 0x100000;

enum Operation : std::uint32_t { kOpen, kClose, kRead, kWrite };

}  // namespace

FileDevice::FileDevice(Layout layout) : mLayout(std::move(layout)) {
    port->StoreBig(0x0004, 0x80000000U);  // device mode: big-endian
    port->StoreBig(kHasSelector, 1);
    port->onWrite = [this](std::uint64_t address) {
        if (address == Base() + kExecute && port->LoadBig(address) == 1) {
            Execute();
        }
        if (address == kFile) {
            const auto file = std::next(files.begin(), port->LoadBig(kFile));
            port->StoreBig(Base() + kSize, static_cast<std::uint32_t>(file->second.size()));
        }
    };
    port->onRead = [this](std::uint64_t address) {
        if (address == Base() + kExecute && mAsksLeft > 0 && --mAsksLeft == 0) {
            Finish(mStatus, mResult);
        }
    };
}

std::uint64_t FileDevice::Base() const {
    return kPlainBase + (mLayout.dependsOnSelectors
                             ? kStride * (4 * port->LoadBig(kFile) + port->LoadBig(kOperation))
                             : 0);
}

void FileDevice::Execute() {
    ++operations;
    std::uint32_t result = 0;
    const std::uint32_t status = Run(port->LoadBig(kOperation), result);
    if (asksUntilDone == 0) {
        Finish(status, result);
        return;
    }
    // What the registers say of the operation before stays until this one is done.
    mAsksLeft = asksUntilDone;
    mStatus = status;
    mResult = result;
}

void FileDevice::Finish(std::uint32_t status, std::uint32_t result) {
    port->StoreBig(Base() + kExecute, 0);
    port->StoreBig(Base() + kStatus, status);
    port->StoreBig(Base() + kResult, result);
    if (forgetsLength) {
        port->StoreBig(Base() + kLength, 0);
    }
}

std::uint32_t FileDevice::Run(std::uint32_t operation, std::uint32_t& result) {
    auto& [name, content] = *std::next(files.begin(), port->LoadBig(kFile));
    const std::size_t offset = port->LoadBig(Base() + kOffset);
    const std::size_t length = port->LoadBig(Base() + kLength);
    switch (operation) {
        case kOpen:
            ++opens;
            if (refusesEveryOpen || !openFile.empty()) {
                return 1;
            }
            openFile = name;
            return 0;
        case kClose:
            ++closes;
            openFile.clear();
            return 0;
        case kRead: {
            if (openFile != name || offset > content.size()) {
                return 1;
            }
            const std::string bytes = content.substr(offset, length);
            port->Store(Base() + kBuffer, bytes);
            result = static_cast<std::uint32_t>(bytes.size());
            return 0;
        }
        default: {
            if (openFile != name || offset > content.size() || content.size() >= failsAt) {
                return 1;
            }
            const std::size_t room = isFullAt - std::min(isFullAt, offset);
            const std::string bytes =
                port->Load(Base() + kBuffer, std::min({length, takesAtMost, room}));
            content.resize(std::max(content.size(), offset + bytes.size()));
            content.replace(offset, bytes.size(), bytes);
            result = static_cast<std::uint32_t>(bytes.size());
            return 0;
        }
    }
}

std::string FileDevice::Xml() const {
    const std::string index = mLayout.dependsOnSelectors ? "<pAddress>SelectedBase</pAddress>" : "";
    const auto reg = [&index](const char* name, unsigned int at, const char* mode = "RW") {
        return GenXml::Register(name, kPlainBase + at, mode, index);
    };
    std::string nodes;
    if (mLayout.hasSelector) {
        std::string entries;
        int value = 0;
        for (const auto& [name, content] : files) {
            entries += GenXml::Entry("EnumEntry_FileSelector_" + name, value++);
        }
        const std::string optional =
            mLayout.selectorIsOptional ? "<pIsImplemented>HasSelectorReg</pIsImplemented>" : "";
        nodes +=
            GenXml::Enumeration("FileSelector", optional + entries + "<pValue>FileReg</pValue>");
    }
    nodes += GenXml::Register("FileReg", kFile) + GenXml::Register("OperationReg", kOperation) +
             GenXml::Register("ModeReg", kMode) + GenXml::Register("HasSelectorReg", kHasSelector);
    nodes += GenXml::Enumeration("FileOperationSelector",
                                 GenXml::Entry("Open", 0) + GenXml::Entry("Close", 1) +
                                     GenXml::Entry("Read", 2) + GenXml::Entry("Write", 3) +
                                     "<pValue>OperationReg</pValue>");
    nodes +=
        GenXml::Enumeration("FileOpenMode", GenXml::Entry("Read", 0) + GenXml::Entry("Write", 1) +
                                                "<pValue>ModeReg</pValue>");
    nodes +=
        "<IntSwissKnife Name=\"SelectedBase\"><pVariable Name=\"FILE\">FileReg</pVariable>"
        "<pVariable Name=\"OPERATION\">OperationReg</pVariable>"
        "<Formula>(4 * FILE + OPERATION) * 0x100000</Formula></IntSwissKnife>\n";
    nodes +=
        "<Command Name=\"FileOperationExecute\"><pValue>ExecuteReg</pValue>"
        "<CommandValue>1</CommandValue></Command>\n";
    nodes += reg("ExecuteReg", kExecute, mLayout.executeIsWriteOnly ? "WO" : "RW");
    nodes += GenXml::Integer("FileAccessOffset", "<pValue>OffsetReg</pValue>") +
             reg("OffsetReg", kOffset);
    nodes +=
        GenXml::Integer("FileAccessLength", mLayout.lengthLimit + "<pValue>LengthReg</pValue>") +
        reg("LengthReg", kLength);
    std::string status = reg("StatusReg", kStatus, "RO");
    if (mLayout.statusTag == "MaskedIntReg") {
        status.replace(status.find("IntReg"), 6, "MaskedIntReg");
        status.replace(status.rfind("IntReg"), 6, "MaskedIntReg");
        status.insert(status.find("<Sign>"), "<LSB>31</LSB><MSB>0</MSB>");
    }
    nodes += GenXml::Enumeration("FileOperationStatus", GenXml::Entry("Success", 0) +
                                                            GenXml::Entry("Failure", 1) +
                                                            "<pValue>StatusReg</pValue>") +
             status;
    nodes += GenXml::Integer("FileOperationResult", "<pValue>ResultReg</pValue>") +
             reg("ResultReg", kResult, "RO");
    if (mLayout.hasFileSize) {
        nodes += GenXml::Integer("FileSize", "<pValue>SizeReg</pValue>") + reg("SizeReg", kSize);
    }
    std::string buffer = reg("FileAccessBuffer", kBuffer);
    buffer.replace(buffer.find("IntReg"), 6, "Register");
    buffer.replace(buffer.rfind("IntReg"), 6, "Register");
    buffer.replace(buffer.find("<Length>4"), 9, "<Length>" + std::to_string(mLayout.bufferSize));
    buffer.erase(buffer.find("<Sign>"), buffer.find("</Register>") - buffer.find("<Sign>"));
    return GenXml::Description(nodes + buffer);
}
