#include "DescriptionLocation.h"

#include <charconv>
#include <cstddef>
#include <string_view>

#include <NxBase/Ascii.h>

namespace {

constexpr std::uint32_t kLongest = 16U << 20U;

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kSpace(" \t\r\n");
    while (!text.empty() && kSpace.find(text.front()) != std::string_view::npos) {
        text.remove_prefix(1);
    }
    while (!text.empty() && kSpace.find(text.back()) != std::string_view::npos) {
        text.remove_suffix(1);
    }
    return text;
}

// @return what is wrong with it; empty when nothing is
std::string ParseHexadecimal(std::string_view text, const char* what, std::uint32_t& number) {
    if (text.empty()) {
        return std::string("it has no ") + what;
    }
    std::string_view digits = text;
    // Not in the standard, but seen in devices.
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
    }
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (error == std::errc::result_out_of_range) {
        return std::string("its ") + what + " does not fit into 32 bits";
    }
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::string("its ") + what + " is not a hexadecimal number";
    }
    return {};
}

std::string_view CutAt(std::string_view& rest, char separator) {
    const std::size_t at = rest.find(separator);
    const std::string_view part = rest.substr(0, at);
    rest = at == std::string_view::npos ? std::string_view() : rest.substr(at + 1);
    return Trim(part);
}

}  // namespace

std::string DescriptionLocation::Parse(const std::string& url, DescriptionLocation& location) {
    std::string_view rest = Trim(std::string_view(url).substr(0, url.find('\0')));
    if (rest.empty()) {
        return "it is empty";
    }
    if (!Ascii::IsSameIgnoringCase(CutAt(rest, ':'), "local")) {
        return "it does not begin with \"Local:\"";
    }
    DescriptionLocation found;
    // Some devices write "Local:///name".
    found.fileName = std::string(CutAt(rest, ';'));
    found.fileName.erase(0, found.fileName.find_first_not_of('/'));
    std::string problem = ParseHexadecimal(CutAt(rest, ';'), "address", found.address);
    if (problem.empty()) {
        problem = ParseHexadecimal(CutAt(rest, '?'), "length", found.length);
    }
    if (!problem.empty()) {
        return problem;
    }
    if (found.length == 0) {
        return "its length is 0";
    }
    if (found.length > kLongest) {
        return "its length is more than 16 MiB";
    }
    location = found;
    return {};
}
