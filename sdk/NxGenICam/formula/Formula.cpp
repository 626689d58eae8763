#include "Formula.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <system_error>

#include <NxBase/NxResultCodes.h>

#include "FormulaArithmetic.h"

namespace {

using FormulaArithmetic::Operator;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string Capitals(std::string_view text) {
    std::string capitals(text);
    for (char& c : capitals) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return capitals;
}

struct BinaryOperator {
    std::string_view text;
    Operator op;
    int precedence;
};

// Longer ones first.
constexpr std::array kBinaryOperators{
    BinaryOperator{"||", Operator::kOr, 1},
    BinaryOperator{"&&", Operator::kAnd, 2},
    BinaryOperator{"<>", Operator::kUnequal, 6},
    BinaryOperator{"<=", Operator::kLessOrEqual, 7},
    BinaryOperator{">=", Operator::kGreaterOrEqual, 7},
    BinaryOperator{"<<", Operator::kShiftLeft, 8},
    BinaryOperator{">>", Operator::kShiftRight, 8},
    BinaryOperator{"**", Operator::kPower, 11},
    BinaryOperator{"|", Operator::kBitOr, 3},
    BinaryOperator{"^", Operator::kBitXor, 4},
    BinaryOperator{"&", Operator::kBitAnd, 5},
    BinaryOperator{"=", Operator::kEqual, 6},
    BinaryOperator{"<", Operator::kLess, 7},
    BinaryOperator{">", Operator::kGreater, 7},
    BinaryOperator{"+", Operator::kAdd, 9},
    BinaryOperator{"-", Operator::kSubtract, 9},
    BinaryOperator{"*", Operator::kMultiply, 10},
    BinaryOperator{"/", Operator::kDivide, 10},
    BinaryOperator{"%", Operator::kRemainder, 10},
};
constexpr int kPowerPrecedence = 11;
constexpr const char* kTooLong = "it takes too many steps";
constexpr const char* kTooDeep = "it is nested too deeply";
constexpr std::size_t kLongestNumber = 400;

bool ParseLiteral(std::string_view text, std::int64_t& value) {
    if (Formula::ParseInteger(text, value)) {
        return true;
    }
    double number = 0;
    return Formula::ParseFloat(text, number) &&
           FormulaArithmetic::Truncate(number, value) == nullptr;
}

bool ParseLiteral(std::string_view text, double& value) {
    return Formula::ParseFloat(text, value);
}

template <typename Number>
class Evaluator {
  public:
    Evaluator(std::string_view formula, const Formula::Lookup<Number>& lookup,
              EvaluationBudget& budget)
        : mRest(formula), mLookup(lookup), mBudget(budget) {}

    NxResult Run(Number& value) {
        if (!mBudget.TakeStepsFor(mRest)) {
            return NxResult(kNxNodeAccess, kTooLong);
        }
        const Number outcome = Choice(true);
        if (Peek() != '\0') {
            Fail("it is malformed");
        }
        if (!mFailure.IsOK()) {
            return mFailure;
        }
        value = outcome;
        return {};
    }

  private:
    // Each reads one part of the formula; one that is not live takes no value from it.
    Number Choice(bool live);
    Number Binary(int precedence, bool live);
    Number Unary(bool live);
    Number Primary(bool live);
    // Not inlined, nor is Fail: their texts in the frames of what calls itself would take more
    // stack than the depth that is allowed leaves room for, with sanitizers 9 MB.
    [[gnu::noinline]] Number Call(std::string_view name, bool live);
    [[gnu::noinline]] Number Named(std::string_view name, bool live);
    [[gnu::noinline]] Number Literal();

    char Peek();
    bool Take(char c);
    const BinaryOperator* PeekOperator(int precedence);
    void Check(const char* failure) {
        if (failure != nullptr) {
            Fail(failure);
        }
    }
    [[gnu::noinline]] void Fail(const char* reason) { Fail(NxResult(kNxNodeAccess, reason)); }
    [[gnu::noinline]] void Fail(NxResult failure) {
        if (mFailure.IsOK()) {
            mFailure = std::move(failure);
        }
        mRest = {};
    }

    std::string_view mRest;
    const Formula::Lookup<Number>& mLookup;
    EvaluationBudget& mBudget;
    NxResult mFailure;
};

template <typename Number>
char Evaluator<Number>::Peek() {
    while (!mRest.empty() && IsBlank(mRest.front())) {
        mRest.remove_prefix(1);
    }
    return mRest.empty() ? '\0' : mRest.front();
}

template <typename Number>
bool Evaluator<Number>::Take(char c) {
    if (Peek() != c) {
        return false;
    }
    mRest.remove_prefix(1);
    return true;
}

template <typename Number>
Number Evaluator<Number>::Choice(bool live) {
    // The branches of a chain of choices stand one in the other.
    if (--mBudget.depth < 0) {
        Fail(kTooDeep);
    }
    Number value = Binary(1, live);
    if (mFailure.IsOK() && Take('?')) {
        const bool first = value != 0;
        const Number yes = Choice(live && first);
        if (!Take(':')) {
            Fail("it is malformed");
        }
        const Number no = Choice(live && !first);
        value = first ? yes : no;
    }
    ++mBudget.depth;
    return value;
}

template <typename Number>
const BinaryOperator* Evaluator<Number>::PeekOperator(int precedence) {
    (void)Peek();
    for (const BinaryOperator& known : kBinaryOperators) {
        if (mRest.starts_with(known.text)) {
            return known.precedence >= precedence ? &known : nullptr;
        }
    }
    return nullptr;
}

template <typename Number>
Number Evaluator<Number>::Binary(int precedence, bool live) {
    // Signs nest, and so do powers, which group from the right.
    if (--mBudget.depth < 0) {
        Fail(kTooDeep);
    }
    Number left = Unary(live);
    while (mFailure.IsOK()) {
        const BinaryOperator* known = PeekOperator(precedence);
        if (known == nullptr) {
            break;
        }
        mRest.remove_prefix(known->text.size());
        const bool isDecided =
            (known->op == Operator::kOr && left != 0) || (known->op == Operator::kAnd && left == 0);
        const bool fromRight = known->op == Operator::kPower;
        const Number right = Binary(known->precedence + (fromRight ? 0 : 1), live && !isDecided);
        if (live && mFailure.IsOK()) {
            Check(FormulaArithmetic::Apply(known->op, left, isDecided ? left : right, left));
        }
    }
    ++mBudget.depth;
    return left;
}

template <typename Number>
Number Evaluator<Number>::Unary(bool live) {
    if (!mBudget.TakeStep()) {
        Fail(kTooLong);
        return 0;
    }
    const char sign = Peek();
    if (sign != '-' && sign != '+' && sign != '~' && sign != '!') {
        return Primary(live);
    }
    mRest.remove_prefix(1);
    Number value = Binary(kPowerPrecedence, live);
    if (live && mFailure.IsOK()) {
        if (sign == '-') {
            Check(FormulaArithmetic::Negate(value, value));
        } else if (sign == '~') {
            Check(FormulaArithmetic::Complement(value, value));
        } else if (sign == '!') {
            value = value == 0 ? 1 : 0;
        }
    }
    return value;
}

template <typename Number>
Number Evaluator<Number>::Primary(bool live) {
    const char first = Peek();
    if (Take('(')) {
        const Number value = Choice(live);
        if (!Take(')')) {
            Fail("it is malformed");
        }
        return value;
    }
    if (IsDigit(first) || first == '.') {
        return Literal();
    }
    if (!IsLetter(first)) {
        Fail("it is malformed");
        return 0;
    }
    std::size_t length = 0;
    while (length < mRest.size() &&
           (IsLetter(mRest[length]) || IsDigit(mRest[length]) || mRest[length] == '.')) {
        ++length;
    }
    const std::string_view name = mRest.substr(0, length);
    mRest.remove_prefix(length);
    return Peek() == '(' ? Call(name, live) : Named(name, live);
}

template <typename Number>
Number Evaluator<Number>::Call(std::string_view name, bool live) {
    (void)Take('(');
    const std::string function = Capitals(name);
    if (Take(')')) {
        return Named(name, live);
    }
    Number argument = Choice(live);
    const Number places = Take(',') ? Choice(live) : 0;
    if (!Take(')')) {
        Fail("it is malformed");
    }
    if (live && mFailure.IsOK()) {
        Check(FormulaArithmetic::Call(function, argument, places, argument));
    }
    return argument;
}

template <typename Number>
Number Evaluator<Number>::Named(std::string_view name, bool live) {
    if (!live) {
        return 0;
    }
    Number value = 0;
    NxResult failure;
    switch (mLookup(name, value, failure)) {
        case Formula::Variable::kFound:
            return value;
        case Formula::Variable::kFailed:
            Fail(std::move(failure));
            return 0;
        case Formula::Variable::kAbsent:
            break;
    }
    const std::string constant = Capitals(name);
    if (constant == "PI") {
        return static_cast<Number>(std::numbers::pi);
    }
    if (constant == "E") {
        return static_cast<Number>(std::numbers::e);
    }
    Fail("it uses an undeclared variable");
    return 0;
}

template <typename Number>
Number Evaluator<Number>::Literal() {
    std::size_t length = 0;
    const bool isHexadecimal = mRest.starts_with("0x") || mRest.starts_with("0X");
    while (length < mRest.size()) {
        const char c = mRest[length];
        const bool isExponentSign = !isHexadecimal && (c == '+' || c == '-') && length > 0 &&
                                    (mRest[length - 1] == 'e' || mRest[length - 1] == 'E');
        if (!IsDigit(c) && !IsLetter(c) && c != '.' && !isExponentSign) {
            break;
        }
        ++length;
    }
    Number value = 0;
    if (!ParseLiteral(mRest.substr(0, length), value)) {
        Fail("it contains a malformed number");
        return 0;
    }
    mRest.remove_prefix(length);
    return value;
}

}  // namespace

NxResult Formula::Evaluate(std::string_view formula, const Lookup<std::int64_t>& lookup,
                           EvaluationBudget& budget, std::int64_t& value) {
    return Evaluator<std::int64_t>(formula, lookup, budget).Run(value);
}

NxResult Formula::Evaluate(std::string_view formula, const Lookup<double>& lookup,
                           EvaluationBudget& budget, double& value) {
    return Evaluator<double>(formula, lookup, budget).Run(value);
}

bool Formula::ParseInteger(std::string_view text, std::int64_t& value) {
    if (text.size() > kLongestNumber) {
        return false;
    }
    bool isNegative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        isNegative = text.front() == '-';
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return false;
    }
    value = static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude);
    return true;
}

bool Formula::ParseFloat(std::string_view text, double& value) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        std::int64_t integer = 0;
        if (!ParseInteger(text, integer)) {
            return false;
        }
        value = static_cast<double>(integer);
        return true;
    }
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    if (text.size() > kLongestNumber) {
        return false;
    }
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        return false;
    }
    value = number;
    return true;
}
