// Every feature of every description that there is here, read by Aravis's node map and by ours from
// the same registers.
#include <arv.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "simulator/description/GenICamDescription.h"

using simulator::Bus;
using simulator::DescriptionShape;
using simulator::DeviceOptions;
using simulator::RegisterLayout;

namespace {

enum class Content { kZeros, kSmallNumbers, kAnything };

/// Registers whose bytes follow from their address.
std::byte ByteAt(std::uint64_t address, Content content) {
    std::uint64_t mixed = (address + 1) * 0x9E3779B97F4A7C15U;
    mixed ^= mixed >> 29U;
    mixed *= 0xBF58476D1CE4E5B9U;
    switch (content) {
        case Content::kZeros:
            return std::byte{0};
        case Content::kSmallNumbers:
            return static_cast<std::byte>(address % 4 == 3 ? mixed >> 60U & 3U : 0);
        case Content::kAnything:
            break;
    }
    return static_cast<std::byte>(mixed >> 56U);
}

class ContentPort : public GenPort {
  public:
    explicit ContentPort(Content content) : mContent(content) {}
    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override {
        for (std::size_t i = 0; i < buffer.size(); ++i) {
            buffer[i] = ByteAt(address + i, mContent);
        }
        return {};
    }
    NxResult WriteMemory(std::uint64_t, std::span<const std::byte>) override {
        return NxResult(kNxAccessDenied, "nothing is written here");
    }
    NxResult ReadRegisters(std::span<Register> registers) override {
        for (Register& one : registers) {
            (void)ReadMemory(one.address, one.bytes);
        }
        return {};
    }
    NxResult WriteRegisters(std::span<const Register>) override {
        return NxResult(kNxAccessDenied, "nothing is written here");
    }
    [[nodiscard]] std::string DeviceName() const override { return "192.0.2.7 on eth9"; }
    [[nodiscard]] bool CombinesRegisters() const override { return true; }
    [[nodiscard]] bool HasRegisterCommands() const override { return false; }

  private:
    Content mContent;
};

struct ContentDevice {
    ArvDevice parent;
    Content content;
};

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError**) {
    for (guint32 i = 0; i < size; ++i) {
        static_cast<std::byte*>(buffer)[i] =
            ByteAt(address + i, reinterpret_cast<ContentDevice*>(device)->content);
    }
    return TRUE;
}

GType ContentDeviceType() {
    static const GType type = g_type_register_static_simple(
        ARV_TYPE_DEVICE, "ContentDevice", sizeof(ArvDeviceClass),
        [](gpointer klass, gpointer) {
            static_cast<ArvDeviceClass*>(klass)->read_memory = ReadMemory;
        },
        sizeof(ContentDevice), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

/// What one of the two says of a feature: a value as text, or nothing.
using Answer = std::optional<std::string>;

class AravisNodes {
  public:
    AravisNodes(const std::string& xml, Content content)
        : mDevice(static_cast<ArvDevice*>(g_object_new(ContentDeviceType(), nullptr))) {
        reinterpret_cast<ContentDevice*>(mDevice)->content = content;
        mNodes = arv_gc_new(mDevice, xml.data(), xml.size());
    }
    ~AravisNodes() {
        g_clear_object(&mNodes);
        g_object_unref(mDevice);
    }
    AravisNodes(const AravisNodes&) = delete;
    AravisNodes& operator=(const AravisNodes&) = delete;

    [[nodiscard]] bool IsThere() const { return mNodes != nullptr; }
    [[nodiscard]] ArvGcNode* Node(const std::string& name) const {
        return arv_gc_get_node(mNodes, name.c_str());
    }
    /// @return false for nodes that are not values
    bool Ask(const std::string& name, Answer& answer) const {
        ArvGcNode* node = Node(name);
        GError* error = nullptr;
        std::string text;
        if (ARV_IS_GC_ENUMERATION(node)) {
            const char* value =
                arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(node), &error);
            text = error == nullptr && value != nullptr ? value : "";
            answer = value != nullptr && error == nullptr ? Answer(text) : std::nullopt;
        } else if (ARV_IS_GC_BOOLEAN(node)) {
            text = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node), &error) != 0 ? "true" : "false";
        } else if (ARV_IS_GC_COMMAND(node) || ARV_IS_GC_ENUM_ENTRY(node)) {
            return false;
        } else if (ARV_IS_GC_FLOAT(node)) {
            text = FromFloat(arv_gc_float_get_value(ARV_GC_FLOAT(node), &error));
        } else if (ARV_IS_GC_INTEGER(node)) {
            text = std::to_string(arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error));
        } else if (ARV_IS_GC_STRING(node)) {
            const char* value = arv_gc_string_get_value(ARV_GC_STRING(node), &error);
            text = error == nullptr && value != nullptr ? value : "";
        } else {
            return false;
        }
        if (!ARV_IS_GC_ENUMERATION(node)) {
            answer = error == nullptr ? Answer(text) : std::nullopt;
        }
        g_clear_error(&error);
        return true;
    }
    static std::string FromFloat(double value) {
        char text[40];
        const auto [end, error] = std::to_chars(std::begin(text), std::end(text), value);
        return {text, end};
    }
    /// The names of an enumeration's entries in the order of the description.
    [[nodiscard]] std::vector<std::string> Entries(const std::string& name) const {
        std::vector<std::string> names;
        const std::string prefix = "EnumEntry_" + name + "_";
        for (const GSList* entry = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(Node(name)));
             entry != nullptr; entry = entry->next) {
            if (arv_gc_feature_node_is_implemented(ARV_GC_FEATURE_NODE(entry->data), nullptr) ==
                0) {
                continue;
            }
            const std::string whole =
                arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry->data));
            names.insert(names.begin(),
                         whole.starts_with(prefix) ? whole.substr(prefix.size()) : whole);
        }
        return names;
    }

  private:
    ArvDevice* mDevice;
    ArvGc* mNodes = nullptr;
};

class OurNodes {
  public:
    OurNodes(const std::string& xml, Content content) {
        mResult = MakeParameterArray(std::make_shared<ContentPort>(content), xml, mNodes);
    }
    [[nodiscard]] const NxResult& Result() const { return mResult; }
    Answer Ask(const std::string& name, std::string& why) {
        NxString text;
        const NxResult result = mNodes->GetStringValue(NxString(name), text);
        why = result.GetDescription().GetAscii();
        return result.IsOK() ? Answer(text.GetAscii()) : std::nullopt;
    }
    std::vector<std::string> Entries(const std::string& name) {
        NxGenEnum* enumeration = mNodes->GetEnum(NxString(name));
        std::vector<std::string> names;
        for (unsigned int i = 0; enumeration != nullptr && i < enumeration->GetEntryCount(); ++i) {
            NxGenEnumEntry entry;
            NxString text;
            if (enumeration->GetEntryByIndex(i, entry).IsOK() && entry.GetName(text).IsOK()) {
                names.emplace_back(text.GetAscii());
            }
        }
        return names;
    }

  private:
    std::unique_ptr<NxGenParameterArray> mNodes;
    NxResult mResult;
};

std::set<std::string> NamesIn(const std::string& xml) {
    constexpr std::string_view kBefore = " Name=\"";
    std::set<std::string> names;
    for (std::size_t at = xml.find(kBefore); at != std::string::npos;
         at = xml.find(kBefore, at + 1)) {
        const std::size_t begin = at + kBefore.size();
        names.insert(xml.substr(begin, xml.find('"', begin) - begin));
    }
    return names;
}

/// Why the two may say different things. Empty when nothing is known that explains it.
std::string Explain(const AravisNodes& aravis, const std::string& name, const Answer& theirs,
                    const Answer& ours, const std::string& why) {
    const auto tells = [&why](const char* what) { return why.find(what) != std::string::npos; };
    if (!ours && theirs && tells("is write-only")) {
        return "Aravis reads what the description says is write-only";
    }
    if (!ours && theirs && tells("is not available at the moment")) {
        return "Aravis reads what the description says is not available";
    }
    if (!ours && theirs && tells("has no GenICam feature")) {
        return "Aravis reads what is not implemented";
    }
    if (!ours && theirs && theirs->empty() && ARV_IS_GC_ENUMERATION(aravis.Node(name))) {
        return "Aravis takes a value that is no entry for an empty text";
    }
    if (!ours && theirs && tells("numeric overflow")) {
        return "Aravis lets numbers wrap";
    }
    if (!ours && theirs && tells("divides by zero")) {
        return "Aravis takes 0 for a quotient without a value";
    }
    if (!ours && theirs && tells("refers to an undefined node")) {
        return "Aravis takes 0 for the value of a node that is not there";
    }
    if (name == "OddTwice") {
        return "of two nodes of one name Aravis takes the last, we the first";
    }
    if (name.starts_with("Correction")) {
        return "Aravis shifts a little-endian field that goes from bit 15 to bit 0 by 15";
    }
    return {};
}

/// Nodes that end the process in Aravis: by an endless recursion, and by a division by zero.
const std::set<std::string> kFatalToAravis{"OddCircle", "OddRemainder"};

struct Description {
    std::string name;
    std::string xml;
};

void PrintTo(const Description& description, std::ostream* stream) {
    *stream << description.name;
}

std::vector<Description> AllDescriptions() {
    std::vector<Description> all;
    for (const RegisterLayout layout : simulator::kLayoutNames.Values()) {
        for (const Bus bus : {Bus::kGigEVision, Bus::kUsb3Vision}) {
            DeviceOptions options;
            options.layout = layout;
            all.push_back({std::string(simulator::kLayoutNames.NameOf(layout)) +
                               (bus == Bus::kGigEVision ? "_gev" : "_u3v"),
                           DescribeDevice(options, bus)});
        }
    }
    for (const DescriptionShape shape : simulator::kShapeNames.Values()) {
        DeviceOptions options;
        options.description = {shape};
        all.push_back({std::string("shape_") + simulator::kShapeNames.NameOf(shape),
                       DescribeDevice(options, Bus::kGigEVision)});
    }
    ArvFakeCamera* camera = arv_fake_camera_new("differential");
    std::size_t size = 0;
    const char* xml = arv_fake_camera_get_genicam_xml(camera, &size);
    all.push_back({"aravis_fake_camera", std::string(xml, size)});
    g_object_unref(camera);
    for (Description& one : all) {
        std::replace(one.name.begin(), one.name.end(), '-', '_');
    }
    return all;
}

class NodeMapPeersTest : public testing::TestWithParam<Description> {};

TEST_P(NodeMapPeersTest, ReadsTheSameAsAravis) {
    std::size_t compared = 0;
    std::size_t equal = 0;
    std::map<std::string, int> explained;
    for (const Content content : {Content::kZeros, Content::kSmallNumbers, Content::kAnything}) {
        const AravisNodes aravis(GetParam().xml, content);
        OurNodes our(GetParam().xml, content);
        ASSERT_TRUE(aravis.IsThere());
        ASSERT_TRUE(our.Result().IsOK()) << our.Result().GetDescription().GetAscii();
        for (const std::string& name : NamesIn(GetParam().xml)) {
            Answer theirs;
            std::string why;
            if (kFatalToAravis.contains(name) || !aravis.Ask(name, theirs)) {
                continue;
            }
            const Answer ours = our.Ask(name, why);
            ++compared;
            if (ours == theirs) {
                ++equal;
            } else if (const std::string reason = Explain(aravis, name, theirs, ours, why);
                       !reason.empty()) {
                ++explained[reason];
            } else {
                ADD_FAILURE() << name << " is " << ours.value_or("nothing: " + why)
                              << ", by Aravis " << theirs.value_or("nothing") << ", content "
                              << static_cast<int>(content);
            }
            if (ARV_IS_GC_ENUMERATION(aravis.Node(name)) && ours.has_value()) {
                EXPECT_EQ(our.Entries(name), aravis.Entries(name)) << name;
            }
        }
    }
    EXPECT_GT(equal, 60U);
    // Of the large description most nodes are such fields.
    EXPECT_GT(equal, compared * 2 / 5);
    for (const auto& [reason, times] : explained) {
        RecordProperty(reason, times);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, NodeMapPeersTest, testing::ValuesIn(AllDescriptions()),
                         [](const auto& one) {
                             std::string name = one.param.name;
                             std::ranges::replace(name, '.', '_');
                             return name;
                         });

}  // namespace
