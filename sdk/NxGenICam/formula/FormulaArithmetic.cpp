#include "FormulaArithmetic.h"

#include <cmath>
#include <optional>

namespace {

using FormulaArithmetic::Operator;

constexpr const char* kOverflow = "numeric overflow";
constexpr const char* kDivision = "it divides by zero";
constexpr const char* kShift = "it shifts by less than 0 or more than 63 bits";

const char* Finite(double number, double& result) {
    if (!std::isfinite(number)) {
        return kOverflow;
    }
    result = number;
    return nullptr;
}

const char* Power(std::int64_t base, std::int64_t exponent, std::int64_t& result) {
    if (exponent < 0) {
        double power = 0;
        const char* failure = FormulaArithmetic::Apply(Operator::kPower, static_cast<double>(base),
                                                       static_cast<double>(exponent), power);
        return failure != nullptr ? failure : FormulaArithmetic::Truncate(power, result);
    }
    std::int64_t power = 1;
    for (std::int64_t square = base; exponent > 0; exponent /= 2) {
        if (exponent % 2 == 1 && __builtin_mul_overflow(power, square, &power)) {
            return kOverflow;
        }
        if (exponent > 1 && __builtin_mul_overflow(square, square, &square)) {
            return kOverflow;
        }
    }
    result = power;
    return nullptr;
}

// Those that give 1 or 0, whatever the kind of number.
template <typename Number>
std::optional<bool> Compare(Operator op, Number left, Number right) {
    switch (op) {
        case Operator::kOr:
            return left != 0 || right != 0;
        case Operator::kAnd:
            return left != 0 && right != 0;
        case Operator::kEqual:
            return left == right;
        case Operator::kUnequal:
            return left != right;
        case Operator::kLess:
            return left < right;
        case Operator::kGreater:
            return left > right;
        case Operator::kLessOrEqual:
            return left <= right;
        case Operator::kGreaterOrEqual:
            return left >= right;
        default:
            return std::nullopt;
    }
}

const char* OfIntegers(Operator op, double left, double right, double& result) {
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::int64_t outcome = 0;
    if (FormulaArithmetic::Truncate(left, first) != nullptr ||
        FormulaArithmetic::Truncate(right, second) != nullptr) {
        return kOverflow;
    }
    const char* const failure = FormulaArithmetic::Apply(op, first, second, outcome);
    result = failure == nullptr ? static_cast<double>(outcome) : result;
    return failure;
}

}  // namespace

const char* FormulaArithmetic::Truncate(double number, std::int64_t& result) {
    // 2^63 itself is the first double that does not fit.
    constexpr double kLimit = 9223372036854775808.0;
    if (!(number >= -kLimit && number < kLimit)) {
        return kOverflow;
    }
    result = static_cast<std::int64_t>(number);
    return nullptr;
}

const char* FormulaArithmetic::Apply(Operator op, std::int64_t left, std::int64_t right,
                                     std::int64_t& result) {
    const auto bits = static_cast<std::uint64_t>(left);
    if (const auto isTrue = Compare(op, left, right)) {
        result = *isTrue ? 1 : 0;
        return nullptr;
    }
    switch (op) {
        case Operator::kBitOr:
            result = left | right;
            return nullptr;
        case Operator::kBitXor:
            result = left ^ right;
            return nullptr;
        case Operator::kBitAnd:
            result = left & right;
            return nullptr;
        case Operator::kShiftLeft:
        case Operator::kShiftRight:
            if (right < 0 || right > 63) {
                return kShift;
            }
            // Bits, not numbers: those of an address may reach the sign.
            result = op == Operator::kShiftLeft ? static_cast<std::int64_t>(bits << right)
                                                : left >> right;
            return nullptr;
        case Operator::kAdd:
            return __builtin_add_overflow(left, right, &result) ? kOverflow : nullptr;
        case Operator::kSubtract:
            return __builtin_sub_overflow(left, right, &result) ? kOverflow : nullptr;
        case Operator::kMultiply:
            return __builtin_mul_overflow(left, right, &result) ? kOverflow : nullptr;
        case Operator::kDivide:
        case Operator::kRemainder:
            if (right == 0) {
                return kDivision;
            }
            // The one quotient that does not fit ends a process that computes it.
            if (right == -1) {
                result = 0;
                return op == Operator::kDivide ? Negate(left, result) : nullptr;
            }
            result = op == Operator::kDivide ? left / right : left % right;
            return nullptr;
        case Operator::kPower:
            return Power(left, right, result);
        default:
            return "it has an unknown operator";
    }
}

const char* FormulaArithmetic::Apply(Operator op, double left, double right, double& result) {
    if (const auto isTrue = Compare(op, left, right)) {
        result = *isTrue ? 1 : 0;
        return nullptr;
    }
    switch (op) {
        case Operator::kBitOr:
        case Operator::kBitXor:
        case Operator::kBitAnd:
        case Operator::kShiftLeft:
        case Operator::kShiftRight:
            return OfIntegers(op, left, right, result);
        case Operator::kAdd:
            return Finite(left + right, result);
        case Operator::kSubtract:
            return Finite(left - right, result);
        case Operator::kMultiply:
            return Finite(left * right, result);
        case Operator::kDivide:
            return right == 0 ? kDivision : Finite(left / right, result);
        case Operator::kRemainder:
            return right == 0 ? kDivision : Finite(std::fmod(left, right), result);
        case Operator::kPower:
            return Finite(std::pow(left, right), result);
        default:
            return "it has an unknown operator";
    }
}

const char* FormulaArithmetic::Negate(std::int64_t number, std::int64_t& result) {
    return __builtin_sub_overflow(std::int64_t{0}, number, &result) ? kOverflow : nullptr;
}

const char* FormulaArithmetic::Negate(double number, double& result) {
    result = -number;
    return nullptr;
}

const char* FormulaArithmetic::Complement(std::int64_t number, std::int64_t& result) {
    result = ~number;
    return nullptr;
}

const char* FormulaArithmetic::Complement(double number, double& result) {
    return OfIntegers(Operator::kBitXor, number, -1, result);
}

const char* FormulaArithmetic::Call(std::string_view name, std::int64_t argument,
                                    std::int64_t places, std::int64_t& result) {
    if (name == "SGN") {
        result = (argument > 0 ? 1 : 0) - (argument < 0 ? 1 : 0);
        return nullptr;
    }
    if (name == "NEG" || (name == "ABS" && argument < 0)) {
        return Negate(argument, result);
    }
    if (name == "ABS" || name == "TRUNC" || name == "FLOOR" || name == "CEIL" || name == "ROUND") {
        result = argument;
        return nullptr;
    }
    double outcome = 0;
    const char* failure =
        Call(name, static_cast<double>(argument), static_cast<double>(places), outcome);
    return failure != nullptr ? failure : Truncate(outcome, result);
}

const char* FormulaArithmetic::Call(std::string_view name, double argument, double places,
                                    double& result) {
    using Function = double (*)(double);
    static constexpr struct {
        std::string_view name;
        Function function;
    } kFunctions[] = {
        {"ABS", std::fabs},  {"ACOS", std::acos},   {"ASIN", std::asin}, {"ATAN", std::atan},
        {"CEIL", std::ceil}, {"COS", std::cos},     {"EXP", std::exp},   {"FLOOR", std::floor},
        {"LG", std::log10},  {"LN", std::log},      {"SIN", std::sin},   {"SQRT", std::sqrt},
        {"TAN", std::tan},   {"TRUNC", std::trunc},
    };
    for (const auto& known : kFunctions) {
        if (known.name == name) {
            return Finite(known.function(argument), result);
        }
    }
    if (name == "SGN") {
        result = (argument > 0 ? 1 : 0) - (argument < 0 ? 1 : 0);
        return nullptr;
    }
    if (name == "NEG") {
        return Negate(argument, result);
    }
    if (name == "ROUND") {
        const double scale = std::pow(10.0, std::trunc(places));
        return Finite(std::round(argument * scale) / scale, result);
    }
    return "it calls an unknown function";
}
