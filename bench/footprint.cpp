// SPDX-License-Identifier: Apache-2.0
// The memory that each block type asks the C library for, in bytes, as a Markdown table: the records (the block's and
// the module's), everything else, and what one more channel adds, each with the parameters that the tests use.
#include <cstdio>
#include <cstdlib>
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
    long all() const { return record + rest; }
};

// Of one block with these pins; nothing when there is no such block.
bool measure(const rig::BlockCase& row, vantoro::PinCounts pins, std::vector<float> vector, Bytes& bytes)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    live().clear();
    BlockAlgo* blk = BlockAlgo_init(&pro, pins.inputs, pins.outputs, row.type);
    if (!blk)
        return false;
    Vantoro_param_apply(blk, vector.data(), static_cast<int>(vector.size()));
    for (const auto& [p, size] : live())
        (p == blk || p == blk->AlgoCore ? bytes.record : bytes.rest) += static_cast<long>(size);
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
    std::puts("| type | pins | records | state and parameters | one more channel |\n|---|---|---:|---:|---:|");
    for (const rig::BlockCase& row : rig::every_block()) {
        Bytes bytes;
        if (!measure(row, {row.inputs, row.outputs}, row.vector, bytes))
            continue;
        const std::string_view name = vantoro::find_type(row.type)->name;
        std::printf("| %.*s | %d -> %d | %ld | %ld | ", static_cast<int>(name.size()), name.data(), row.inputs,
                    row.outputs, bytes.record, bytes.rest);
        if (long more = 0; next_channel(row, more))
            std::printf("%ld |\n", more);
        else
            std::puts("|");
    }
}
