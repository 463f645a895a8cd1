// SPDX-License-Identifier: Apache-2.0
// The impulse response in partitions: the first taps in direct form, then stages of 64, 512 and 4,096 taps a partition,
// as long as each pays (W. G. Gardner, "Efficient Convolution without Input-Output Delay", 1995). Samples are counted
// in frames of these sizes from when the handle was made, whatever the size of the host's blocks: outputs do not depend
// on it, and there is no delay.
//
// A frame of 64 is transformed when it is complete; it is heard from 64 samples after its begin. What else there is to
// do has the length of a frame, and every block does its share: larger frames are heard two frames after their begin.
#include "convolution.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>
#include <vantoro/vantoro_preprocess.h>

#include "../lib/filters/arranged.h"
#include "../lib/filters/fir.h"
#include "../lib/kernels/lanes.h"
#include "transform.h"

namespace vquiet {

using namespace lbx;

namespace {

constexpr int kHead = 64;  // taps in direct form, and samples of the smallest frame
constexpr int kWide = kLanes<f8>;
constexpr int kMostStages = 3;
// Of the stages: the size of a frame, and the number of taps from which on the stage pays.
constexpr int kFrames[kMostStages] = {64, 512, 4096};
constexpr int kPays[kMostStages] = {256, 2048, 16384};

// ---- what all channels share

struct Stage {
    Transform transform;
    int first, frame, parts;   // the first tap
    bool at_once;              // frames are heard as soon as they are complete
    owned::Array<float> taps;  // spectra
};

// The pieces of work from one frame to the next, in this order: the transform of the last frame, its product with the
// first partition, the way back; then the products of all frames so far with the other partitions, for the next time.
struct Work {
    int pieces, passes, parts;

    explicit Work(const Stage& stage)
        : pieces(stage.transform.pieces), passes(stage.transform.passes), parts(stage.parts)
    {}
    int product() const { return pieces * passes; }
    int back() const { return product() + pieces; }
    int others() const { return back() + pieces * passes; }
    int end() const { return others() + pieces; }
    // In units of one product, about.
    int cost(int piece) const
    {
        constexpr int kPass = 4;
        return piece < product() ? kPass : piece < back() ? 1 : piece < others() ? kPass : parts;
    }
    int cost_of_first() const { return pieces * (2 * passes * cost(0) + 1); }
    int cost_of_all() const { return cost_of_first() + pieces * parts; }
};

// ---- of one channel

struct StageState {
    float *past, *sum, *tail;  // spectra of as many frames as there are partitions; of the result; what it leaves
    float *now, *next;         // outputs
    int newest, piece, cost;   // the last frame; the work that is done
};

struct Channel {
    float* line;                    // the last samples: two of the largest frames
    float head[2 * kHead + kWide];  // those of the last two of the smallest
    StageState stage[kMostStages];
    unsigned position;  // samples so far, around
    int written;        // the ring's index, as it was left
};

struct Plan {
    int taps = 0, stages = 0;  // without stages: as documented
    const float* coeffs = nullptr;
    Stage stage[kMostStages] = {};
    owned::Array<float> known{};  // the taps that the spectra are of, and zeros to the end of the last partition
    int at_stage = 0, at_part = 0, unseen = 0;  // where they are compared next, and with how many is due
    std::size_t memory_each = 0;                // floats of a channel
    owned::Array<float> memory{};
    owned::Array<Channel> channel{};

    int line() const { return 2 * stage[stages - 1].frame; }
};

struct Convolution : VantoroQuiet {
    Plan plan;
};

FIR_Core* core_of(const VantoroQuiet* quiet) { return static_cast<FIR_Core*>(quiet->block->AlgoCore); }

// ---- the direct form

// kRows packets of outputs; even and odd taps apart, so that few outputs do not wait for one another.
template <int kRows>
LBX_INLINE void convolve(const float* taps, const float* x, float* y)
{
    f8 even[kRows], odd[kRows];
    repeat<kRows>([&](auto r) { even[r] = odd[r] = every<f8>(0.0F); });
    for (int k = 0; k < kHead; k += 2) {
        const f8 tap = every<f8>(taps[k]), other = every<f8>(taps[k + 1]);
        repeat<kRows>([&](auto r) {
            even[r] = mul_add(tap, load<f8>(x - k + kWide * r), even[r]);
            odd[r] = mul_add(other, load<f8>(x - k - 1 + kWide * r), odd[r]);
        });
    }
    repeat<kRows>([&](auto r) { store(y + kWide * r, even[r] + odd[r]); });
}

// Up to a packet more than n.
LBX_KERNEL void convolve_head(const float* taps, const float* x, float* y, int n)
{
    int i = 0;
    for (; i + 3 * kWide < n; i += 4 * kWide)
        convolve<4>(taps, x + i, y + i);
    for (; i + kWide < n; i += 2 * kWide)
        convolve<2>(taps, x + i, y + i);
    if (i < n)
        convolve<1>(taps, x + i, y + i);
}

// ---- the stages

void do_piece(const Stage& stage, const Work& work, const float* frame, StageState& state)
{
    const Transform& transform = stage.transform;
    const std::ptrdiff_t spectrum = 2 * std::ptrdiff_t{stage.frame};
    const int piece = state.piece++, at = piece % work.pieces;
    state.cost += work.cost(piece);
    if (piece < work.product())
        forward(transform, piece / work.pieces, at, frame, state.past + spectrum * state.newest);
    else if (piece < work.back())
        multiply(transform, at, {state.past, stage.taps.get(), state.newest, stage.parts, 1}, state.sum, true);
    else if (piece < work.others())
        backward(transform, (piece - work.back()) / work.pieces, at, state.sum, state.tail, state.next);
    else
        multiply(transform, at, {state.past, stage.taps.get() + spectrum, state.newest, stage.parts, stage.parts - 1},
                 state.sum, false);
}

// After samples up to `position`: what is due of the work.
void go_on(const Stage& stage, const float* line, unsigned line_mask, unsigned position, StageState& state)
{
    const Work work(stage);
    const int past = static_cast<int>(position % static_cast<unsigned>(stage.frame));  // samples, of the frame begun
    const int first = stage.at_once ? work.cost_of_first() : 0;
    const auto frame_end = position - static_cast<unsigned>(past);
    const float* frame = line + ((frame_end - static_cast<unsigned>(stage.frame)) & line_mask);
    if (past == 0) {
        const float* before = line + ((frame_end - 2 * static_cast<unsigned>(stage.frame)) & line_mask);
        while (state.piece < work.end())
            do_piece(stage, work, before, state);
        if (!stage.at_once)
            std::swap(state.now, state.next);
        state.newest = state.newest + 1 < stage.parts ? state.newest + 1 : 0;
        state.piece = state.cost = 0;
        if (stage.at_once) {
            while (state.piece < work.others())
                do_piece(stage, work, frame, state);
            std::swap(state.now, state.next);
        }
    }
    const int due = first + static_cast<int>(std::int64_t{work.cost_of_all() - first} * past / stage.frame);
    while (state.cost < due && state.piece < work.end())
        do_piece(stage, work, frame, state);
}

// Up to the end of a smallest frame. The samples may be where the outputs go.
void run_some(const Plan& plan, Channel& channel, const float* in, float* out, int n)
{
    float sum[kHead + 4 * kWide];
    const auto at = static_cast<int>(channel.position % kHead);
    float* now = channel.head + kHead + at;
    const unsigned mask = static_cast<unsigned>(plan.line()) - 1;
    std::copy_n(in, n, now);
    std::copy_n(in, n, channel.line + (channel.position & mask));
    convolve_head(plan.coeffs, now, sum, n);
    for (int s = 0; s < plan.stages; ++s) {
        const float* more = channel.stage[s].now + channel.position % static_cast<unsigned>(plan.stage[s].frame);
        for (int i = 0; i < n; ++i)
            sum[i] += more[i];
    }
    std::copy_n(sum, n, out);
    channel.position += static_cast<unsigned>(n);
    if (channel.position % kHead == 0)
        std::copy_n(channel.head + kHead, kHead, channel.head);
    for (int s = 0; s < plan.stages; ++s)
        go_on(plan.stage[s], channel.line, mask, channel.position, channel.stage[s]);
}

void run(const Plan& plan, Channel& channel, const float* in, float* out, int n)
{
    for (int done = 0; done < n;) {
        const int some = std::min(n - done, kHead - static_cast<int>(channel.position % kHead));
        run_some(plan, channel, in + done, out + done, some);
        done += some;
    }
}

// ---- the record's ring

void write_past(CircularBuffer* ring, const float* x, int n)
{
    for (int done = 0; done < n;) {
        const int some = std::min(n - done, ring->bufferLength - ring->writeIndex);
        std::copy_n(x + done, some, ring->buffer + ring->writeIndex);
        ring->writeIndex = (ring->writeIndex + some) & ring->wrapMask;
        done += some;
    }
}

void clear_channel(Plan& plan, int ch)
{
    Channel& channel = plan.channel[static_cast<std::size_t>(ch)];
    std::fill_n(plan.memory.get() + plan.memory_each * static_cast<std::size_t>(ch), plan.memory_each, 0.0F);
    std::fill(std::begin(channel.head), std::end(channel.head), 0.0F);
    channel.position = 0;
    for (StageState& state : channel.stage)
        state.newest = state.piece = state.cost = 0;
}

// Whether the ring's last samples are those of this channel. A host that ran the documented arithmetic in between, for
// just as many samples as the ring has, is noticed by them; only silence before and after would hide it.
bool as_left(const Channel& channel, const CircularBuffer* ring)
{
    const float* last = channel.head + channel.position % kHead;
    const int from_start = std::min(kHead, ring->writeIndex), from_end = kHead - from_start;
    return ring->writeIndex == channel.written &&
           same_floats(last, ring->buffer + ring->bufferLength - from_end, from_end) &&
           same_floats(last + from_end, ring->buffer + ring->writeIndex - from_start, from_start);
}

// Takes over from the ring: all that the taps reach is heard once more, and thrown away. Frames begin with the next
// sample, as they do after silence.
void take_over(Plan& plan, const CircularBuffer* ring, int ch)
{
    Channel& channel = plan.channel[static_cast<std::size_t>(ch)];
    clear_channel(plan, ch);
    float some[kHead];
    const int reach = std::min(ring->bufferLength, (plan.taps + kHead - 1) / kHead * kHead);
    channel.position = 0U - static_cast<unsigned>(reach);
    for (int ago = reach; ago > 0; ago -= kHead) {
        for (int i = 0; i < kHead; ++i)
            some[i] = ring->buffer[(ring->writeIndex - ago + i) & ring->wrapMask];
        run(plan, channel, some, some, kHead);
    }
    channel.written = ring->writeIndex;
}

// ---- taps

// A partition's spectrum, if its taps are not those it is of.
void follow_part(const Plan& plan, const Stage& stage, int part)
{
    const int first = stage.first + part * stage.frame;
    const auto bytes = sizeof(float) * static_cast<std::size_t>(std::min(stage.frame, plan.taps - first));
    float* known = plan.known.get() + first;
    if (std::memcmp(known, plan.coeffs + first, bytes) == 0)
        return;
    std::memcpy(known, plan.coeffs + first, bytes);
    const Transform& transform = stage.transform;
    for (int piece = 0; piece < transform.pieces * transform.passes; ++piece)
        forward(transform, piece / transform.pieces, piece % transform.pieces, known,
                stage.taps.get() + 2 * std::ptrdiff_t{stage.frame} * part);
}

// New taps that came without a call are found little by little: 8 taps are compared for each sample.
void follow_taps(Plan& plan, int n)
{
    constexpr int kEach = 8;
    plan.unseen += kEach * std::min(n, plan.taps);
    for (const Stage* stage = plan.stage + plan.at_stage; plan.unseen >= stage->frame;
         stage = plan.stage + plan.at_stage) {
        plan.unseen -= stage->frame;
        follow_part(plan, *stage, plan.at_part);
        if (++plan.at_part == stage->parts) {
            plan.at_part = 0;
            plan.at_stage = plan.at_stage + 1 < plan.stages ? plan.at_stage + 1 : 0;
        }
    }
}

// ---- plans

// Which stages: each ends where frames of the next can be heard.
bool plan_stages(Plan& plan)
{
    for (int first = kHead; first < plan.taps; ++plan.stages) {
        Stage& stage = plan.stage[plan.stages];
        stage.first = first;
        stage.frame = kFrames[plan.stages];
        stage.at_once = plan.stages == 0;
        const bool last = plan.stages + 1 == kMostStages || plan.taps < kPays[plan.stages + 1];
        const int end = last ? plan.taps : 2 * kFrames[plan.stages + 1];
        stage.parts = (end - first + stage.frame - 1) / stage.frame;
        first = end;
        if (!design(stage.transform, stage.frame) ||
            !owned::silence(stage.taps,
                            2 * static_cast<std::size_t>(stage.frame) * static_cast<std::size_t>(stage.parts)))
            return false;
    }
    const Stage& last = plan.stage[plan.stages - 1];
    return owned::silence(plan.known, static_cast<std::size_t>(last.first) +
                                          static_cast<std::size_t>(last.frame) * static_cast<std::size_t>(last.parts));
}

bool give_memory(Plan& plan, int channels)
{
    const auto line = static_cast<std::size_t>(plan.line());
    plan.memory_each = line;
    for (int s = 0; s < plan.stages; ++s)
        plan.memory_each +=
            static_cast<std::size_t>(plan.stage[s].frame) * (2 * static_cast<std::size_t>(plan.stage[s].parts) + 5);
    if (!owned::silence(plan.memory, plan.memory_each * static_cast<std::size_t>(channels)) ||
        !owned::zeros(plan.channel, static_cast<std::size_t>(channels)))
        return false;
    float* free = plan.memory.get();
    const auto take = [&](std::size_t floats) { return std::exchange(free, free + floats); };
    for (int ch = 0; ch < channels; ++ch) {
        Channel& channel = plan.channel[static_cast<std::size_t>(ch)];
        channel.line = take(line);
        for (int s = 0; s < plan.stages; ++s) {
            const auto frame = static_cast<std::size_t>(plan.stage[s].frame);
            const std::size_t past = 2 * frame * static_cast<std::size_t>(plan.stage[s].parts);
            channel.stage[s] = {take(past), take(2 * frame), take(frame), take(frame), take(frame), 0, 0, 0};
        }
    }
    return true;
}

bool make_plan(const FIR_Core* core, int channels, Plan& plan)
{
    plan.taps = core->fir_len;
    plan.coeffs = core->coeffs;
    if (plan.taps < kPays[0])
        return true;
    if (!plan_stages(plan) || !give_memory(plan, channels))
        return false;
    for (int s = 0; s < plan.stages; ++s)
        for (int part = 0; part < plan.stage[s].parts; ++part)
            follow_part(plan, plan.stage[s], part);
    for (int ch = 0; ch < channels; ++ch)
        take_over(plan, core->databuffer[ch], ch);
    return true;
}

// ---- the form

VantoroQuiet* create(BlockAlgo*) { return owned::make<Convolution>(); }
void destroy(VantoroQuiet* quiet) { owned::unmake(static_cast<Convolution*>(quiet)); }

bool prepare(VantoroQuiet* quiet)
{
    Plan plan;
    if (!make_plan(core_of(quiet), quiet->block->nInputs, plan))
        return false;
    static_cast<Convolution*>(quiet)->plan = std::move(plan);
    return true;
}

int process(VantoroQuiet* quiet, float** in, float** out)
{
    Plan& plan = static_cast<Convolution*>(quiet)->plan;
    const FIR_Core* core = core_of(quiet);
    if (plan.stages == 0 || core->fir_len != plan.taps || core->coeffs != plan.coeffs)
        return BlockAlgo_process(quiet->block, in, out);
    const int n = quiet->block->block_pro->nBlockSize;
    follow_taps(plan, n);
    for (int ch = 0; ch < quiet->block->nInputs; ++ch) {
        Channel& channel = plan.channel[static_cast<std::size_t>(ch)];
        CircularBuffer* ring = core->databuffer[ch];
        if (!as_left(channel, ring))
            take_over(plan, ring, ch);
        write_past(ring, in[ch], n);
        channel.written = ring->writeIndex;
        run(plan, channel, in[ch], out[ch], n);
    }
    return RT_OK;
}

void clear(VantoroQuiet* quiet)
{
    Plan& plan = static_cast<Convolution*>(quiet)->plan;
    for (int ch = 0; plan.stages > 0 && ch < quiet->block->nInputs; ++ch) {
        clear_channel(plan, ch);
        plan.channel[static_cast<std::size_t>(ch)].written = core_of(quiet)->databuffer[ch]->writeIndex;
    }
}

constexpr Form kConvolution = {create, prepare, process, clear, destroy};

}  // namespace

const Form* convolution_form(int type) { return type == EN_FILTER_FIR ? &kConvolution : nullptr; }

}  // namespace vquiet
