#include <internal/NxSystem/ConnectionId.h>

#include <string_view>

#include <net/if.h>

#include <NxBase/Ascii.h>
#include <NxBase/NxResultCodes.h>

#include <internal/NxSystem/NetworkInterface.h>

namespace {

const std::string kUsbPrefix = "u3v:";

// The GUID is 12 characters: vendor and device number in hexadecimal (USB3 Vision 1.0, section 4).
constexpr std::size_t kLongestGuid = 64;

bool IsGuid(const std::string& text) {
    return !text.empty() && text.size() <= kLongestGuid && Ascii::IsGraphic(text);
}

// Any that Linux takes: users name interfaces in their own letters, too.
bool IsInterfaceName(const std::string& text) {
    constexpr std::string_view kRefused("/: \t\n\v\f\r\0", 9);
    return !text.empty() && text.size() < IFNAMSIZ && text != "." && text != ".." &&
           text.find_first_of(kRefused) == std::string::npos;
}

NxResult Malformed(const std::string& text) {
    return NxResult(kNxInvalidArgument, "\"" + text +
                                            "\" is not a connection ID: use an address such as "
                                            "192.168.1.20%eth1, or u3v: followed by a GUID");
}

}  // namespace

NxResult ConnectionId::Parse(const NxString& text, ConnectionId& id) {
    const std::string given = text.GetAscii();
    ConnectionId parsed;
    if (given.starts_with(kUsbPrefix)) {
        parsed.kind = Kind::kUsb;
        parsed.guid = given.substr(kUsbPrefix.size());
        if (!IsGuid(parsed.guid)) {
            return Malformed(given);
        }
    } else {
        const std::size_t separator = given.find('%');
        if (!ParseAddress(given.substr(0, separator), parsed.address)) {
            return Malformed(given);
        }
        if (separator != std::string::npos) {
            parsed.interfaceName = given.substr(separator + 1);
            if (!IsInterfaceName(parsed.interfaceName)) {
                return Malformed(given);
            }
        }
    }
    id = parsed;
    return NxResult();
}

std::string ConnectionId::Format() const {
    if (kind == Kind::kUsb) {
        return kUsbPrefix + guid;
    }
    return FormatAddress(address) + (interfaceName.empty() ? "" : "%" + interfaceName);
}
