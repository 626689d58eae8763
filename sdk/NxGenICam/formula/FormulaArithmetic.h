#pragma once

#include <cstdint>
#include <string_view>

/// What a formula's operators and functions do to numbers of one kind. Each returns null, or why
/// there is no value.
namespace FormulaArithmetic {

enum class Operator {
    kOr,
    kAnd,
    kBitOr,
    kBitXor,
    kBitAnd,
    kEqual,
    kUnequal,
    kLess,
    kGreater,
    kLessOrEqual,
    kGreaterOrEqual,
    kShiftLeft,
    kShiftRight,
    kAdd,
    kSubtract,
    kMultiply,
    kDivide,
    kRemainder,
    kPower,
};

const char* Apply(Operator op, std::int64_t left, std::int64_t right, std::int64_t& result);
const char* Apply(Operator op, double left, double right, double& result);
const char* Negate(std::int64_t number, std::int64_t& result);
const char* Negate(double number, double& result);
const char* Complement(std::int64_t number, std::int64_t& result);
const char* Complement(double number, double& result);
/// @param name in capitals, e.g. "SQRT"
/// @param places of ROUND; 0 for the others
const char* Call(std::string_view name, std::int64_t argument, std::int64_t places,
                 std::int64_t& result);
const char* Call(std::string_view name, double argument, double places, double& result);

/// A double as an integer, its fraction dropped.
const char* Truncate(double number, std::int64_t& result);

}  // namespace FormulaArithmetic
