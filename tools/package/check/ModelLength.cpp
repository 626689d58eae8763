#include "ModelLength.h"

namespace {

// The model name register has 32 bytes, the last of which is zero (GigE Vision 2.0, section 27).
constexpr std::size_t kLongestModel = 31;

}  // namespace

std::string ModelLengthProblem(const std::string& model) {
    return model.size() <= kLongestModel
               ? ""
               : "the model name \"" + model + "\" has " + std::to_string(model.size()) +
                     " bytes; a GigE Vision device reports at most 31, so only a USB3 Vision "
                     "device can have it";
}

std::vector<std::string> ExactNames(const std::string& pattern) {
    std::vector<std::string> names{""};
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char character = pattern[i];
        if (character == '|') {
            names.emplace_back();
        } else if (character == '\\' && pattern.compare(i, 4, "\\x20") == 0) {
            names.back() += ' ';
            i += 3;
        } else if (character == '\\' && i + 1 < pattern.size() &&
                   std::string("^$\\.*+?()[]{}|/").find(pattern[i + 1]) != std::string::npos) {
            names.back() += pattern[++i];
        } else if (std::string("^$\\.*+?()[]{}").find(character) != std::string::npos) {
            return {};
        } else {
            names.back() += character;
        }
    }
    return names;
}
