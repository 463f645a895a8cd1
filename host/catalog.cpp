// SPDX-License-Identifier: Apache-2.0
#include "catalog.h"

#include <array>

#include "catalog/categories.h"

namespace vantoro {

std::span<const Category> categories()
{
    static const std::array all{rows::kBasic};
    return all;
}

const BlockType* find_type(int code)
{
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            if (type.code == code)
                return &type;
    return nullptr;
}

}  // namespace vantoro
