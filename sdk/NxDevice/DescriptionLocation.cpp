#include "DescriptionLocation.h"

#include <charconv>
#include <cstddef>
#include <string_view>

namespace {

constexpr std::uint32_t kLongest = 16U << 20U;

bool EqualIgnoringCase(std::string_view text, std::string_view lowerCase) {
    if (text.size() != lowerCase.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lowerCase[i]) {
            return false;
        }
    }
    return true;
}

bool ParseHexadecimal(std::string_view text, std::uint32_t& number) {
    // Not in the standard, but seen in devices.
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
    }
    std::uint32_t parsed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed, 16);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return false;
    }
    number = parsed;
    return true;
}

std::string_view CutAt(std::string_view& rest, char separator) {
    const std::size_t at = rest.find(separator);
    const std::string_view part = rest.substr(0, at);
    rest = at == std::string_view::npos ? std::string_view() : rest.substr(at + 1);
    return part;
}

}  // namespace

bool DescriptionLocation::Parse(const std::string& url, DescriptionLocation& location) {
    constexpr std::string_view kSpace(" \t\r\n");
    std::string_view all = std::string_view(url).substr(0, url.find('\0'));
    all = CutAt(all, '?');
    while (!all.empty() && kSpace.find(all.back()) != std::string_view::npos) {
        all.remove_suffix(1);
    }
    const std::string_view scheme = CutAt(all, ':');
    DescriptionLocation found;
    // Some devices write "Local:///name".
    found.fileName = std::string(CutAt(all, ';'));
    found.fileName.erase(0, found.fileName.find_first_not_of('/'));
    const std::string_view address = CutAt(all, ';');
    if (!EqualIgnoringCase(scheme, "local") || !ParseHexadecimal(address, found.address) ||
        !ParseHexadecimal(all, found.length) || found.length == 0 || found.length > kLongest) {
        return false;
    }
    location = found;
    return true;
}
