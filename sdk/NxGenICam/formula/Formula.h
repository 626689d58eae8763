#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <NxBase/NxResult.h>

#include "EvaluationBudget.h"

/// The formulas of IntSwissKnife, SwissKnife and the converters (GenICam Standard 2.0, section
/// 2.8.14 "SwissKnife"): C's operators and precedence, "=" and "<>" for equality, "**" for powers.
///
/// What is not needed is not evaluated: neither the other branch of "?:" nor what follows a decided
/// "&&" or "||" asks for its variables, divides by zero or fails otherwise.
namespace Formula {

enum class Variable { kFound, kAbsent, kFailed };

/// Gives the value of a variable, or puts the reason into `failure`.
template <typename Number>
using Lookup = std::function<Variable(std::string_view name, Number& value, NxResult& failure)>;

/// A formula of an IntSwissKnife or IntConverter, in 64-bit integers.
/// @return what the lookup failed with; kNxNodeAccess with the reason alone for a formula that is
///         malformed, divides by zero, overflows or exceeds the budget; `value` untouched
NxResult Evaluate(std::string_view formula, const Lookup<std::int64_t>& lookup,
                  EvaluationBudget& budget, std::int64_t& value);
/// A formula of a SwissKnife or Converter, in doubles.
NxResult Evaluate(std::string_view formula, const Lookup<double>& lookup, EvaluationBudget& budget,
                  double& value);

/// A number as a description writes it: decimal or "0x" and hexadecimal; up to 2^64 - 1, which is
/// -1.
bool ParseInteger(std::string_view text, std::int64_t& value);
bool ParseFloat(std::string_view text, double& value);

}  // namespace Formula
