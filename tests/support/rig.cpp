// SPDX-License-Identifier: Apache-2.0
#include "rig.h"

#include "exit_trap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace {

std::atomic<long> g_calls{0};
std::atomic<long> g_frees{0};
std::atomic<long> g_fail_at{-1};
thread_local long t_touched = 0;

bool refuse()
{
    const long call = g_calls.fetch_add(1);
    ++t_touched;
    long expected = call;
    return g_fail_at.compare_exchange_strong(expected, -1);
}

constexpr float kCanary = 8.6753e-21F;
constexpr int kGuard = 32;

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t n, std::size_t size);
void* __real_realloc(void* p, std::size_t size);
void* __real_reallocarray(void* p, std::size_t n, std::size_t size);
void* __wrap_malloc(std::size_t size) { return refuse() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t n, std::size_t size) { return refuse() ? nullptr : __real_calloc(n, size); }
void* __wrap_realloc(void* p, std::size_t size) { return refuse() ? nullptr : __real_realloc(p, size); }
void* __wrap_reallocarray(void* p, std::size_t n, std::size_t size)
{
    return refuse() ? nullptr : __real_reallocarray(p, n, size);
}
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size)
{
    return refuse() ? nullptr : __real_aligned_alloc(alignment, size);
}
void __real_free(void* p);
void __wrap_free(void* p)
{
    ++g_frees;
    ++t_touched;
    __real_free(p);
}
[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status)
{
    if (rig::g_exit_trap)
        std::longjmp(*rig::g_exit_trap, 1);
    __real_exit(status);
}
}

std::jmp_buf* rig::g_exit_trap = nullptr;

namespace rig {

long Allocator::calls() { return g_calls; }
long Allocator::touched() { return g_calls + g_frees; }
long Allocator::touched_here() { return t_touched; }
void Allocator::fail_at(long k) { g_fail_at = g_calls + k; }
void Allocator::fail_never() { g_fail_at = -1; }

Log::Log() { Vantoro_set_log_handler(take, this); }
Log::~Log() { Vantoro_set_log_handler(nullptr, nullptr); }

void Log::take(const char* line, void* self) { static_cast<Log*>(self)->lines_.emplace_back(line); }

std::vector<std::string> Log::messages() const
{
    std::vector<std::string> result;
    for (const std::string& line : lines_) {
        const auto start = line.find("), ", line.find(": ,"));
        result.push_back(start == std::string::npos ? line : line.substr(start + 3));
    }
    return result;
}

std::string Log::all() const
{
    std::string text;
    for (const std::string& line : lines_)
        text += line;
    return text;
}

std::string Log::text() const
{
    std::string text;
    for (const std::string& message : messages())
        text += (text.empty() ? "" : "|") + message;
    return text;
}

Pin::Pin(int samples) : size_(samples), storage_(static_cast<std::size_t>(samples + 2 * kGuard + 16), kCanary)
{
    const auto address = reinterpret_cast<std::uintptr_t>(storage_.data() + kGuard);
    data_ = storage_.data() + kGuard + ((64 - address % 64) % 64) / sizeof(float);
    std::fill_n(data_, size_, 0.0F);
}

bool Pin::intact() const
{
    const float* begin = storage_.data();
    const float* end = begin + storage_.size();
    const auto is_canary = [](float v) { return v == kCanary; };
    return std::all_of<const float*>(begin, data_, is_canary) &&
           std::all_of<const float*>(data_ + size_, end, is_canary);
}

Rig::Rig(int type, int inputs, int outputs, Context context)
    : pro_{context.rate, context.bits, context.block, 0, 0}, blk_(BlockAlgo_init(&pro_, inputs, outputs, type))
{
    for (int i = 0; i < inputs; ++i)
        in_.emplace_back(context.block);
    for (int i = 0; i < outputs; ++i)
        out_.emplace_back(context.block);
    for (Pin& pin : in_)
        in_ptr_.push_back(pin.data());
    for (Pin& pin : out_)
        out_ptr_.push_back(pin.data());
}

Rig::~Rig()
{
    if (blk_)
        BlockAlgo_destroy(blk_);
}

int Rig::set(std::vector<float> vector) { return BlockAlgo_param_reset(blk_, vector.data()); }

void Rig::fill(int pin, float value) { std::ranges::fill(in(pin), value); }

void Rig::fill(int pin, std::initializer_list<float> values)
{
    fill(pin, *(values.end() - 1));
    std::copy_n(values.begin(), std::min(values.size(), in(pin).size()), in(pin).begin());
}

void Rig::fill_noise(int first_pin)
{
    for (int pin = first_pin; pin < static_cast<int>(in_.size()); ++pin)
        std::ranges::copy(noise(pro_.nBlockSize, static_cast<std::uint32_t>(pin)), in(pin).begin());
}

void Rig::alias(int out_pin, int in_pin)
{
    out_ptr_[static_cast<std::size_t>(out_pin)] = in_ptr_[static_cast<std::size_t>(in_pin)];
}

int Rig::process_one()
{
    if (!blk_) {
        ADD_FAILURE() << "no block";
        return RT_ERR_NULL_PTR;
    }
    std::vector<std::vector<std::uint32_t>> before;
    for (Pin& pin : in_)
        before.push_back(bits(pin.samples()));
    const long touched = Allocator::touched();
    const int result = BlockAlgo_process(blk_, in_ptr_.data(), out_ptr_.data());
    EXPECT_EQ(Allocator::touched(), touched) << "process of type " << blk_->method_type << " allocated or freed";
    for (std::size_t i = 0; i < in_.size(); ++i) {
        EXPECT_TRUE(in_[i].intact()) << "type " << blk_->method_type << " wrote outside input pin " << i;
        if (std::ranges::find(out_ptr_, in_ptr_[i]) == out_ptr_.end()) {
            EXPECT_EQ(bits(in_[i].samples()), before[i]) << "type " << blk_->method_type << " changed input pin " << i;
        }
    }
    for (std::size_t i = 0; i < out_.size(); ++i)
        EXPECT_TRUE(out_[i].intact()) << "type " << blk_->method_type << " wrote outside output pin " << i;
    return result;
}

int Rig::process(int blocks)
{
    int result = RT_OK;
    for (int b = 0; b < blocks; ++b)
        result = process_one();
    return result;
}

Outputs Rig::run(const std::vector<std::vector<float>>& signal)
{
    Outputs result(out_.size());
    const auto block = static_cast<std::size_t>(pro_.nBlockSize);
    const std::size_t length = signal.empty() ? 0 : signal[0].size();
    for (std::size_t start = 0; start + block <= length; start += block) {
        for (std::size_t pin = 0; pin < in_ptr_.size(); ++pin)
            std::copy_n(signal[pin].begin() + static_cast<std::ptrdiff_t>(start), block, in_ptr_[pin]);
        process();
        for (std::size_t pin = 0; pin < result.size(); ++pin)
            result[pin].insert(result[pin].end(), out_ptr_[pin], out_ptr_[pin] + block);
    }
    return result;
}

}  // namespace rig
