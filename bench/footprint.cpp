// SPDX-License-Identifier: Apache-2.0
// The memory that each block type asks the C library for, in bytes, as a Markdown table: the records (the block's and
// the module's), everything else, and what one more channel adds, each with the parameters that the tests use; and the
// stack that a process call and a parameter set need at most.
#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <vector>

#include "catalog/catalog.h"
#include "engine/engine.h"
#include "support/every_block.h"

namespace {

// The library's allocations that live. The map's own come from the C++ library and are not counted.
std::map<const void*, std::size_t>& live()
{
    static std::map<const void*, std::size_t> sizes;
    return sizes;
}

}  // namespace

// The functions that the library allocates with.
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_reallocarray(void* old, std::size_t count, std::size_t size);
void __real_free(void* p);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_reallocarray(void* old, std::size_t count, std::size_t size);
void __wrap_free(void* p);

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    void* p = __real_calloc(count, size);
    live()[p] = count * size;
    return p;
}
void* __wrap_reallocarray(void* old, std::size_t count, std::size_t size)
{
    live().erase(old);
    void* p = __real_reallocarray(old, count, size);
    live()[p] = count * size;
    return p;
}
void __wrap_free(void* p)
{
    live().erase(p);
    __real_free(p);
}
}

namespace {

struct Bytes {
    long record = 0, rest = 0;
    long process = 0, set = 0;  // of stack
    long all() const { return record + rest; }
};

// How deep a call goes: it runs on a stack that is painted, and what it wrote over is counted.
long stack_of(const std::function<void()>& call)
{
    constexpr std::size_t kSize = std::size_t{256} << 10;
    constexpr unsigned char kPaint = 0xa5;
    alignas(64) static unsigned char stack[kSize];
    call();  // the dynamic linker finds functions when they are first called
    std::fill_n(stack, kSize, kPaint);
    pthread_attr_t where;
    pthread_attr_init(&where);
    pthread_attr_setstack(&where, stack, kSize);
    const auto run = [](void* user) -> void* {
        (*static_cast<const std::function<void()>*>(user))();
        return nullptr;
    };
    pthread_t thread{};
    if (pthread_create(&thread, &where, run, const_cast<std::function<void()>*>(&call)) == 0)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&where);
    return static_cast<long>(stack + kSize - std::find_if(stack, stack + kSize, [](int c) { return c != kPaint; }));
}

// ... beyond what a thread needs that does nothing.
long own_stack_of(const std::function<void()>& call)
{
    static const long nothing = stack_of([] {});
    return std::max(stack_of(call) - nothing, 0L);
}

// Of one block with these pins; nothing when there is no such block.
bool measure(const rig::BlockCase& row, vantoro::PinCounts pins, std::vector<float> vector, Bytes& bytes)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    live().clear();
    BlockAlgo* blk = BlockAlgo_init(&pro, pins.inputs, pins.outputs, row.type);
    if (!blk)
        return false;
    const auto set = [&] { Vantoro_param_apply(blk, vector.data(), static_cast<int>(vector.size())); };
    set();
    for (const auto& [p, size] : live())
        (p == blk || p == blk->AlgoCore ? bytes.record : bytes.rest) += static_cast<long>(size);
    std::vector<float> audio(static_cast<std::size_t>((pins.inputs + pins.outputs) * pro.nBlockSize), 0.25F);
    std::vector<float*> buffers;
    for (int pin = 0; pin < pins.inputs + pins.outputs; ++pin)
        buffers.push_back(audio.data() + pin * pro.nBlockSize);
    bytes.process = own_stack_of([&] { BlockAlgo_process(blk, buffers.data(), buffers.data() + pins.inputs); });
    bytes.set = own_stack_of(set);
    BlockAlgo_destroy(blk);
    return true;
}

// One channel more on each side, where the type has such blocks; with the catalog's parameters, which know the pins.
bool next_channel(const rig::BlockCase& row, long& bytes)
{
    const vantoro::BlockType& type = *vantoro::find_type(row.type);
    const vantoro::PinCounts pins{row.inputs, row.outputs}, more{row.inputs + 1, row.outputs + 1};
    Bytes now, then;
    if (!vantoro::pins_fit(type, pins) || !vantoro::pins_fit(type, more) ||
        !measure(row, pins, vantoro::default_vector(type, pins), now) ||
        !measure(row, more, vantoro::default_vector(type, more), then))
        return false;
    bytes = then.all() - now.all();
    return true;
}

}  // namespace

int main()
{
    const vantoro::LibraryLog log(true);
    std::puts("| type | pins | records | state and parameters | stack of process | of a set | one more channel |\n"
              "|---|---|---:|---:|---:|---:|---:|");
    for (const rig::BlockCase& row : rig::every_block()) {
        Bytes bytes;
        if (!measure(row, {row.inputs, row.outputs}, row.vector, bytes))
            continue;
        const std::string_view name = vantoro::find_type(row.type)->name;
        std::printf("| %.*s | %d -> %d | %ld | %ld | %ld | %ld | ", static_cast<int>(name.size()), name.data(),
                    row.inputs, row.outputs, bytes.record, bytes.rest, bytes.process, bytes.set);
        if (long more = 0; next_channel(row, more))
            std::printf("%ld |\n", more);
        else
            std::puts("|");
    }
}
