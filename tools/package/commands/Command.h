#pragma once

#include <cstddef>
#include <string>

#include <CLI/CLI.hpp>

/// One subcommand of mirsko-package: its options and what it does.
class Command {
  public:
    /// Exit statuses, the same for all.
    static constexpr int kDone = 0;
    static constexpr int kFailed = 1;  ///< a failure, or something that a check found
    static constexpr int kUsage = 2;

    /// Number of characters that a printed line may have.
    static constexpr std::size_t kLongestLine = 2000;

    Command() = default;
    virtual ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Adds the subcommand to the program's options. Called once.
    virtual CLI::App* Declare(CLI::App& program) = 0;
    /// Runs with the options that were parsed; prints its own failures to standard error.
    [[nodiscard]] virtual int Run() = 0;

  protected:
    /// Adds a required argument.
    static CLI::Option* AddArgument(CLI::App& options, const std::string& name, std::string& value,
                                    const std::string& help);
    /// Adds the required argument PACKAGE, a path that ends in ".zip".
    static void AddPackage(CLI::App& options, std::string& package);

    /// Prints "mirsko-package: <text>" to standard error, as PrintableText makes it.
    static void Note(const std::string& text);
    /// The same.
    /// @return kFailed
    static int Fail(const std::string& text);
};
