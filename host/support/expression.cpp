// SPDX-License-Identifier: Apache-2.0
#include "support/expression.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vantoro {

namespace {

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Recursive descent; after the first fault everything is 0 and leads to the end.
class Parser {
public:
    Parser(std::string_view text, const std::function<Evaluated(std::string_view)>& value_of,
           std::optional<double> rate)
        : text_(text), value_of_(value_of), rate_(rate)
    {}

    Evaluated run()
    {
        const double value = sum();
        if (wanted_.empty() && at_ < text_.size())
            fail(after("an operator: + - * /"));
        if (wanted_.empty() && !std::isfinite(value))
            fail("a result that is finite");
        return {wanted_.empty() ? value : 0, wanted_};
    }

private:
    char peek()
    {
        at_ = wanted_.empty() ? std::min(text_.find_first_not_of(' ', at_), text_.size()) : text_.size();
        return at_ < text_.size() ? text_[at_] : '\0';
    }

    bool take(char c)
    {
        const bool there = peek() == c && c != '\0';
        at_ += there ? 1 : 0;
        return there;
    }

    double fail(std::string wanted)
    {
        if (wanted_.empty())
            wanted_ = std::move(wanted);
        return 0;
    }

    // "a number, a name or a bracket after "corner *""
    std::string after(const std::string& what) const
    {
        const std::string_view before = text_.substr(0, at_);
        const std::size_t end = before.find_last_not_of(' ');
        return end == before.npos ? what + " after ="
                                  : what + " after \"" + std::string(before.substr(0, end + 1)) + '"';
    }

    double sum()
    {
        double value = product();
        for (char c = peek(); c == '+' || c == '-'; c = peek()) {
            ++at_;
            const double next = product();
            value = c == '+' ? value + next : value - next;
        }
        return value;
    }

    double product()
    {
        double value = factor();
        for (char c = peek(); c == '*' || c == '/'; c = peek()) {
            ++at_;
            const double next = factor();
            if (c == '/' && next == 0)
                return fail("a divisor other than 0");
            value = c == '*' ? value * next : value / next;
        }
        return value;
    }

    double factor()
    {
        if (++depth_ > kMaxNesting)
            return fail("at most " + std::to_string(kMaxNesting) + " brackets and signs in one another");
        const double value = operand();
        --depth_;
        return value;
    }

    double operand()
    {
        const char c = peek();
        if (take('-'))
            return -factor();
        if (take('('))
            return closed(sum());
        if (is_digit(c) || c == '.')
            return number();
        if (is_letter(c))
            return named();
        return fail(after("a number, a name or a bracket"));
    }

    double closed(double value) { return take(')') ? value : fail(after("a closing bracket")); }

    double number()
    {
        double value = 0;
        const auto [end, error] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), value);
        if (error != std::errc{})
            return fail(after("a number"));
        at_ = static_cast<std::size_t>(end - text_.data());
        return value;
    }

    double named()
    {
        const std::size_t start = at_;
        while (at_ < text_.size() && (is_letter(text_[at_]) || is_digit(text_[at_])))
            ++at_;
        const std::string_view name = text_.substr(start, at_ - start);
        if (take('('))
            return call(name, closed(sum()));
        const Evaluated known = value_of_(name);
        return known.good() ? known.value : fail(known.wanted);
    }

    double call(std::string_view name, double x)
    {
        if (name == "db")
            return std::pow(10, x / 20);
        if (name == "round")
            return std::round(x);
        if (name == "sqrt")
            return x >= 0 ? std::sqrt(x) : fail("the root of a number from 0");
        if (name == "ms")
            return rate_ ? x * *rate_ / 1000 : fail("\"rate\" in the schematic: ms(...) counts samples");
        return fail("a function: db, ms, round or sqrt instead of \"" + std::string(name) + '"');
    }

    std::string_view text_;
    const std::function<Evaluated(std::string_view)>& value_of_;
    std::optional<double> rate_;
    std::string wanted_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

}  // namespace

bool good_name(std::string_view name)
{
    return !name.empty() && is_letter(name.front()) &&
           std::ranges::all_of(name, [](char c) { return is_letter(c) || is_digit(c); });
}

Evaluated evaluate(std::string_view text, const std::function<Evaluated(std::string_view)>& value_of,
                   std::optional<double> rate)
{
    if (text.size() > kMaxExpression)
        return {0, "an expression of at most " + std::to_string(kMaxExpression) + " characters"};
    return Parser(text, value_of, rate).run();
}

}  // namespace vantoro
