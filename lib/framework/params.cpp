// SPDX-License-Identifier: Apache-2.0
#include "params.h"

void lbx::copy_params(float* own, const float* vector, int n)
{
    for (int i = 0; vector && i < n; ++i)
        own[i] = vector[i];
}

void lbx::print_params(const char* func, const char* title, std::span<const ParamLabel> labels, const float* values)
{
    LBX_LOG_AS(func, __LINE__, "%s param: \n\n", title);
    for (const ParamLabel& label : labels) {
        const float value = *values++;
        if (label.integer)
            LBX_LOG_AS(func, __LINE__, "%s: %d \n\n", label.name, to_int(value));
        else
            LBX_LOG_AS(func, __LINE__, "%s: %f \n\n", label.name, static_cast<double>(value));
    }
    LBX_LOG_AS(func, __LINE__, "\n\n");
}
