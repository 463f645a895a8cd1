// SPDX-License-Identifier: Apache-2.0
// The life of one block under arbitrary bytes: type, pins, rate, block size, parameter vectors of any bits, samples of
// any bits, calls in any order. Buffers are exactly as large as the block may use, so the sanitizer sees every step
// outside. Pins that do not fit a type are the host's fault: init may accept them, process is then not called.
#include <vector>

#include "catalog/catalog.h"
#include "exit_trap.h"
#include "input.h"
#include "scratch.h"
#include "support/every_block.h"
#include "vantoro.h"

namespace {

void drop(const char*, void*) {}

// Any bits, but that the entries which say how long the vector is stay small, and the vector is long enough for them:
// a host that lies about its own vector's length is out of the library's hands.
std::vector<float> any_vector(Input& input, const rig::BlockCase& row)
{
    constexpr int kMostRows = 24;
    std::vector<float> vector(row.vector.size() + std::size_t{kMostRows} * kMostRows * 8);
    const std::size_t filled = row.vector.size() + static_cast<std::size_t>(input.range(0, 40));
    for (std::size_t i = 0; i < filled && i < vector.size(); ++i)
        vector[i] = i < row.vector.size() && input.take<std::uint8_t>() % 2 == 0 ? row.vector[i] : input.take<float>();
    for (const int entry : row.counts)
        vector[static_cast<std::size_t>(entry)] = static_cast<float>(input.range(-2, kMostRows));
    return vector;
}

// The table of a filter's response, whatever its coefficients are.
void check_response(BlockAlgo* blk, int rate, int resolution)
{
    if ((blk->method_type & 0xff00) != EN_FILTER)
        return;
    in_scratch([&] {
        filter_response_check(blk, 1, rate, resolution, nullptr);
        LookupFilter_Response_Check(blk, rate, resolution);
        CrossoverFilter_Response_Check(blk, rate, resolution);
        MiscellFilter_Response_Check(blk, rate, resolution);
    });
}

// The pins of a side, each with memory of its own; or one run for all of them, as the state machine addresses its pins.
class Pins {
public:
    Pins(int count, int samples, bool one_run)
        : pins_(static_cast<std::size_t>(count)), runs_(one_run ? 1 : pins_.size())
    {
        const auto n = static_cast<std::size_t>(samples);
        for (std::vector<float>& run : runs_)
            run.resize(one_run ? pins_.size() * n : n);
        for (std::size_t pin = 0; pin < pins_.size(); ++pin)
            pins_[pin] = one_run ? runs_[0].data() + pin * n : runs_[pin].data();
    }
    float** data() { return pins_.data(); }
    void fill(Input& input)
    {
        for (std::vector<float>& run : runs_)
            for (float& v : run)
                v = input.take<float>();
    }

private:
    std::vector<float*> pins_;
    std::vector<std::vector<float>> runs_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Vantoro_set_log_handler(drop, nullptr);
    Input input(data, size);
    const auto rows = rig::every_block();
    const rig::BlockCase& row = rows[static_cast<std::size_t>(input.range(0, static_cast<int>(rows.size()) - 1))];
    const bool fitting_pins = input.take<std::uint8_t>() % 4 != 0;
    const int inputs = fitting_pins ? row.inputs : input.range(0, 6);
    const int outputs = fitting_pins ? row.outputs : input.range(0, 12);
    const vantoro::BlockType* type = vantoro::find_type(row.type);
    const bool fits = type && vantoro::pins_fit(*type, {inputs, outputs});
    BlockPro pro = {input.range(1, 60000), input.range(0, 32), input.range(0, 300), 0, 0};

    BlockAlgo* blk = nullptr;
    ends_process([&] { blk = BlockAlgo_init(&pro, inputs, outputs, row.type); });
    if (!blk)
        return 0;
    const bool one_run = type && vantoro::has_trait(*type, VANTORO_CONTIGUOUS_PINS);
    Pins in(inputs, pro.nBlockSize, one_run), out(outputs, pro.nBlockSize, one_run);
    bool ended = false;
    for (int call = 0; call < 32 && !input.empty() && !ended; ++call) {
        const int what = input.range(0, 6);
        std::vector<float> vector = what == 0 ? any_vector(input, row) : std::vector<float>();
        const int rate = what == 3 ? input.range(-1, 60000) : 0, resolution = what == 3 ? 50 * input.range(-1, 900) : 0;
        if (what >= 4)
            in.fill(input);
        ended = ends_process([&] {
            switch (what) {
            case 0:
                BlockAlgo_param_reset(blk, vector.data());
                break;
            case 1:
                BlockAlgo_param_update(blk);
                break;
            case 2:
                BlockAlgo_param_invoke(blk);
                break;
            case 3:
                check_response(blk, rate, resolution);
                break;
            default:
                if (fits)
                    BlockAlgo_process(blk, in.data(), out.data());
                break;
            }
        });
    }
    BlockAlgo_destroy(blk);
    return 0;
}
