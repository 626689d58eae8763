#include "AravisFileClient.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Fail.h"

namespace {

constexpr int kMostPolls = 100000;

void Check(GError* error, const std::string& what) {
    if (error != nullptr) {
        Fail(what + ": " + error->message);
    }
}

ArvGcPropertyNode* Property(ArvGcNode* node, ArvGcPropertyNodeType type) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_PROPERTY_NODE(child) &&
            arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child)) == type) {
            return ARV_GC_PROPERTY_NODE(child);
        }
    }
    return nullptr;
}

ArvGcNode* LinkedValue(ArvGcNode* node) {
    ArvGcPropertyNode* const value = Property(node, ARV_GC_PROPERTY_NODE_TYPE_P_VALUE);
    return value != nullptr ? arv_gc_property_node_get_linked_node(value) : nullptr;
}

gint64 IntegerOf(ArvGcNode* node, const std::string& name) {
    GError* error = nullptr;
    const gint64 value = arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error);
    Check(error, name);
    return value;
}

}  // namespace

AravisFileClient::AravisFileClient(std::string address, Style style)
    : mAddress(std::move(address)), mStyle(style) {}

AravisFileClient::~AravisFileClient() {
    g_clear_object(&mDevice);
}

ArvGcNode* AravisFileClient::Node(const char* name) const {
    ArvGcNode* const node = arv_gc_get_node(mNodes, name);
    if (node == nullptr) {
        Fail(std::string("the device has no ") + name);
    }
    return node;
}

void AravisFileClient::Select(const char* name, const char* entry) {
    GError* error = nullptr;
    arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(Node(name)), entry, &error);
    Check(error, name);
}

void AravisFileClient::SetInteger(const char* name, gint64 value) {
    GError* error = nullptr;
    arv_gc_integer_set_value(ARV_GC_INTEGER(Node(name)), value, &error);
    Check(error, name);
}

gint64 AravisFileClient::GetInteger(const char* name) const {
    return IntegerOf(Node(name), name);
}

bool AravisFileClient::MayWrite(const char* name) const {
    return arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(Node(name))) !=
           ARV_GC_ACCESS_MODE_RO;
}

void AravisFileClient::FindExecuteRegister() {
    ArvGcNode* const node = LinkedValue(Node("FileOperationExecute"));
    const bool isReadable = node != nullptr && ARV_IS_GC_INTEGER(node) &&
                            arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(node)) !=
                                ARV_GC_ACCESS_MODE_WO;
    mExecuteRegister = isReadable ? node : nullptr;
    mCommandValue = Property(Node("FileOperationExecute"), ARV_GC_PROPERTY_NODE_TYPE_COMMAND_VALUE);
    if (mCommandValue == nullptr) {
        mCommandValue =
            Property(Node("FileOperationExecute"), ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE);
    }
}

void AravisFileClient::Execute() {
    GError* error = nullptr;
    arv_gc_command_execute(ARV_GC_COMMAND(Node("FileOperationExecute")), &error);
    Check(error, "FileOperationExecute");
    if (mExecuteRegister != nullptr) {
        const gint64 busy = arv_gc_property_node_get_int64(mCommandValue, &error);
        Check(error, "FileOperationExecute");
        for (int i = 0;
             IntegerOf(mExecuteRegister, "FileOperationExecute") == busy && i < kMostPolls; ++i) {
        }
    }
    const char* const status = arv_gc_enumeration_get_string_value(
        ARV_GC_ENUMERATION(Node("FileOperationStatus")), &error);
    Check(error, "FileOperationStatus");
    if (std::strcmp(status, "Success") != 0) {
        Fail(std::string("a file operation failed: ") + status);
    }
}

void AravisFileClient::Open() {
    GInetAddress* const self = g_inet_address_new_from_string("127.0.0.1");
    GInetAddress* const device = g_inet_address_new_from_string(mAddress.c_str());
    GError* error = nullptr;
    mDevice = arv_gv_device_new(self, device, &error);
    g_object_unref(self);
    g_object_unref(device);
    Check(error, "connect");
    mNodes = arv_device_get_genicam(mDevice);
    FindExecuteRegister();
    Select("FileSelector", "RemoteUpdateDfw");
    Select("FileOperationSelector", "Open");
    Select("FileOpenMode", "Write");
    Execute();
    Select("FileOperationSelector", "Write");
}

void AravisFileClient::Close() {
    Select("FileOperationSelector", "Close");
    Execute();
}

void AravisFileClient::WriteMemory(guint64 address, const char* data, std::size_t size) {
    GError* error = nullptr;
    const gboolean done = arv_device_write_memory(mDevice, address, static_cast<guint32>(size),
                                                  const_cast<char*>(data), &error);
    Check(error, "write_memory");
    if (done == FALSE) {
        Fail("write_memory refused");
    }
}

void AravisFileClient::Write(const std::string& path) {
    const std::string payload = ReadWhole(path);
    switch (mStyle) {
        case Style::kStraightforward:
            return WriteStraightforward(payload);
        case Style::kLean:
            return WriteLean(payload);
        case Style::kResolved:
            return WriteResolved(payload);
    }
}

void AravisFileClient::WriteStraightforward(const std::string& payload) {
    const bool setsOffset = MayWrite("FileAccessOffset");
    GError* error = nullptr;
    for (std::size_t offset = 0; offset < payload.size();) {
        ArvGcRegister* const buffer = ARV_GC_REGISTER(Node("FileAccessBuffer"));
        const auto room = static_cast<std::size_t>(arv_gc_register_get_length(buffer, &error));
        Check(error, "FileAccessBuffer");
        std::string chunk = payload.substr(offset, room);
        const std::size_t length = chunk.size();
        chunk.resize(room);
        Select("FileOperationSelector", "Write");
        if (setsOffset) {
            SetInteger("FileAccessOffset", static_cast<gint64>(offset));
        }
        SetInteger("FileAccessLength", static_cast<gint64>(length));
        arv_gc_register_set(buffer, chunk.data(), room, &error);
        Check(error, "FileAccessBuffer");
        Execute();
        if (GetInteger("FileOperationResult") != static_cast<gint64>(length)) {
            Fail("a short write");
        }
        offset += length;
    }
}

AravisFileClient::Buffer AravisFileClient::FindBuffer() const {
    GError* error = nullptr;
    ArvGcRegister* const buffer = ARV_GC_REGISTER(Node("FileAccessBuffer"));
    const guint64 address = arv_gc_register_get_address(buffer, &error);
    Check(error, "FileAccessBuffer");
    const auto room = static_cast<std::size_t>(arv_gc_register_get_length(buffer, &error));
    Check(error, "FileAccessBuffer");
    return {address, room};
}

void AravisFileClient::WriteLean(const std::string& payload) {
    const auto [address, room] = FindBuffer();
    const bool setsOffset = MayWrite("FileAccessOffset");
    std::size_t lengthInDevice = 0;
    for (std::size_t offset = 0; offset < payload.size();) {
        const std::size_t length = std::min(room, payload.size() - offset);
        WriteMemory(address, &payload[offset], length);
        if (setsOffset) {
            SetInteger("FileAccessOffset", static_cast<gint64>(offset));
        }
        if (length != lengthInDevice) {
            SetInteger("FileAccessLength", static_cast<gint64>(length));
            lengthInDevice = length;
        }
        Execute();
        if (GetInteger("FileOperationResult") != static_cast<gint64>(length)) {
            Fail("a short write");
        }
        offset += length;
    }
}

AravisFileClient::Register AravisFileClient::Resolve(const char* name) const {
    ArvGcNode* node = Node(name);
    while (node != nullptr && !ARV_IS_GC_REGISTER(node)) {
        node = LinkedValue(node);
    }
    if (node == nullptr ||
        std::strcmp(arv_dom_node_get_node_name(ARV_DOM_NODE(node)), "IntReg") != 0) {
        Fail(std::string(name) + " is not a plain register");
    }
    GError* error = nullptr;
    const guint64 address = arv_gc_register_get_address(ARV_GC_REGISTER(node), &error);
    Check(error, name);
    return {node, address};
}

void AravisFileClient::WriteRegister(const Register& target, guint32 value) {
    GError* error = nullptr;
    arv_device_write_register(mDevice, target.address, value, &error);
    Check(error, "write_register");
}

guint32 AravisFileClient::ReadRegister(const Register& source) const {
    GError* error = nullptr;
    guint32 value = 0;
    arv_device_read_register(mDevice, source.address, &value, &error);
    Check(error, "read_register");
    return value;
}

void AravisFileClient::WriteResolved(const std::string& payload) {
    const auto [address, room] = FindBuffer();
    const Register offsetRegister = Resolve("FileAccessOffset");
    const Register lengthRegister = Resolve("FileAccessLength");
    const Register executeRegister = Resolve("FileOperationExecute");
    const Register statusRegister = Resolve("FileOperationStatus");
    const Register resultRegister = Resolve("FileOperationResult");
    std::size_t lengthInDevice = 0;
    for (std::size_t offset = 0; offset < payload.size();) {
        const std::size_t length = std::min(room, payload.size() - offset);
        WriteMemory(address, &payload[offset], length);
        WriteRegister(offsetRegister, static_cast<guint32>(offset));
        if (length != lengthInDevice) {
            WriteRegister(lengthRegister, static_cast<guint32>(length));
            lengthInDevice = length;
        }
        WriteRegister(executeRegister, 1);
        for (int i = 0; ReadRegister(executeRegister) == 1 && i < kMostPolls; ++i) {
        }
        if (ReadRegister(statusRegister) != 0 || ReadRegister(resultRegister) != length) {
            Fail("a write failed");
        }
        offset += length;
    }
}
