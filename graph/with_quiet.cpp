// SPDX-License-Identifier: Apache-2.0
// In a file of its own: the linker takes it when nobody else defines Vantoro_graph_arithmetic.
#include <vantoro/quiet/vantoro_quiet.h>

#include "arithmetic.h"

static constexpr VantoroGraphArithmetic kQuiet = {Vantoro_quiet_takes,   Vantoro_quiet_create, Vantoro_quiet_prepare,
                                                  Vantoro_quiet_process, Vantoro_quiet_clear,  Vantoro_quiet_destroy};

const VantoroGraphArithmetic* const Vantoro_graph_arithmetic = &kQuiet;
