#include "HelpFormatter.h"

#include <sstream>
#include <utility>

namespace {

constexpr std::size_t kColumns = 80;

}  // namespace

HelpFormatter::HelpFormatter() {
    column_width(27);
}

std::string HelpFormatter::make_group(std::string group, bool isPositional,
                                      std::vector<const CLI::Option*> options) const {
    // CLI11 puts a blank line both after one group and before the next.
    const bool isFirst = isPositional || group == "Options";
    const std::string text =
        CLI::Formatter::make_group(std::move(group), isPositional, std::move(options));
    return isFirst ? text : text.substr(text.find_first_not_of('\n'));
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const bool takesValue = option->get_type_size() != 0;
    return takesValue && option->nonpositional() ? " " + option->get_type_name() : "";
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
    std::string text = option->get_description();
    if (!option->get_default_str().empty()) {
        text += " [" + option->get_default_str() + "]";
    }
    const std::size_t room = kColumns - get_column_width();
    std::istringstream words(text);
    std::string lines;
    std::size_t used = 0;
    for (std::string word; words >> word; used += word.size()) {
        if (used != 0 && used + 1 + word.size() > room) {
            lines += '\n';
            used = 0;
        } else if (used != 0) {
            lines += ' ';
            ++used;
        }
        lines += word;
    }
    return lines;
}
