// SPDX-License-Identifier: Apache-2.0
// The members of a JSON object, read and checked.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/problem.h"

namespace vantoro {

// Notes what is wrong with an object that stands at `where`. The object and the problems are borrowed.
class Fields {
public:
    Fields(const nlohmann::json& object, std::string where, std::vector<Problem>& problems)
        : object_(object), where_(std::move(where)), problems_(problems)
    {}

    // Members of other names are wrong.
    void allow(std::initializer_list<std::string_view> names) const;

    // A member, if it is there and right.
    const nlohmann::json* find(const char* name) const;
    const nlohmann::json* need(const char* name, std::string wanted) const;
    std::optional<int> whole(const char* name, int min, int max, std::string_view unit = {}) const;
    std::string text(const char* name) const;

    // Something else is wrong with a member.
    void fault(const char* name, std::string wanted) const;

private:
    const nlohmann::json& object_;
    std::string where_;
    std::vector<Problem>& problems_;
};

}  // namespace vantoro
