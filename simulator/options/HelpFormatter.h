#pragma once

#include <string>

#include <CLI/CLI.hpp>

/// Lays out mirsko-simulator's help: the name of a value beside its option, the default in brackets
/// at the end of the description, no line of more than 80 columns.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter();

    std::string make_group(std::string group, bool isPositional,
                           std::vector<const CLI::Option*> options) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};
