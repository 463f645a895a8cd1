// SPDX-License-Identifier: Apache-2.0
#include "as_written.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace as_written {
namespace {

using Floats = std::vector<float>;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

template <class Core>
const Core& core_of(const BlockAlgo& blk)
{
    return *static_cast<const Core*>(blk.AlgoCore);
}

// ---- sections

// FILTER_COEFF order: b0, b1, a1, b2, a2.
float section(const float* c, float* s, float x)
{
    const float y = std::fma(c[0], x, s[0]);
    s[0] = std::fma(-c[2], y, c[1] * x) + s[1];
    s[1] = std::fma(-c[4], y, c[3] * x);
    return y;
}

float chain(const float* c, float* s, int sections, float x)
{
    for (int k = 0; k < sections; ++k)
        x = section(c + 5 * k, s + 2 * k, x);
    return x;
}

// b0, b1, a1.
float first_order(const float* c, float& s, float x)
{
    const float y = std::fma(c[0], x, s);
    s = std::fma(-c[2], y, c[1] * x);
    return y;
}

class Section : public Loop {
public:
    explicit Section(const BlockAlgo& blk) : state_(at(2 * blk.nInputs)) {}
    void set(const BlockAlgo& blk) override
    {
        std::copy_n(core_of<SecondOrder_Core>(blk).coeffArray, 5, c_);
        negate_ = core_of<SecondOrder_Core>(blk).polarity != 0;
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (std::size_t ch = 0; ch < state_.size() / 2; ++ch) {
            float s[2] = {state_[2 * ch], state_[2 * ch + 1]};
            for (int i = 0; i < n; ++i) {
                const float y = section(c_, s, in[ch][i]);
                out[ch][i] = negate_ ? -y : y;
            }
            std::copy_n(s, 2, &state_[2 * ch]);
        }
    }

private:
    float c_[5];
    bool negate_;
    Floats state_;
};

class FirstOrder : public Loop {
public:
    explicit FirstOrder(const BlockAlgo& blk) : state_(at(blk.nInputs)) {}
    void set(const BlockAlgo& blk) override { std::copy_n(core_of<FirstOrder_Core>(blk).coeffArray, 3, c_); }
    void run(float* const* in, float* const* out, int n) override
    {
        for (std::size_t ch = 0; ch < state_.size(); ++ch) {
            float s = state_[ch];
            for (int i = 0; i < n; ++i)
                out[ch][i] = first_order(c_, s, in[ch][i]);
            state_[ch] = s;
        }
    }

private:
    float c_[3];
    Floats state_;
};

class Equaliser : public Loop {
public:
    explicit Equaliser(const BlockAlgo& blk) : channels_(blk.nInputs) {}
    void set(const BlockAlgo& blk) override
    {
        const auto& core = core_of<GraphicalEQ_Core>(blk);
        bands_ = core.numFilter;
        c_.assign(core.coeffArray, core.coeffArray + 5 * bands_);
        state_.assign(at(2 * bands_ * channels_), 0.0F);
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int ch = 0; ch < channels_; ++ch)
            for (int i = 0; i < n; ++i)
                out[ch][i] = chain(c_.data(), &state_[at(2 * bands_ * ch)], bands_, in[ch][i]);
    }

private:
    int channels_, bands_ = 0;
    Floats c_, state_;
};

class Crossover : public Loop {
public:
    explicit Crossover(const BlockAlgo& blk) : held_(at(blk.nInputs)) {}
    void set(const BlockAlgo& blk) override
    {
        const float* coeff = nullptr;
        if (blk.method_type == EN_FILTER_CROSSOVER_2WAY) {
            const auto& core = core_of<Crossover2Way_Core>(blk);
            coeff = core.coeffArray;
            sections_ = {core.sos_low, core.sos_high};
            invert_ = {core.invert1 != 0, false};
        } else {
            const auto& core = core_of<Crossover3Way_Core>(blk);
            coeff = core.coeffArray;
            sections_ = {core.sos_low, core.sos_high, core.sos_med_lp + core.sos_med_hp};
            invert_ = {core.invert1 != 0, false, core.invert2 != 0};
        }
        int total = 0;
        for (const int sections : sections_)
            total += sections;
        c_.assign(coeff, coeff + 5 * total);
        state_.assign(at(2 * total) * held_.size(), 0.0F);
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i < n; ++i) {
            for (std::size_t ch = 0; ch < held_.size(); ++ch)
                held_[ch] = in[ch][i];
            float* s = state_.data();
            for (std::size_t ch = 0; ch < held_.size(); ++ch) {
                const float* c = c_.data();
                for (std::size_t way = 0; way < sections_.size(); ++way) {
                    const float y = chain(c, s, sections_[way], held_[ch]);
                    out[sections_.size() * ch + way][i] = invert_[way] ? -y : y;
                    c += 5 * sections_[way];
                    s += 2 * sections_[way];
                }
            }
        }
    }

private:
    Floats c_, state_, held_;
    std::vector<int> sections_;
    std::vector<bool> invert_;
};

class Fir : public Loop {
public:
    explicit Fir(const BlockAlgo& blk) : channels_(blk.nInputs) {}
    void set(const BlockAlgo& blk) override
    {
        const auto& core = core_of<FIR_Core>(blk);
        taps_.assign(core.coeffs, core.coeffs + core.fir_len);
        length_ = static_cast<int>(std::bit_ceil(taps_.size()));
        ring_.assign(at(length_ * channels_), 0.0F);
        write_ = 0;
    }
    void run(float* const* in, float* const* out, int n) override
    {
        const int taps = static_cast<int>(taps_.size()), mask = length_ - 1, start = write_;
        for (int ch = 0; ch < channels_; ++ch) {
            float* ring = &ring_[at(length_ * ch)];
            int w = start;
            for (int i = 0; i < n; ++i) {
                float y = taps_[0] * in[ch][i];
                for (int k = 1; k < taps; ++k)
                    y = std::fma(taps_[at(k)], ring[(w - k) & mask], y);
                ring[w] = in[ch][i];
                w = (w + 1) & mask;
                out[ch][i] = y;
            }
            write_ = w;
        }
    }

private:
    int channels_, length_ = 0, write_ = 0;
    Floats taps_, ring_;
};

// ---- gains

// Where a gain goes within one block, and whether it glides at all. Once the step is too small to matter, or the gain
// no longer moves, it has arrived.
struct Glide {
    float now, to, step;
};
Glide glide(float now, float target, float alpha, int n)
{
    if (now == target)
        return {now, now, 0.0F};
    const float to = std::fma(now, alpha, (1.0F - alpha) * target);
    return {now, to, (to - now) * (1.0F / (static_cast<float>(n) + 1.0F))};
}
float arrived(const Glide& g, float target) { return std::fabs(g.step) < 1e-10F || g.to == g.now ? target : g.to; }

// The volume controls and the mute: a gain for all channels, or one for each.
class Volumes : public Loop {
public:
    explicit Volumes(const BlockAlgo& blk)
        : channels_(blk.nOutputs), gain_(blk.method_type == EN_VC_MULTI_CONTROL_SLEW ? at(channels_) : 1U)
    {}
    void set(const BlockAlgo& blk) override
    {
        if (blk.method_type == EN_VC_MUTE) {
            alpha_ = core_of<Mute_Core>(blk).slew_rate;
            target_ = {core_of<Mute_Core>(blk).gain_now};
        } else {
            const auto& core = core_of<AdjustableGain_Core>(blk);
            alpha_ = core.attack_gain;
            target_.assign(core.value, core.value + gain_.size());
        }
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int ch = 0; ch < channels_; ++ch) {
            const std::size_t k = gain_.size() == 1 ? 0 : at(ch);
            const Glide g = glide(gain_[k], target_[k], alpha_, n);
            float gain = g.now;
            for (int i = 0; i < n; ++i) {
                gain = gain + g.step;
                out[ch][i] = in[ch][i] * gain;
            }
            if (gain_.size() > 1 || ch == channels_ - 1)
                gain_[k] = arrived(g, target_[k]);
        }
    }

private:
    int channels_;
    float alpha_ = 0;
    Floats gain_, target_;
};

// Every mixer with a gain per path: path (i, j) from input i to output j has gain i * outputs + j. Slewed gains run
// inside the block; the others stand still.
class Mixer : public Loop {
public:
    explicit Mixer(const BlockAlgo& blk)
        : inputs_(blk.nInputs), outputs_(blk.nOutputs), gain_(at(inputs_ * outputs_)), step_(gain_), held_(at(inputs_))
    {
        slewed_ = blk.method_type == EN_MIXERS_CROSS_SLEW || blk.method_type == EN_MIXERS_MULTI_SLEW;
    }
    void set(const BlockAlgo& blk) override
    {
        const float* target = static_cast<const float*>(blk.AlgoCore);
        if (slewed_) {
            target = core_of<MixSlewSt>(blk).set_gain;
            alpha_ = core_of<MixSlewSt>(blk).attack_gain;
        }
        target_.assign(target, target + gain_.size());
        if (!slewed_)
            gain_ = target_;
    }
    void run(float* const* in, float* const* out, int n) override
    {
        std::vector<Glide> glides;
        for (std::size_t k = 0; slewed_ && k < gain_.size(); ++k) {
            glides.push_back(glide(gain_[k], target_[k], alpha_, n));
            step_[k] = glides[k].step;
        }
        for (int i = 0; i < n; ++i) {
            for (int a = 0; a < inputs_; ++a)
                held_[at(a)] = in[a][i];
            for (int j = 0; j < outputs_; ++j) {
                float y = 0.0F;
                for (int a = 0; a < inputs_; ++a) {
                    const std::size_t k = at(a * outputs_ + j);
                    if (slewed_)
                        gain_[k] = gain_[k] + step_[k];
                    y = std::fma(gain_[k], held_[at(a)], y);
                }
                out[j][i] = y;
            }
        }
        for (std::size_t k = 0; k < glides.size(); ++k)
            gain_[k] = arrived(glides[k], target_[k]);
    }

private:
    int inputs_, outputs_;
    bool slewed_;
    float alpha_ = 0;
    Floats gain_, step_, held_, target_;
};

class Merger : public Loop {
public:
    explicit Merger(const BlockAlgo& blk) : inputs_(blk.nInputs) {}
    void set(const BlockAlgo&) override {}
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i < n; ++i) {
            float y = 0.0F;
            for (int a = 0; a < inputs_; ++a)
                y += in[a][i];
            out[0][i] = y / static_cast<float>(inputs_);
        }
    }

private:
    int inputs_;
};

class Splitter : public Loop {
public:
    explicit Splitter(const BlockAlgo& blk) : gain_(at(blk.nOutputs)) {}
    void set(const BlockAlgo& blk) override
    {
        std::copy_n(static_cast<const float*>(blk.AlgoCore), gain_.size(), gain_.begin());
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i < n; ++i) {
            const float x = in[0][i];
            for (std::size_t j = 0; j < gain_.size(); ++j)
                out[j][i] = gain_[j] * x;
        }
    }

private:
    Floats gain_;
};

// Several groups of pins; the gains of all groups move so that they keep the sum of 1.
class Multiplexer : public Loop {
public:
    explicit Multiplexer(const BlockAlgo& blk) : pins_(blk.nOutputs), gain_(at(blk.nInputs / blk.nOutputs))
    {
        gain_[0] = 1.0F;
    }
    void set(const BlockAlgo& blk) override
    {
        const auto& core = core_of<Multiplexers_Core>(blk);
        alpha_ = core.slew_rate;
        if (chosen_ != at(core.idx_stable)) {
            chosen_ = at(core.idx_stable);
            moving_ = true;
            share_.assign(core.delta_coeff, core.delta_coeff + core.num_Mx);
            left_ = 1.0F - gain_[chosen_];
        }
    }
    void run(float* const* in, float* const* out, int n) override
    {
        const float step = left_ * (1.0F - alpha_) * (1.0F / (static_cast<float>(n) + 1.0F));
        constexpr int kTile = 64;  // samples after which the gains are taken anew
        for (int i = 0; i < n; ++i) {
            if (i % kTile == 0 && i > 0)
                take_gains(kTile, step);
            for (std::size_t g = 0; moving_ && g < gain_.size(); ++g) {
                gain_[g] = gain_[g] + share_[g] * step;
                gain_[g] = gain_[g] > 0.0F ? gain_[g] : 0.0F;
            }
            for (int j = 0; j < pins_; ++j) {
                float y = moving_ ? 0.0F : in[at(pins_) * chosen_ + at(j)][i];
                for (std::size_t g = 0; moving_ && g < gain_.size(); ++g)
                    y = y + gain_[g] * in[at(pins_) * g + at(j)][i];
                out[j][i] = y;
            }
        }
        take_gains((n - 1) % kTile + 1, step);
        if (step == 0.0F || (std::fabs(step) < 1e-10F && left_ < 1e-4F)) {
            left_ = 0.0F;
            moving_ = false;
            take_gains(0, step);
        }
    }

private:
    void take_gains(int samples, float step)
    {
        left_ = std::fma(-static_cast<float>(samples), step, left_);
        for (std::size_t g = 0; g < gain_.size(); ++g)
            gain_[g] = std::max(share_[g] * -left_, 0.0F);
        gain_[chosen_] = 1.0F - left_;
    }

    int pins_;
    std::size_t chosen_ = 0;
    bool moving_ = false;
    float alpha_ = 0, left_ = 0;
    Floats gain_, share_;
};

// ---- dynamics and levels

float fast_sqrt(float x)
{
    float g = std::bit_cast<float>(0x5f3759dfU - (std::bit_cast<std::uint32_t>(x) >> 1U));
    const float half = 0.5F * x;
    g = g * (1.5F - half * g * g);
    g = g * (1.5F - half * g * g);
    return g * x;
}

class Limiter : public Loop {
public:
    explicit Limiter(const BlockAlgo& blk) : level_(at(blk.nInputs)), gain_(at(blk.nInputs), 1.0F) {}
    void set(const BlockAlgo& blk) override
    {
        const auto& core = core_of<Limiter_Core>(blk);
        weight_ = core.rmstc_coeff;
        keep_ = core.decay_coeff;
        threshold_ = core.threshold;
    }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i < n; ++i)
            for (std::size_t ch = 0; ch < gain_.size(); ++ch) {
                const float x = in[ch][i];
                level_[ch] = std::fma(1.0F - weight_, level_[ch], weight_ * (x * x));
                const float target = level_[ch] > threshold_ ? fast_sqrt(threshold_ / level_[ch]) : 1.0F;
                gain_[ch] = std::fma(keep_, gain_[ch], (1.0F - keep_) * target);
                out[ch][i] = gain_[ch] * x;
            }
    }

private:
    float weight_ = 0, keep_ = 0, threshold_ = 0;
    Floats level_, gain_;
};

class Envelope : public Loop {
public:
    explicit Envelope(const BlockAlgo&) {}
    void set(const BlockAlgo& blk) override { decay_ = core_of<Envelope_Core>(blk).decay_coeff; }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i < n; ++i) {
            const float a = std::fabs(in[0][i]);
            env_ = a > env_ ? a : std::fma(env_, decay_, (1.0F - decay_) * a);
            env_ = env_ > 1.0F ? 1.0F : env_;
            out[0][i] = env_;
        }
    }

private:
    float decay_ = 0, env_ = 0;
};

// Meters without hold. No bands: the input itself is measured.
class Meter : public Loop {
public:
    explicit Meter(const BlockAlgo& blk) : bands_(blk.method_type == EN_DETECTORS_SEVEN_BAND ? 7 : 0)
    {
        const std::size_t readings = std::max<std::size_t>(at(bands_), 1);
        state_.resize(2 * readings);
        sum_.resize(readings);
        smooth_.resize(readings);
        level_.resize(readings);
    }
    void set(const BlockAlgo& blk) override
    {
        if (bands_ > 0) {
            const auto& core = core_of<SevenLevelDetector_Core>(blk);
            weight_ = core.rmstc_coeff;
            c_.assign(core.coeffArray, core.coeffArray + 5 * bands_);
        } else {
            weight_ = core_of<SingleLevelDetector_Core>(blk).rmstc_coeff;
        }
    }
    void run(float* const* in, float* const* out, int n) override
    {
        std::ranges::fill(sum_, 0.0F);
        for (int i = 0; i < n; ++i) {
            const float x = in[0][i];
            out[0][i] = x;
            for (int k = 0; k < bands_; ++k) {
                const float y = section(&c_[at(5 * k)], &state_[at(2 * k)], x);
                sum_[at(k)] = std::fma(y, y, sum_[at(k)]);
            }
            if (bands_ == 0)
                sum_[0] = std::fma(x, x, sum_[0]);
        }
        for (std::size_t k = 0; k < sum_.size(); ++k) {
            const float mean = sum_[k] * (1.0F / static_cast<float>(n + 1));
            smooth_[k] = std::fma(1.0F - weight_, smooth_[k], weight_ * mean);
            level_[k] = static_cast<float>(6.0206 * static_cast<double>(lbx_fast_log2(smooth_[k] + 1e-9F)));
        }
    }
    std::span<const float> levels() const override { return level_; }

private:
    int bands_;
    float weight_ = 0;
    Floats c_, state_, sum_, smooth_, level_;
};

// The smoothed magnitude.
class Smoother : public Loop {
public:
    explicit Smoother(const BlockAlgo& blk) : level_(at(blk.nInputs)) {}
    void set(const BlockAlgo& blk) override { weight_ = core_of<RmsWithTcSt>(blk).rms_rate; }
    void run(float* const* in, float* const* out, int n) override
    {
        for (std::size_t ch = 0; ch < level_.size(); ++ch) {
            float level = level_[ch];
            for (int i = 0; i < n; ++i) {
                level = (1.0F - weight_) * level + weight_ * std::fabs(in[ch][i]);
                out[ch][i] = level;
            }
            level_[ch] = level;
        }
    }

private:
    float weight_ = 0;
    Floats level_;
};

// One volume for all channels: each goes on where the one before has ended.
class Loudness : public Loop {
public:
    explicit Loudness(const BlockAlgo& blk)
        : low_(at(blk.nOutputs)), high_(low_), pin_(blk.method_type == EN_LOUDNESS_LH_EXT)
    {}
    void set(const BlockAlgo& blk) override
    {
        const auto& core = core_of<Loudness_Core>(blk);
        std::copy_n(core.LP_Core.coeffArray, 3, low_c_);
        std::copy_n(core.HP_Core.coeffArray, 3, high_c_);
        std::copy_n(blk.pParam, kLoudnessModuleSize, p_);
        alpha_ = core.attack_gain;
        target_ = core.post_gain;
    }
    void run(float* const* in, float* const* out, int n) override
    {
        float bass_gain = 1.0F, treble_gain = 1.0F;
        if (pin_) {
            target_ = in[0][0] > 0.001F ? std::min(in[0][0], 1.0F) : 0.001F;
            const double db = static_cast<float>(6.0206 * static_cast<double>(lbx_fast_log2(target_)));
            bass_gain = shelf(-0.4 * db + (8 - 0.1 * db) * static_cast<double>(p_[kLoudnessBassGain]) * 0.01);
            treble_gain = shelf(-0.3 * db + (5 - 0.15 * db) * static_cast<double>(p_[kLoudnessTrebleGain]) * 0.01);
            ++in;
        }
        for (std::size_t ch = 0; ch < low_.size(); ++ch) {
            float step = std::fma(volume_, alpha_, (1.0F - alpha_) * target_) - volume_;
            step *= 1.0F / static_cast<float>(n + 1);
            if (!pin_ && std::fabs(step) < 1e-10F) {
                volume_ = target_;
                step = 0.0F;
            }
            for (int i = 0; i < n; ++i) {
                const float x = in[ch][i];
                const float bass = first_order(low_c_, low_[ch], x) * bass_gain;
                const float treble = first_order(high_c_, high_[ch], x) * treble_gain;
                volume_ = volume_ + step;
                out[ch][i] = (bass + treble + x) * volume_ * 0.5F;
            }
        }
    }

private:
    static float shelf(double db)
    {
        const double y = 1512775.3951951857 * (0.1151 * std::min(db, -1.0)) + 1072632447.0;
        return static_cast<float>(std::bit_cast<double>(static_cast<std::uint64_t>(y) << 32U));
    }

    float low_c_[3], high_c_[3], p_[kLoudnessModuleSize];
    float alpha_ = 0, target_ = 0, volume_ = 0;
    Floats low_, high_;
    bool pin_;
};

// ---- reverb: eight combs in parallel and four allpasses in series per channel, one group of four samples at a time

class Reverb : public Loop {
public:
    explicit Reverb(const BlockAlgo& blk) : channels_(blk.nInputs)
    {
        for (int c = 0; c < channels_; ++c) {
            for (const double ms : {25.31, 26.94, 28.96, 30.75, 32.24, 33.81, 35.31, 36.67})
                lines_.push_back(line(ms, c, blk.block_pro->nSamplingRate));
            for (const double ms : {12.61, 10.0, 7.73, 5.1})
                lines_.push_back(line(ms, c, blk.block_pro->nSamplingRate));
        }
    }
    void set(const BlockAlgo& blk) override { std::copy_n(blk.pParam, kReverbModuleSize, p_); }
    void run(float* const* in, float* const* out, int n) override
    {
        for (int i = 0; i + 3 < n; i += 4)
            if (channels_ == 2)
                stereo(in, out, i);
            else
                alone(in, out, i);
    }

private:
    struct Line {
        Floats buffer;
        std::size_t at = 0;
        float filterstore[4] = {};

        float* group() { return &buffer[at]; }
        void next() { at = at + 4 < buffer.size() ? at + 4 : 0; }
    };

    static Line line(double ms, int channel, int rate)
    {
        const double spread[] = {0.0, 0.5668, -0.4668, -0.96356};
        const double samples = (ms + spread[std::min(channel, 3)]) * rate / 1000;
        return {Floats(std::max<std::size_t>(static_cast<std::size_t>(samples) / 4 * 4, 4))};
    }

    void stereo(float* const* in, float* const* out, int i)
    {
        const float dry = p_[kReverbDryLevel] / 100, wet = p_[kReverbWetLevel] / 100, width = p_[kReverbWidth] / 100;
        const float wet1 = wet * (0.5F * width + 0.5F), wet2 = wet * 0.5F * (1 - width);
        float x[4], l[4], r[4];
        for (int k = 0; k < 4; ++k)
            x[k] = 0.0625F * (in[0][i + k] + in[1][i + k]);
        network(0, x, l);
        network(1, x, r);
        for (int k = 0; k < 4; ++k) {
            const float a = in[0][i + k], b = in[1][i + k];
            const float left = std::fma(a, dry, std::fma(r[k], wet2, l[k] * wet1));
            out[0][i + k] = left;
            out[1][i + k] = std::fma(b, dry, std::fma(left, wet2, r[k] * wet1));
        }
    }

    void alone(float* const* in, float* const* out, int i)
    {
        const float dry = p_[kReverbDryLevel] / 100, wet = p_[kReverbWetLevel] / 100;
        for (int c = 0; c < channels_; ++c) {
            float x[4], y[4];
            for (int k = 0; k < 4; ++k)
                x[k] = 0.125F * in[c][i + k];
            network(c, x, y);
            for (int k = 0; k < 4; ++k)
                out[c][i + k] = std::fma(in[c][i + k], dry, y[k] * wet);
        }
    }

    void network(int channel, const float* x, float* y)
    {
        const float g = 0.7F + 0.28F * p_[kReverbRoomSize], d = p_[kReverbDamp];
        std::fill_n(y, 4, 0.0F);
        Line* lines = &lines_[at(12 * channel)];
        for (Line* comb = lines; comb < lines + 8; ++comb) {
            float* b = comb->group();
            float delayed[4];
            std::copy_n(b, 4, delayed);
            float low = comb->filterstore[3];
            for (int k = 0; k < 4; ++k)
                comb->filterstore[k] = low = std::fma(d, low, (1 - d) * delayed[k]);
            for (int k = 0; k < 4; ++k)
                b[k] = std::fma(comb->filterstore[k], g, x[k]);
            for (int k = 0; k < 4; ++k)
                y[k] += delayed[k];
            comb->next();
        }
        for (Line* allpass = lines + 8; allpass < lines + 12; ++allpass) {
            float* b = allpass->group();
            for (int k = 0; k < 4; ++k) {
                const float delayed = b[k];
                b[k] = std::fma(delayed, 0.5F, y[k]);
                y[k] = std::fma(-b[k], 0.5F, delayed);
            }
            allpass->next();
        }
    }

    int channels_;
    float p_[kReverbModuleSize] = {};
    std::vector<Line> lines_;
};

// ---- arithmetic: pairs of pins

class Product : public Loop {
public:
    explicit Product(const BlockAlgo& blk) : pairs_(blk.nInputs / 2) {}
    void set(const BlockAlgo&) override {}
    void run(float* const* in, float* const* out, int n) override
    {
        for (int k = 0; k < pairs_; ++k)
            for (int i = 0; i < n; ++i)
                out[k][i] = in[2 * k][i] * in[2 * k + 1][i];
    }

private:
    int pairs_;
};

// ---- the list

template <class L>
std::unique_ptr<Loop> loop(const BlockAlgo& blk)
{
    return std::make_unique<L>(blk);
}

int one(int) { return 1; }
int same(int n) { return n; }
int twice(int n) { return 2 * n; }
int thrice(int n) { return 3 * n; }

std::function<Floats(int, int)> always(Floats vector)
{
    return [vector](int, int) { return vector; };
}

Floats ten_bands(int, int)
{
    Floats v = {10};
    for (int k = 0; k < 10; ++k)
        v.insert(v.end(), {31.25F * std::exp2(static_cast<float>(k)), 3.0F - static_cast<float>(k % 4), 1.4F, 0, 0});
    return v;
}

Floats taps(int count)
{
    Floats v = {static_cast<float>(count)};
    for (int k = 0; k < count; ++k)
        v.push_back(std::cos(static_cast<float>(k)) / static_cast<float>(count));
    return v;
}

// `first`, then `count` volumes in dB, others with every turn.
Floats volumes(Floats first, int count, int turn)
{
    for (int k = 0; k < count; ++k)
        first.push_back(turn % 2 == 0 ? -1.0F - static_cast<float>(k) : -20.0F + 0.7F * static_cast<float>(k));
    return first;
}

const std::vector<Kernel> kKernels = {
    {"second_order",
     EN_FILTER_2ND_GENERAL,
     {1, 2, 4, 8},
     9,
     same,
     same,
     true,
     always({1, 1, Gen_Param, 0, 1000, 1.4F, 3}),
     loop<Section>},
    {"first_order", EN_FILTER_1ST, {1, 2, 8}, 9, same, same, true, always({1, 0, HP1st, -3, 300, 0}), loop<FirstOrder>},
    {"equaliser10", EN_FILTER_GRAPHICAL_EQ, {1, 2, 4, 8}, 9, same, same, true, ten_bands, loop<Equaliser>},
    {"crossover2",
     EN_FILTER_CROSSOVER_2WAY,
     {1, 2, 4, 8},
     9,
     same,
     twice,
     false,
     always({LR24, 2000, 0, LR24, 2000, 0, 1}),
     loop<Crossover>},
    {"crossover3",
     EN_FILTER_CROSSOVER_3WAY,
     {2},
     9,
     same,
     thrice,
     false,
     always({LR24, 300, 0, LR24, 3000, 0, LR24, 3000, LR24, 300, 0, 0, 1}),
     loop<Crossover>},
    {"fir32", EN_FILTER_FIR, {1}, 9, same, same, true, always(taps(32)), loop<Fir>},
    {"fir128", EN_FILTER_FIR, {1}, 3, same, same, true, always(taps(128)), loop<Fir>},
    {"fir512", EN_FILTER_FIR, {1}, 2, same, same, true, always(taps(512)), loop<Fir>},
    {"slewed_gain",
     EN_VC_SIG_CONTROL_SLEW,
     {1, 2, 8},
     9,
     same,
     same,
     true,
     [](int, int turn) { return volumes({12}, 1, turn); },
     loop<Volumes>},
    {"slewed_gains",
     EN_VC_MULTI_CONTROL_SLEW,
     {2, 8},
     9,
     same,
     same,
     true,
     [](int n, int turn) { return volumes({12}, n, turn); },
     loop<Volumes>},
    {"mute",
     EN_VC_MUTE,
     {8},
     9,
     same,
     same,
     true,
     [](int, int turn) {
         return Floats{static_cast<float>(turn % 2), 1};
     },
     loop<Volumes>},
    {"mixer_cross",
     EN_MIXERS_CROSS,
     {2, 8},
     9,
     same,
     same,
     true,
     [](int n, int) { return volumes({}, n * n, 0); },
     loop<Mixer>},
    {"mixer_cross_slew",
     EN_MIXERS_CROSS_SLEW,
     {8},
     9,
     same,
     same,
     true,
     [](int n, int turn) { return volumes({12}, n * n, turn); },
     loop<Mixer>},
    {"mixer_multi",
     EN_MIXERS_MULTI,
     {8},
     9,
     same,
     one,
     true,
     [](int n, int) { return volumes({}, n, 0); },
     loop<Mixer>},
    {"mixer_multi_slew",
     EN_MIXERS_MULTI_SLEW,
     {8},
     9,
     same,
     one,
     true,
     [](int n, int turn) { return volumes({12}, n, turn); },
     loop<Mixer>},
    {"merger", EN_MIXERS_MERGE, {8}, 9, same, one, true, always({}), loop<Merger>},
    {"splitter", EN_SPLIT_MULTI, {8}, 9, one, same, true, [](int n, int) { return volumes({}, n, 0); }, loop<Splitter>},
    {"multiplexer_slew",
     EN_MUXES_MUXES_SWITCH,
     {3},
     9,
     [](int n) { return 2 * n + 2; },
     [](int) { return 2; },
     true,
     [](int n, int turn) {
         return Floats{turn % 2 == 0 ? static_cast<float>(n) : 0.0F, 1, 12};
     },
     loop<Multiplexer>},
    {"limiter", EN_DP_LIMITER, {1, 2, 4}, 9, same, same, true, always({200, 100, -12}), loop<Limiter>},
    {"envelope", EN_DP_ENV, {1}, 1, one, one, true, always({0, 100}), loop<Envelope>},
    {"smoother", EN_BASIC_ARITH_RMS, {1, 2, 8}, 9, same, same, true, always({50, 0}), loop<Smoother>},
    {"loudness",
     EN_LOUDNESS_LH,
     {1, 2, 8},
     9,
     same,
     same,
     true,
     [](int, int turn) {
         return volumes({80, 30, 6000, 20, 0}, 1, turn);
     },
     loop<Loudness>},
    {"loudness_pin",
     EN_LOUDNESS_LH_EXT,
     {1, 2, 8},
     9,
     [](int n) { return n + 1; },
     same,
     false,
     always({80, 30, 6000, 20, 0, 9}),
     loop<Loudness>},
    {"meter1", EN_DETECTORS_SINGLE_BAND, {1}, 1, one, one, true, always({1, 200, 0, 200}), loop<Meter>},
    {"meter7", EN_DETECTORS_SEVEN_BAND, {1}, 1, one, one, true, always({1, 200, 0, 200}), loop<Meter>},
    {"reverb", EN_QVALGO_REVERB, {1, 2}, 9, same, same, true, always({1, 70, 50, 0.6F, 0.3F, 60}), loop<Reverb>},
    {"product", EN_BASIC_ARITH_MUL, {1, 8}, 9, twice, same, false, always({}), loop<Product>},
};

}  // namespace

std::span<const Kernel> kernels() { return kKernels; }

}  // namespace as_written
