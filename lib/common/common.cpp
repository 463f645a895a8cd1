// SPDX-License-Identifier: Apache-2.0
#include "common.h"

#include "log.h"

int ParamAdapt(int min, int max, int value, const char* name)
{
    if (value >= min && value <= max)
        return value;
    const int used = value > max ? max : min;
    LBX_LOG_AS("ParamAdapt", 17, "%s:%d out of range:%d~ %d, be set to %d\n\n", name, value, min, max, used);
    return used;
}

float ParamAdaptFloat(float min, float max, float value, const char* name)
{
    if (value >= min && value <= max)
        return value;
    float used = value;  // NaN stays: neither comparison below holds
    if (value > max)
        used = max;
    else if (value < min)
        used = min;
    LBX_LOG_AS("ParamAdaptFloat", 30, "%s:%f out of range:%f~ %f, be set to %f\n\n", name, static_cast<double>(value),
               static_cast<double>(min), static_cast<double>(max), static_cast<double>(used));
    return used;
}
