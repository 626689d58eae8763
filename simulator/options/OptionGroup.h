#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

/// Adds options to a command line, all of them to one group of its help. What an option sets must
/// outlive the parsing; the value that it has when it is added is shown as the default.
class OptionGroup {
  public:
    explicit OptionGroup(CLI::App& app, std::string group = "Options")
        : mApp(app), mGroup(std::move(group)) {}

    /// @param type what the help calls the value
    template <typename Value>
    CLI::Option* Add(const std::string& name, Value& target, const std::string& type,
                     const std::string& description) {
        return Shown(mApp.add_option(name, target, description)->capture_default_str(), type);
    }

    /// One without a default.
    template <typename Value>
    void Add(const std::string& name, std::optional<Value>& target, const std::string& type,
             const std::string& description) {
        Call<Value>(
            name, [&target](const Value& value) { target = value; }, type, description);
    }

    /// A time in milliseconds or microseconds, whichever the target counts in.
    template <typename Duration>
    void AddTime(const std::string& name, Duration& target, const std::string& description) {
        const bool fine = std::is_same_v<Duration, std::chrono::microseconds>;
        Call<std::uint32_t>(
            name, [&target](std::uint32_t value) { target = Duration(value); }, fine ? "US" : "MS",
            description)
            ->default_str(std::to_string(target.count()));
    }

    void AddFlag(const std::string& name, bool& target, const std::string& description) {
        mApp.add_flag(name, target, description)->group(mGroup);
    }

    /// A flag that gives the target that value.
    template <typename Value>
    void AddSwitch(const std::string& name, Value& target, Value value,
                   const std::string& description) {
        mApp.add_flag_callback(
                name, [&target, value] { target = value; }, description)
            ->group(mGroup);
    }

    /// One of several words.
    /// @param kind what the words name, for "unknown `kind` …"
    /// @param valueNamed std::optional<Value> of a std::string
    /// @param shown name of the default
    template <typename Value, typename ValueNamed>
    void AddChoice(const std::string& name, Value& target, const std::string& kind,
                   ValueNamed valueNamed, const std::string& shown, const std::string& type,
                   const std::string& description) {
        Call<std::string>(
            name,
            [name, &target, kind, valueNamed](const std::string& word) {
                const std::optional<Value> value = valueNamed(word);
                if (!value) {
                    throw CLI::ValidationError(name, "unknown " + kind + " " + word);
                }
                target = *value;
            },
            type, description)
            ->default_str(shown);
    }

    /// What no other operation can say.
    template <typename Value, typename Callback>
    CLI::Option* Call(const std::string& name, Callback callback, const std::string& type,
                      const std::string& description) {
        return Shown(mApp.add_option_function<Value>(name, std::move(callback), description), type);
    }

  private:
    CLI::Option* Shown(CLI::Option* option, const std::string& type) const {
        return option->type_name(type)->group(mGroup);
    }

    CLI::App& mApp;
    const std::string mGroup;
};
