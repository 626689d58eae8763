#include "formula/Formula.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

using testing::StrEq;

namespace {

class FormulaTest : public testing::Test {
  protected:
    template <typename Number>
    NxResult Evaluate(const std::string& formula, Number& value) {
        const Formula::Lookup<Number> lookup = [this](std::string_view name, Number& found,
                                                      NxResult& failure) {
            asked.emplace_back(name);
            if (name == "FAULTY") {
                failure = NxResult(kNxTimeout, "nobody answers");
                return Formula::Variable::kFailed;
            }
            const auto known = variables.find(std::string(name));
            if (known == variables.end()) {
                return Formula::Variable::kAbsent;
            }
            found = static_cast<Number>(known->second);
            return Formula::Variable::kFound;
        };
        return Formula::Evaluate(formula, lookup, budget, value);
    }
    std::int64_t Integer(const std::string& formula) {
        std::int64_t value = -987654321;
        const NxResult result = Evaluate(formula, value);
        EXPECT_TRUE(result.IsOK()) << formula << ": " << result.GetDescription().GetAscii();
        return value;
    }
    double Float(const std::string& formula) {
        double value = -987654321;
        const NxResult result = Evaluate(formula, value);
        EXPECT_TRUE(result.IsOK()) << formula << ": " << result.GetDescription().GetAscii();
        return value;
    }
    template <typename Number = std::int64_t>
    std::string Failure(const std::string& formula) {
        Number value = 77;
        const NxResult result = Evaluate(formula, value);
        EXPECT_EQ(value, 77) << formula;
        EXPECT_FALSE(result.IsOK()) << formula;
        return result.GetDescription().GetAscii();
    }

    std::map<std::string, double> variables{{"X", 7}, {"A.Max", 100}, {"ZERO", 0}};
    std::vector<std::string> asked;
    EvaluationBudget budget;
};

TEST_F(FormulaTest, HasTheOperatorsOfIntegers) {
    const std::map<std::string, std::int64_t> formulas{{"7 + 2", 9},
                                                       {"7 - 9", -2},
                                                       {"7 * 3", 21},
                                                       {"-7 / 2", -3},
                                                       {"-7 % 2", -1},
                                                       {"2 ** 10", 1024},
                                                       {"6 & 3", 2},
                                                       {"6 | 3", 7},
                                                       {"6 ^ 3", 5},
                                                       {"~0", -1},
                                                       {"1 << 40", std::int64_t{1} << 40},
                                                       {"-8 >> 1", -4},
                                                       {"2 = 2", 1},
                                                       {"2 <> 2", 0},
                                                       {"2 < 3", 1},
                                                       {"3 <= 3", 1},
                                                       {"2 > 3", 0},
                                                       {"3 >= 4", 0},
                                                       {"2 && 0", 0},
                                                       {"0 || 5", 1},
                                                       {"!5", 0},
                                                       {"!0", 1},
                                                       {"+5", 5},
                                                       {"1 ? 2 : 3", 2},
                                                       {"0 ? 2 : 3", 3},
                                                       {"1<<63", INT64_MIN},
                                                       {"2 ** -1", 0}};
    for (const auto& [formula, value] : formulas) {
        EXPECT_EQ(Integer(formula), value) << formula;
    }
}

TEST_F(FormulaTest, HasTheOperatorsOfDoubles) {
    EXPECT_DOUBLE_EQ(Float("7 / 2"), 3.5);
    EXPECT_DOUBLE_EQ(Float("7.5 % 2"), 1.5);
    EXPECT_DOUBLE_EQ(Float("2 ** -1"), 0.5);
    EXPECT_DOUBLE_EQ(Float("6.9 & 3.2"), 2);
    EXPECT_DOUBLE_EQ(Float("1.5 << 3"), 8);
    EXPECT_DOUBLE_EQ(Float("~0"), -1);
    EXPECT_DOUBLE_EQ(Float("1.5 > 1 && 0.5"), 1);
    EXPECT_DOUBLE_EQ(Float("0.1 ? 2.5 : 3"), 2.5);
}

TEST_F(FormulaTest, BindsAsTightlyAsInC) {
    const std::map<std::string, std::int64_t> formulas{{"1 + 2 * 3", 7},
                                                       {"10 - 3 - 2", 5},
                                                       {"100 / 10 / 5", 2},
                                                       {"1 | 2 ^ 3 & 4", 3},
                                                       {"1 << 2 + 1", 8},
                                                       {"1 < 2 = 1", 1},
                                                       {"6 & 2 = 2", 0},
                                                       {"1 || 0 && 0", 1},
                                                       {"(1 + 2) * 3", 9},
                                                       {"-2 ** 2", -4},
                                                       {"2 ** 3 ** 2", 512},
                                                       {"2 * 3 ** 2", 18},
                                                       {"1 ? 0 ? 1 : 2 : 3", 2},
                                                       {"0 ? 1 : 0 ? 2 : 3", 3},
                                                       {"-X", -7},
                                                       {"--X", 7},
                                                       {"3-2", 1},
                                                       {"3 - -2", 5},
                                                       {"1+X?X:2", 7},
                                                       {"1<<X>>X", 1}};
    for (const auto& [formula, value] : formulas) {
        EXPECT_EQ(Integer(formula), value) << formula;
    }
}

TEST_F(FormulaTest, AsksOnlyForWhatIsNeeded) {
    EXPECT_EQ(Integer("0 && FAULTY"), 0);
    EXPECT_EQ(Integer("1 || FAULTY / 0"), 1);
    EXPECT_EQ(Integer("X = 7 ? 5 : FAULTY ** 1000"), 5);
    EXPECT_EQ(Integer("X <> 7 ? ABS(FAULTY) : 6"), 6);
    EXPECT_EQ(asked, (std::vector<std::string>{"X", "X"}));
    EXPECT_THAT(Failure("1 && FAULTY"), StrEq("nobody answers"));
}

TEST_F(FormulaTest, ReadsLiterals) {
    EXPECT_EQ(Integer("0x1F"), 31);
    EXPECT_EQ(Integer("0XfF"), 255);
    EXPECT_EQ(Integer("0xFFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(Integer("1e3"), 1000);
    EXPECT_EQ(Integer("2.9"), 2);
    EXPECT_DOUBLE_EQ(Float("1.5e-3"), 0.0015);
    EXPECT_DOUBLE_EQ(Float(".5"), 0.5);
    EXPECT_DOUBLE_EQ(Float("0x10"), 16);
    EXPECT_DOUBLE_EQ(Float("2E+2"), 200);
    EXPECT_EQ(Integer("0xE+1"), 15);
    for (const char* malformed : {"1x", "0x", "0xG", "1e999", "1.2.3", "0x10000000000000000"}) {
        EXPECT_THAT(Failure(malformed), StrEq("it contains a malformed number")) << malformed;
    }
    EXPECT_THAT(Failure("1e30"), StrEq("it contains a malformed number"));
}

TEST_F(FormulaTest, CallsFunctions) {
    EXPECT_DOUBLE_EQ(Float("SQRT(16) + ABS(-2) + SGN(-3)"), 5);
    EXPECT_DOUBLE_EQ(Float("NEG(2)"), -2);
    EXPECT_DOUBLE_EQ(Float("TRUNC(-2.7)"), -2);
    EXPECT_DOUBLE_EQ(Float("FLOOR(-2.1)"), -3);
    EXPECT_DOUBLE_EQ(Float("CEIL(2.1)"), 3);
    EXPECT_DOUBLE_EQ(Float("ROUND(2.456, 2)"), 2.46);
    EXPECT_DOUBLE_EQ(Float("ROUND(2.5)"), 3);
    EXPECT_DOUBLE_EQ(Float("LG(1000) + LN(EXP(2))"), 5);
    EXPECT_NEAR(Float("SIN(PI / 2) + COS(0) + TAN(0) + ASIN(0) + ACOS(1) + ATAN(0)"), 2, 1e-12);
    EXPECT_NEAR(Float("PI() + E()"), 5.859874482, 1e-8);
    EXPECT_DOUBLE_EQ(Float("sqrt(9)"), 3);
    EXPECT_EQ(Integer("SQRT(17)"), 4);
    EXPECT_EQ(Integer("ABS(-9) + SGN(X)"), 10);
    EXPECT_THAT(Failure("SQRT(-1)"), StrEq("numeric overflow"));
    EXPECT_THAT(Failure("FACTORIAL(3)"), StrEq("it calls an unknown function"));
    EXPECT_THAT(Failure("ABS(0 - 0x7FFFFFFFFFFFFFFF - 1)"), StrEq("numeric overflow"));
}

TEST_F(FormulaTest, TakesVariablesWithSuffixes) {
    EXPECT_EQ(Integer("A.Max - X"), 93);
    EXPECT_EQ(Integer("X?X:X"), 7);
    EXPECT_THAT(Failure("Y"), StrEq("it uses an undeclared variable"));
}

TEST_F(FormulaTest, EndsInAnErrorWhereThereIsNoValue) {
    for (const char* formula :
         {"0x7FFFFFFFFFFFFFFF + 1", "-0x7FFFFFFFFFFFFFFF - 2", "0x7FFFFFFFFFFFFFFF * 2",
          "(1<<63) / -1", "-(1<<63)", "10 ** 19", "ABS(1<<63)", "3 ** 0x7FFFFFFFFFFFFFFF"}) {
        EXPECT_THAT(Failure(formula), StrEq("numeric overflow")) << formula;
    }
    EXPECT_EQ(Integer("(1<<63) % -1"), 0);
    for (const char* formula : {"1 / ZERO", "1 % ZERO", "(1<<63) / 0"}) {
        EXPECT_THAT(Failure(formula), StrEq("it divides by zero")) << formula;
        EXPECT_THAT(Failure<double>(formula), StrEq("it divides by zero")) << formula;
    }
    for (const char* formula : {"1 << 64", "1 >> -1", "1 << 0x7FFFFFFFFFFFFFFF"}) {
        EXPECT_THAT(Failure(formula), StrEq("it shifts by less than 0 or more than 63 bits"));
    }
    for (const char* formula : {"10 ** 400", "1e308 * 10", "1e300 & 1", "(-8) ** 0.5"}) {
        EXPECT_THAT(Failure<double>(formula), StrEq("numeric overflow")) << formula;
    }
}

TEST_F(FormulaTest, RefusesWhatIsMalformed) {
    for (const char* formula : {"", " ", "(", "(1", "1)", "1 +", "* 1", "1 ? 2", "1 ? : 2", "1 2",
                                "X Y", "ABS(1", "ABS(1,2", "1 == 1", "@", "1 ! 2", ", 1"}) {
        (void)Failure(formula);
        (void)Failure<double>(formula);
    }
}

TEST_F(FormulaTest, StaysWithinItsBudget) {
    const auto repeat = [](const std::string& part, int times) {
        std::string text;
        for (int i = 0; i < times; ++i) {
            text += part;
        }
        return text;
    };
    for (const char* part :
         {"(", "-", "!", "1**", "1?", "0?1:", "ABS(", "1||1&&1|1^1&1=1<1<<1+1*1**("}) {
        budget = {};
        EXPECT_THAT(Failure(repeat(part, 90000) + "1"), StrEq("it is nested too deeply")) << part;
        EXPECT_EQ(budget.depth <= EvaluationBudget().depth, true);
    }
    budget = {};
    EXPECT_THAT(Failure(repeat("1+", 200000) + "1"), StrEq("it takes too many steps"));
    budget = {};
    EXPECT_THAT(Failure(std::string(10000000, ' ') + "1"), StrEq("it takes too many steps"));
    budget = {};
    EXPECT_EQ(Integer(repeat("(1+", 100) + "1" + repeat(")", 100)), 101);
    EXPECT_EQ(budget.depth, EvaluationBudget().depth);
    EXPECT_FALSE(Formula::ParseInteger(std::string(401, '0'), *std::make_unique<std::int64_t>()));
}

TEST_F(FormulaTest, GivesDepthBackAfterAFailure) {
    for (const char* formula : {"((((1 / ZERO))))", "-(-(Y))", "2 ** 2 ** FAULTY", "1 ? (2 : 3"}) {
        (void)Failure(formula);
        EXPECT_EQ(budget.depth, EvaluationBudget().depth) << formula;
    }
}

}  // namespace
