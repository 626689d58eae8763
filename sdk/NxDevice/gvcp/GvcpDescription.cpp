#include "GvcpDescription.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "xml_location/DescriptionArchive.h"
#include "xml_location/DescriptionText.h"

namespace {

using std::chrono::milliseconds;

// Bootstrap registers (GigE Vision 2.0, section 28).
constexpr std::uint32_t kMacAddress = 0x0008;
constexpr std::size_t kMacAddressSize = 8;
// Manufacturer, model, version, information and serial number.
constexpr std::uint32_t kTexts = 0x0048;
constexpr std::size_t kTextsSize = 0x00E8 - kTexts;
constexpr std::uint32_t kFirstUrl = 0x0200;
constexpr std::uint32_t kSecondUrl = 0x0400;
constexpr std::size_t kUrlSize = 512;

constexpr milliseconds kGrace{5000};
constexpr std::size_t kSlowestBytesPerSecond = std::size_t{16} * 1024;
constexpr std::size_t kLongestShown = 80;

std::string Quote(const std::string& url) {
    return "\"" + PrintableText(std::string_view(url).substr(0, kLongestShown)) + "\"";
}

std::span<std::byte> BytesOf(std::string& text) {
    return std::as_writable_bytes(std::span(text));
}

}  // namespace

NxResult GvcpDescription::Read(std::shared_ptr<const DescriptionCopy>& copy) {
    mStart = mChannel.Now();
    mDone = 0;
    mIdentity = ReadIdentity();
    std::string problems;
    for (const std::uint32_t urlRegister : {kFirstUrl, kSecondUrl}) {
        if (!mChannel.IsAlive()) {
            break;
        }
        std::string problem;
        if (ReadFrom(urlRegister, copy, problem).IsOK()) {
            return {};
        }
        // A device with one description often has no second URL.
        if (!problem.empty()) {
            problems += (problems.empty() ? "" : "; ") + problem;
        }
    }
    if (!mChannel.IsAlive()) {
        return mChannel.Failure();
    }
    return NxResult(kNxBadDescription,
                    mDeviceName + " has no usable GenICam description: " +
                        (problems.empty() ? "both of its URLs are empty" : problems));
}

// Without all of it nothing is known for sure.
std::string GvcpDescription::ReadIdentity() {
    std::string mac(kMacAddressSize, '\0');
    std::string texts(kTextsSize, '\0');
    if (!Download(kMacAddress, BytesOf(mac)).IsOK() || !Download(kTexts, BytesOf(texts)).IsOK()) {
        return {};
    }
    return mac + texts;
}

NxResult GvcpDescription::ReadFrom(std::uint32_t urlRegister,
                                   std::shared_ptr<const DescriptionCopy>& copy,
                                   std::string& problem) {
    std::string url(kUrlSize, '\0');
    NxResult result = Download(urlRegister, BytesOf(url));
    url.resize(std::min(url.find('\0'), url.size()));
    if (!result.IsOK()) {
        problem = result.GetDescription().GetAscii();
        return result;
    }
    const auto refuse = [&](const std::string& why) {
        problem = url.empty() ? "" : Quote(url) + ": " + why;
        return NxResult(kNxBadDescription, problem);
    };
    DescriptionLocation location;
    if (const std::string why = DescriptionLocation::Parse(url, location); !why.empty()) {
        return refuse(why);
    }
    if (copy != nullptr && !mIdentity.empty() && copy->identity == mIdentity && copy->url == url) {
        bool unchanged = false;
        result = IsUnchanged(*copy, location, unchanged);
        if (!result.IsOK() || unchanged) {
            return result.IsOK() ? result : refuse(result.GetDescription().GetAscii());
        }
    }
    std::vector<std::byte> stored(location.length);
    result = Download(location.address, stored);
    if (!result.IsOK()) {
        return refuse(result.GetDescription().GetAscii());
    }
    auto read = std::make_shared<DescriptionCopy>();
    if (std::string why; !UnpackDescription(stored, read->xml, why)) {
        return refuse(why);
    }
    if (!LooksLikeXml(read->xml)) {
        return refuse("it points to neither XML nor a zip archive");
    }
    read->identity = mIdentity;
    read->url = url;
    const std::size_t end = std::min(stored.size(), GvcpPacket::kLargestBlock);
    const auto* const text = reinterpret_cast<const char*>(stored.data());
    read->ends = std::string(text, end) + std::string(text + stored.size() - end, end);
    copy = std::move(read);
    return {};
}

NxResult GvcpDescription::IsUnchanged(const DescriptionCopy& known,
                                      const DescriptionLocation& location, bool& unchanged) {
    const std::size_t end = std::min<std::size_t>(location.length, GvcpPacket::kLargestBlock);
    std::string first(end, '\0');
    std::string last(end, '\0');
    NxResult result = Download(location.address, BytesOf(first));
    if (result.IsOK()) {
        result = Download(std::uint64_t{location.address} + location.length - end, BytesOf(last));
    }
    unchanged = result.IsOK() && first + last == known.ends;
    return result;
}

// Block by block: what comes moves the deadline.
NxResult GvcpDescription::Download(std::uint64_t address, std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        mChannel.SetDeadline(mStart + kGrace + milliseconds(mDone * 1000 / kSlowestBytesPerSecond));
        // So that the next one begins at a multiple of four.
        const std::size_t lead = (4 - address % 4) % 4;
        const std::size_t part = std::min(bytes.size(), lead + GvcpPacket::kLargestBlock);
        NX_RETURN_IF_FAILED(mSpace.ReadBytes(address, bytes.first(part)));
        mDone += part;
        address += part;
        bytes = bytes.subspan(part);
    }
    return {};
}
