// SPDX-License-Identifier: Apache-2.0
// The names that a schematic defines, and the expressions that use them: "define": {"corner": 350} and "=corner * 2".
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/expression.h"
#include "support/nearest.h"
#include "support/problem.h"

namespace vantoro {

bool is_expression(const nlohmann::json& value);

class Definitions {
public:
    Definitions() = default;
    // Evaluates all of them; `define` is the object. What is wrong with one is reported at its place, here alone.
    // With `texts` a name may stand for a text or a flag as well, for use where it stands alone: "=corner".
    Definitions(const nlohmann::json& define, std::optional<int> rate, std::vector<Problem>& problems,
                std::shared_ptr<Suggestions> suggestions = {}, bool texts = false);

    // Puts numbers in place of the expressions in a value that stands at `where`. One that is wrong stays, and is
    // reported.
    void resolve(nlohmann::json& value, const std::string& where, std::vector<Problem>& problems);

    // From now on explains the values that another resolved, too.
    void adopt(Definitions&& other);

    // Problems of values that were expressions: those of expressions that are wrong are left out, the others say what
    // was written.
    void explain(std::vector<Problem>& problems) const;

    // Warnings of definitions that nothing uses.
    std::vector<Problem> unused() const;

private:
    enum class State {
        fresh,
        under_way,
        done,
        wrong
    };
    struct Definition {
        nlohmann::json written;
        State state = State::fresh;
        double value = 0;
        bool used = false;
        bool plain = false;  // a text or a flag
    };

    void settle(const std::string& name, Definition& definition);
    Evaluated value_of(std::string_view name);
    Evaluated evaluated(const std::string& text);
    Evaluated evaluated(const std::string& name, const nlohmann::json& written);
    std::string nearest_to(std::string_view name);
    const nlohmann::json* plain_value(const std::string& text);

    std::map<std::string, Definition, std::less<>> names_;
    std::optional<double> rate_;
    bool texts_ = false;
    bool suggests_ = true;
    std::vector<Problem> wrong_;                // definitions
    int depth_ = 0;                             // of those under way
    std::shared_ptr<Suggestions> suggestions_;  // null: none
    struct Expression {
        std::string text;
        bool good;
    };
    std::unordered_map<std::string, Expression> expressions_;  // by place
};

}  // namespace vantoro
