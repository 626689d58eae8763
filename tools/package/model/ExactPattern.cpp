#include "ExactPattern.h"

namespace {

std::string Escape(const std::string& text) {
    std::string escaped;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char character = text[index];
        const bool edge = index == 0 || index + 1 == text.size() || text[index - 1] == ' ';
        if (character == ' ' && edge) {
            escaped += "\\x20";  // a manifest's white space is trimmed and collapsed
        } else if (std::string("^$\\.*+?()[]{}|/").find(character) != std::string::npos) {
            escaped += std::string("\\") + character;
        } else {
            escaped += character;
        }
    }
    return escaped;
}

}  // namespace

std::string ExactPattern(const std::vector<std::string>& texts) {
    std::string pattern;
    for (const std::string& text : texts) {
        pattern += (pattern.empty() ? "" : "|") + Escape(text);
    }
    return pattern;
}
