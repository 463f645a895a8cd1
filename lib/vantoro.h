// SPDX-License-Identifier: Apache-2.0
// Everything public. Start at vantoro_preprocess.h (the life of a block) and common/block_types.h (the blocks).
#ifndef VANTORO_VANTORO_H
#define VANTORO_VANTORO_H

#include "Dynamics_Processors/qvaudio_compressor.h"
#include "Dynamics_Processors/qvaudio_env.h"
#include "Dynamics_Processors/qvaudio_lim.h"
#include "basic/lbx_ulity.h"
#include "basic_dsp/arithmetic_operations.h"
#include "basic_dsp/basic_dsp.h"
#include "basic_dsp/dsp_functions.h"
#include "basic_dsp/logic.h"
#include "common/biquad.h"
#include "common/block_types.h"
#include "common/category.h"
#include "common/circular_buffer.h"
#include "common/common.h"
#include "common/double_biquad.h"
#include "filters/first_order.h"
#include "filters/look_up.h"
#include "filters/second_order.h"
#include "level_detectors/level_detectors.h"
#include "level_detectors/lookup_table.h"
#include "math/filter_design.h"
#include "math/lbx_fastmath.h"
#include "math/lbx_math.h"
#include "schematic_design/schematic_design.h"
#include "source/DC_InputEntry.h"
#include "source/Oscillator.h"
#include "source/Sweep.h"
#include "source/VCO.h"
#include "source/White_Noise.h"
#include "source/clime_frequency.h"
#include "source/source_types.h"
#include "source/switch.h"
#include "vantoro_preprocess.h"

#endif
