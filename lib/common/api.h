// SPDX-License-Identifier: Apache-2.0
// Marks a header's declarations as public: C linkage, exported from libvantoro.so. Everything else stays hidden.
#ifndef VANTORO_COMMON_API_H
#define VANTORO_COMMON_API_H

// clang-format off
#ifdef __cplusplus
#define LBX_BEGIN_C _Pragma("GCC visibility push(default)") extern "C" {
#define LBX_END_C } _Pragma("GCC visibility pop")
#else
#define LBX_BEGIN_C _Pragma("GCC visibility push(default)")
#define LBX_END_C _Pragma("GCC visibility pop")
#endif
// clang-format on

#endif
