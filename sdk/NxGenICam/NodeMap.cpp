#include "NodeMap.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

#include <NxBase/NxResultCodes.h>

#include "NodeLinks.h"
#include "QuietLibraries.h"

namespace {

std::string FormatFloat(double value) {
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%.17g", value);
    // The shortest text that reads back as the same number.
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), value);
    return error == std::errc() ? std::string(text, end)
                                : std::string(text, static_cast<std::size_t>(length));
}

}  // namespace

NodeMap::NodeMap(std::shared_ptr<GenPort> port, const std::string& xml,
                 const DescriptionFacts& facts)
    : mDevice(std::move(port)),
      mGenicam(arv_gc_new(mDevice.Get(), xml.data(), xml.size())),
      mNodesWithSteps(facts.nodesWithSteps),
      mLengths(mGenicam, mDevice, facts) {}

NodeMap::~NodeMap() {
    if (mGenicam != nullptr) {
        g_object_unref(mGenicam);
    }
}

NxResult NodeMap::Load(std::shared_ptr<GenPort> port, const std::string& xml,
                       std::unique_ptr<NodeMap>& map) {
    DescriptionFacts facts;
    const std::string device = port->DeviceName();
    const auto refuse = [&device](const std::string& reason) {
        return NxResult(kNxBadDescription,
                        "The GenICam description of " + device + " cannot be used: " + reason);
    };
    if (const NxResult result = CheckDescription(xml, facts); !result.IsOK()) {
        return refuse(result.GetDescription().GetAscii());
    }
    std::unique_ptr<NodeMap> loaded(new NodeMap(std::move(port), xml, facts));
    if (loaded->mGenicam == nullptr ||
        arv_gc_get_node(loaded->mGenicam, facts.anyNodeName.c_str()) == nullptr) {
        return refuse("its nodes do not load");
    }
    // No cache: a stale register would be taken for the device's answer.
    arv_gc_set_register_cache_policy(loaded->mGenicam, ARV_REGISTER_CACHE_POLICY_DISABLE);
    // The device refuses what is out of range; a bound that cannot be read, or a maximum of 0, must
    // not be in the way of what it would take.
    arv_gc_set_range_check_policy(loaded->mGenicam, ARV_RANGE_CHECK_POLICY_DISABLE);
    arv_gc_set_access_check_policy(loaded->mGenicam, ARV_ACCESS_CHECK_POLICY_ENABLE);
    if (loaded->mDevice.Port().HasRegisterCommands() &&
        (facts.schemaMajor < 1 || (facts.schemaMajor == 1 && facts.schemaMinor < 1))) {
        loaded->mDevice.UseRegisterCommands();
    }
    map = std::move(loaded);
    return {};
}

bool NodeMap::HasIndexStep(ArvGcNode* node) const {
    const char* name = ARV_IS_GC_FEATURE_NODE(node)
                           ? arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node))
                           : nullptr;
    return name != nullptr && mNodesWithSteps.contains(name);
}

NxResult NodeMap::NoSuchNode(const std::string& name) {
    return NxResult(kNxNoSuchNode, mDevice.Port().DeviceName() + " has no GenICam feature " + name);
}

std::string NodeMap::Feature(const std::string& name) {
    return "The GenICam feature " + name + " of " + mDevice.Port().DeviceName();
}

NxResult NodeMap::IsImplemented(ArvGcFeatureNode* node, bool& implemented) {
    QuietLibraries();
    GError* error = nullptr;
    const gboolean answer = arv_gc_feature_node_is_implemented(node, &error);
    NxResult result =
        Check("The GenICam description of " + mDevice.Port().DeviceName() + " is at fault", error);
    if (result.IsOK()) {
        implemented = answer != FALSE;
    }
    return result;
}

NxResult NodeMap::Find(const std::string& name, ArvGcFeatureNode*& node) {
    QuietLibraries();
    ArvGcNode* found = arv_gc_get_node(mGenicam, name.c_str());
    if (found == nullptr || !ARV_IS_GC_FEATURE_NODE(found)) {
        node = nullptr;
        return {};
    }
    if (NxResult result = CheckLengths(name); !result.IsOK()) {
        return result;
    }
    auto* feature = ARV_GC_FEATURE_NODE(found);
    bool implemented = false;
    NxResult result = IsImplemented(feature, implemented);
    if (result.IsOK()) {
        node = implemented ? feature : nullptr;
    }
    return result;
}

NxResult NodeMap::FindEnumeration(const std::string& name, ArvGcEnumeration*& node) {
    ArvGcFeatureNode* found = nullptr;
    NxResult result = Find(name, found);
    if (result.IsOK()) {
        node =
            found != nullptr && ARV_IS_GC_ENUMERATION(found) ? ARV_GC_ENUMERATION(found) : nullptr;
    }
    return result;
}

NxResult NodeMap::FindReadable(const std::string& name, ArvGcFeatureNode*& node) {
    ArvGcFeatureNode* found = nullptr;
    if (NxResult result = Find(name, found); !result.IsOK()) {
        return result;
    }
    if (found == nullptr) {
        return NoSuchNode(name);
    }
    if (arv_gc_feature_node_get_actual_access_mode(found) == ARV_GC_ACCESS_MODE_WO) {
        return NxResult(kNxNodeAccess, Feature(name) + " is write-only");
    }
    GError* error = nullptr;
    const gboolean available = arv_gc_feature_node_is_available(found, &error);
    if (NxResult result =
            Check("Cannot read " + name + " of " + mDevice.Port().DeviceName(), error);
        !result.IsOK()) {
        return result;
    }
    if (available == FALSE) {
        return NxResult(kNxNodeAccess, Feature(name) + " is not available now");
    }
    node = found;
    return {};
}

NxResult NodeMap::FindWritable(const std::string& name, ArvGcFeatureNode*& node) {
    ArvGcFeatureNode* found = nullptr;
    if (NxResult result = Find(name, found); !result.IsOK()) {
        return result;
    }
    if (found == nullptr) {
        return NoSuchNode(name);
    }
    GError* error = nullptr;
    const gboolean available = arv_gc_feature_node_is_available(found, &error);
    if (NxResult result =
            Check("Cannot write " + name + " of " + mDevice.Port().DeviceName(), error);
        !result.IsOK()) {
        return result;
    }
    const gboolean locked = arv_gc_feature_node_is_locked(found, &error);
    if (NxResult result =
            Check("Cannot write " + name + " of " + mDevice.Port().DeviceName(), error);
        !result.IsOK()) {
        return result;
    }
    if (available == FALSE || locked != FALSE ||
        arv_gc_feature_node_get_actual_access_mode(found) == ARV_GC_ACCESS_MODE_RO) {
        return NxResult(kNxNodeAccess, Feature(name) + " cannot be written now: it is " +
                                           (available == FALSE ? "not available"
                                            : locked != FALSE  ? "locked"
                                                               : "read-only"));
    }
    node = found;
    return {};
}

NxResult NodeMap::ReadText(const std::string& name, std::string& text) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = FindReadable(name, node); !result.IsOK()) {
        return result;
    }
    if (NxResult result = mLengths.CheckText(node); !result.IsOK()) {
        return result;
    }
    GError* error = nullptr;
    std::string value;
    // The order matters: an enumeration is an integer and a string to Aravis as well.
    if (ARV_IS_GC_ENUMERATION(node)) {
        auto* enumeration = ARV_GC_ENUMERATION(node);
        const char* entry = arv_gc_enumeration_get_string_value(enumeration, &error);
        if (error == nullptr && entry != nullptr) {
            value = NodeLinks::StripEntryPrefix(name, entry);
        } else if (error == nullptr) {
            return NxResult(kNxNodeAccess,
                            Feature(name) + " has a value that is none of its entries");
        }
    } else if (ARV_IS_GC_BOOLEAN(node)) {
        value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node), &error) != FALSE ? "true" : "false";
    } else if (ARV_IS_GC_INTEGER(node)) {
        value = std::to_string(arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error));
    } else if (ARV_IS_GC_FLOAT(node)) {
        value = FormatFloat(arv_gc_float_get_value(ARV_GC_FLOAT(node), &error));
    } else if (ARV_IS_GC_STRING(node)) {
        const char* string = arv_gc_string_get_value(ARV_GC_STRING(node), &error);
        // Only valid when there is no error: a failed read returns an address of no text.
        if (error == nullptr && string != nullptr) {
            value = string;
        }
    } else {
        return NxResult(kNxNodeAccess, Feature(name) + " has no value");
    }
    NxResult result = Check("Cannot read " + name + " of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK()) {
        text = std::move(value);
    }
    return result;
}

NxResult NodeMap::ReadInteger(const std::string& name, std::int64_t& value) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = FindReadable(name, node); !result.IsOK()) {
        return result;
    }
    if (!ARV_IS_GC_INTEGER(node)) {
        return NxResult(kNxNodeAccess, Feature(name) + " is no integer");
    }
    GError* error = nullptr;
    const std::int64_t number = arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error);
    NxResult result = Check("Cannot read " + name + " of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK()) {
        value = number;
    }
    return result;
}

NxResult NodeMap::ReadMaximum(const std::string& name, std::int64_t& maximum) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = Find(name, node); !result.IsOK()) {
        return result;
    }
    if (node == nullptr || !ARV_IS_GC_INTEGER(node)) {
        return NoSuchNode(name + " that is an integer");
    }
    GError* error = nullptr;
    const std::int64_t number = arv_gc_integer_get_max(ARV_GC_INTEGER(node), &error);
    NxResult result =
        Check("Cannot find the maximum of " + name + " of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK()) {
        maximum = number;
    }
    return result;
}

NxResult NodeMap::WriteInteger(const std::string& name, std::int64_t value) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = FindWritable(name, node); !result.IsOK()) {
        return result;
    }
    if (!ARV_IS_GC_INTEGER(node)) {
        return NxResult(kNxNodeAccess, Feature(name) + " is no integer");
    }
    GError* error = nullptr;
    arv_gc_integer_set_value(ARV_GC_INTEGER(node), value, &error);
    return Check("Cannot set " + name + " of " + mDevice.Port().DeviceName() + " to " +
                     std::to_string(value),
                 error);
}

NxResult NodeMap::WriteEntry(const std::string& name, const std::string& entry) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = FindWritable(name, node); !result.IsOK()) {
        return result;
    }
    if (!ARV_IS_GC_ENUMERATION(node)) {
        return NxResult(kNxNodeAccess, Feature(name) + " is no enumeration");
    }
    ArvGcFeatureNode* found = nullptr;
    if (NxResult result = FindEntry(ARV_GC_ENUMERATION(node), entry, found); !result.IsOK()) {
        return result;
    }
    GError* error = nullptr;
    (void)arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(node),
                                              arv_gc_feature_node_get_name(found), &error);
    return Check("Cannot set " + name + " of " + mDevice.Port().DeviceName() + " to " + entry,
                 error);
}

NxResult NodeMap::CheckEntries(ArvGcEnumeration* enumeration) {
    const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(enumeration));
    return name != nullptr ? CheckLengths(name) : NxResult();
}

NxResult NodeMap::FindEntry(ArvGcEnumeration* enumeration, const std::string& entry,
                            ArvGcFeatureNode*& node) {
    if (NxResult result = CheckEntries(enumeration); !result.IsOK()) {
        return result;
    }
    for (const GSList* item = arv_gc_enumeration_get_entries(enumeration); item != nullptr;
         item = item->next) {
        auto* candidate = ARV_GC_FEATURE_NODE(item->data);
        if (SymbolicName(enumeration, candidate) != entry) {
            continue;
        }
        bool implemented = false;
        if (NxResult result = IsImplemented(candidate, implemented); !result.IsOK()) {
            return result;
        }
        if (implemented) {
            node = candidate;
            return {};
        }
    }
    const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(enumeration));
    return NxResult(kNxNoSuchNode, mDevice.Port().DeviceName() + " has no entry " + entry +
                                       " in its " +
                                       std::string(name != nullptr ? name : "enumeration"));
}

std::string NodeMap::SymbolicName(ArvGcEnumeration* enumeration, ArvGcFeatureNode* entry) {
    const char* enumerationName = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(enumeration));
    const char* name = arv_gc_feature_node_get_name(entry);
    return NodeLinks::StripEntryPrefix(enumerationName != nullptr ? enumerationName : "",
                                       name != nullptr ? name : "");
}

NxResult NodeMap::Execute(const std::string& name) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = FindWritable(name, node); !result.IsOK()) {
        return result;
    }
    if (!ARV_IS_GC_COMMAND(node)) {
        return NxResult(kNxNodeAccess, Feature(name) + " is no command");
    }
    GError* error = nullptr;
    arv_gc_command_execute(ARV_GC_COMMAND(node), &error);
    return Check("Cannot execute " + name + " of " + mDevice.Port().DeviceName(), error);
}

NxResult NodeMap::ReadRegisterAddress(const std::string& name, std::uint64_t& address) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = Find(name, node); !result.IsOK()) {
        return result;
    }
    if (node == nullptr || !ARV_IS_GC_REGISTER(node)) {
        return NoSuchNode(name + " that is a register");
    }
    GError* error = nullptr;
    const std::uint64_t answer = arv_gc_register_get_address(ARV_GC_REGISTER(node), &error);
    NxResult result =
        Check("Cannot find the address of " + name + " of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK()) {
        address = answer;
    }
    return result;
}

NxResult NodeMap::ReadRegisterLength(const std::string& name, std::uint64_t& length) {
    ArvGcFeatureNode* node = nullptr;
    if (NxResult result = Find(name, node); !result.IsOK()) {
        return result;
    }
    if (node == nullptr || !ARV_IS_GC_REGISTER(node)) {
        return NoSuchNode(name + " that is a register");
    }
    GError* error = nullptr;
    const std::uint64_t answer = arv_gc_register_get_length(ARV_GC_REGISTER(node), &error);
    NxResult result =
        Check("Cannot find the length of " + name + " of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK()) {
        length = answer;
    }
    return result;
}
