// SPDX-License-Identifier: Apache-2.0
#include "Oscillator.h"

#include "../kernels/fast_inline.h"
#include "Oscillator_info.h"
#include "source.h"

using namespace lbx;

namespace {

constexpr double kPi = std::numbers::pi;

void apply(OSC_Core_S& core, float* param, const BlockPro& pro)
{
    core.Switch = to_int(param[kOSCSwitch]);
    core.Freqency = param[kOSCFrequency];
    core.delta_phi = static_cast<float>(static_cast<double>(core.Freqency) * kTwoPi / pro.nSamplingRate);
    core.phi = 0.0F;
}

constexpr Generator<OSC_Core_S> kSource = {kInitial<oscillator::kLayout>, apply};

float sine(float phi) { return fast_sin(phi); }
float sawtooth(float phi) { return static_cast<float>(static_cast<double>(phi) / kPi - 1.0); }
float square(float phi) { return static_cast<double>(phi) < kPi ? 1.0F : -1.0F; }
float triangle(float phi)
{
    const double ramp = 2.0 * static_cast<double>(phi) / kPi;
    return static_cast<float>(static_cast<double>(phi) < kPi ? ramp - 1.0 : 3.0 - ramp);
}

template <float Shape(float)>
int render(const BlockAlgo* blk, float** out)
{
    auto* core = core_of<OSC_Core_S>(blk);
    const float step = core->delta_phi;
    const bool on = core->Switch != SOURCE_SWITCH_OFF;
    float phi = core->phi;
    fill_pins(blk, core->Out_NumChannel, out, [&phi, step, on] {
        const float v = on ? std::clamp(Shape(phi), -1.0F, 1.0F) : 0.0F;
        phi = step_phase(phi, step);
        return v;
    });
    core->phi = phi;
    return RT_OK;
}

}  // namespace

BlockAlgo* OscillatorSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    return source_init(kSource, Input_pin, Output_pin, block_pro, type);
}

spx_int32_t OscillatorSource_ResetParam(BlockAlgo* blk, void* param) { return source_reset(kSource, blk, param); }

spx_int32_t OscillatorSource_Update(BlockAlgo* blk) { return source_reset(kSource, blk, nullptr); }

spx_int32_t OscillatorSource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("OSC param is %f,%f\n\n", static_cast<double>(blk->pParam[kOSCFrequency]),
                static_cast<double>(blk->pParam[kOSCSwitch]));
    }
    return RT_OK;
}

spx_int32_t OscillatorSource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    switch (blk->method_type) {
    case EN_SOURCE_OSC_BEEQ:
    case EN_SOURCE_OSC_SINE:
        return render<sine>(blk, data_out);
    case EN_SOURCE_OSC_SAWTOOTH:
        return render<sawtooth>(blk, data_out);
    case EN_SOURCE_OSC_SQUARE:
        return render<square>(blk, data_out);
    case EN_SOURCE_OSC_TRIANGLE:
        return render<triangle>(blk, data_out);
    default:
        LBX_LOG("This case is not supported. Please check your spelling\n");
        return RT_ERR_BAD;
    }
}

spx_int32_t OscillatorSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
