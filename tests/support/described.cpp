// SPDX-License-Identifier: Apache-2.0
#include "described.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

#include "vantoro.h"

namespace rig {

namespace {

bool is_terminal(int type) { return (type & 0xff00) == EN_IN || (type & 0xff00) == EN_OUT; }

std::span<const VantoroSlot> layout_of(const Described& type)
{
    return {type.info->layout, static_cast<std::size_t>(type.info->layout_count)};
}

// The rows that a table has in this vector. `starts` are the places of the layout's slots up to the table.
int rows_of(const Described& type, const VantoroTable& table, const Vector& vector,
            const std::vector<std::size_t>& starts)
{
    const auto entry = [&](int slot) { return static_cast<int>(vector.at(starts[static_cast<std::size_t>(slot)])); };
    if (table.rows_entry >= 0)
        return entry(table.rows_entry) * entry(table.columns_entry);
    if (table.per != VANTORO_PER_NOTHING)
        return Vantoro_count_per(table.per, type.pins->inputs, type.pins->outputs);
    for (int i = 0; i < type.info->layout_count; ++i)
        if (type.info->layout[i].kind == VANTORO_COUNT && type.info->layout[i].table == &table)
            return entry(i);
    return 0;
}

void read_choices(std::vector<Entry>& entries, const Vector& vector)
{
    for (const Entry& choice : entries)
        for (int c = 0; c < choice.param->choice_count; ++c) {
            const VantoroChoice& chosen = choice.param->choices[c];
            if (static_cast<float>(chosen.value) != vector[choice.at])
                continue;
            for (Entry& other : entries)
                for (int r = 0; r < chosen.reading_count; ++r)
                    if (other.slot->table == choice.slot->table && other.row == choice.row &&
                        other.place == chosen.readings[r].entry && other.as)
                        other.as = chosen.readings[r].as;
        }
}

float drawn_value(const Described& type, const Entry& entry, float now, double share)
{
    const VantoroParam& param = *entry.as;
    const double low = param.range.min, high = param.range.max;
    if (param.kind == VANTORO_CHOICE)
        return static_cast<float>(param.choices[static_cast<int>(share * param.choice_count)].value);
    if (param.kind != VANTORO_REAL) {
        const int count = Vantoro_count_per(param.below, type.pins->inputs, type.pins->outputs);
        const double last = param.below == VANTORO_PER_NOTHING ? high : std::min<double>(high, count - 1);
        return static_cast<float>(std::floor(low + share * (last - low + 1)));
    }
    if (entry.slot->table && entry.slot->table->initial_rows > 1)  // a curve keeps its shape
        return static_cast<float>(now + 0.01 * share * (high - low));
    return static_cast<float>(param.scale == VANTORO_LOGARITHMIC ? low * std::pow(high / low, share)
                                                                 : low + share * (high - low));
}

// Choices first: they say what the others are.
void draw(const Described& type, Vector& vector, std::mt19937& engine)
{
    for (const bool choices : {true, false})
        for (const Entry& entry : entries_of(type, vector)) {
            const double share = static_cast<double>(engine()) / 0x1p32;
            if ((entry.param->kind == VANTORO_CHOICE) == choices && entry.as && !is_size(type, entry))
                vector[entry.at] = drawn_value(type, entry, vector[entry.at], share);
        }
}

}  // namespace

std::span<const Described> every_described()
{
    static const std::vector<Described> types = [] {
        std::vector<Described> list;
        for (const BlockCase& row : every_block())
            if (const VantoroBlockInfo* info = Vantoro_block_info(row.type); info && !is_terminal(row.type))
                list.push_back({info, &row});
        return list;
    }();
    return types;
}

bool has(const Described& type, VantoroTrait trait) { return (type.info->traits & trait) != 0; }

bool is_control(const Described& type, int input)
{
    const auto from_end = [&](int pin) { return pin < 0 ? type.pins->inputs + pin : pin; };
    for (int i = 0; i < type.info->pin_count; ++i) {
        const VantoroPin& pin = type.info->pin_list[i];
        const int first = from_end(pin.first);
        if (!pin.output && pin.control && input >= first && input <= from_end(pin.last) &&
            (input - first) % pin.every == 0)
            return true;
    }
    return false;
}

Vector initial_vector(const Described& type)
{
    const int inputs = type.pins->inputs, outputs = type.pins->outputs;
    Vector vector(static_cast<std::size_t>(Vantoro_initial_vector(type.info, inputs, outputs, nullptr, 0)));
    Vantoro_initial_vector(type.info, inputs, outputs, vector.data(), static_cast<int>(vector.size()));
    return vector;
}

std::size_t kept_entries(const Described& type, const Vector& vector)
{
    const int code = type.info->type;
    if (code >= EN_BASIC_LOGIC_ONESHOT_FALL && code <= EN_BASIC_LOGIC_ONESHOT_RISERST)
        return 0;  // a power of two in its place
    if (code == EN_SOURCE_CLIME)
        return kClimeModuleSize;  // no table
    return code == EN_BASIC_POLY ? 1 : vector.size();
}

std::vector<Entry> entries_of(const Described& type, const Vector& vector)
{
    std::vector<Entry> entries;
    std::vector<std::size_t> starts;
    std::size_t at = 0;
    for (const VantoroSlot& slot : layout_of(type)) {
        starts.push_back(at);
        if (slot.kind == VANTORO_VALUE)
            entries.push_back({at, slot.param, &slot, static_cast<int>(starts.size()) - 1, 0, slot.param});
        if (slot.kind != VANTORO_ROWS) {
            ++at;
            continue;
        }
        const int rows = rows_of(type, *slot.table, vector, starts), columns = slot.table->column_count;
        for (int i = 0; i < rows * columns; ++i) {
            const int column = slot.table->by_columns ? i / rows : i % columns;
            const int row = slot.table->by_columns ? i % rows : i / columns;
            entries.push_back({at++, slot.table->columns + column, &slot, column, row, slot.table->columns + column});
        }
    }
    read_choices(entries, vector);
    return entries;
}

bool is_size(const Described& type, const Entry& entry)
{
    return !entry.slot->table && std::ranges::any_of(layout_of(type), [&](const VantoroSlot& slot) {
        return slot.kind == VANTORO_ROWS &&
               (slot.table->rows_entry == entry.place || slot.table->columns_entry == entry.place);
    });
}

std::vector<Vector> good_vectors(const Described& type, int count, const Entry* fixed, float value)
{
    std::vector<Vector> vectors = {initial_vector(type)};
    if (!type.pins->vector.empty())
        vectors.push_back(type.pins->vector);
    std::mt19937 engine(static_cast<unsigned>(type.info->type));
    const std::size_t given = vectors.size();
    while (vectors.size() < static_cast<std::size_t>(count) && !vectors[0].empty()) {
        vectors.push_back(vectors[vectors.size() % given]);
        draw(type, vectors.back(), engine);
    }
    for (Vector& vector : vectors)
        for (const Entry& entry : entries_of(type, vector))
            if (fixed && entry.slot == fixed->slot && entry.place == fixed->place)
                vector[entry.at] = value;
    return vectors;
}

std::vector<Scene> scenes_of(const Described& type, int count)
{
    std::vector<Scene> scenes;
    for (const Entry& entry : entries_of(type, initial_vector(type)))
        for (int c = 0; c < entry.param->choice_count && entry.row == 0; ++c) {
            const VantoroChoice& choice = entry.param->choices[c];
            scenes.push_back({std::string(type.info->name) + " " + entry.param->name + " " + choice.name,
                              good_vectors(type, count, &entry, static_cast<float>(choice.value))});
        }
    if (scenes.empty())
        scenes.push_back({type.info->name, good_vectors(type, count)});
    return scenes;
}

Bench::Bench(const Described& type, const Conditions& conditions)
    : type_(type), conditions_(conditions), pro_{conditions.rate, 24, conditions.block, 0, 0},
      blk_(BlockAlgo_init(&pro_, type.pins->inputs, type.pins->outputs, type.info->type))
{
    const int pins = type.pins->inputs + type.pins->outputs;
    const int stride = conditions.apart ? 2 * conditions.block : conditions.block;
    arena_.resize(static_cast<std::size_t>((pins + 1) * stride));
    for (int pin = 0; pin < type.pins->inputs; ++pin)
        in_.push_back(arena_.data() + std::ptrdiff_t{pin} * stride);
    for (int pin = type.pins->inputs; pin < pins; ++pin)
        out_.push_back(arena_.data() + std::ptrdiff_t{pin} * stride);
}

Bench::~Bench() { BlockAlgo_destroy(blk_); }

int Bench::set(Vector vector) { return Vantoro_param_apply(blk_, vector.data(), static_cast<int>(vector.size())); }

Outputs Bench::run(const Outputs& signal)
{
    Outputs result(out_.size());
    const auto block = static_cast<std::size_t>(conditions_.block);
    for (std::size_t start = 0; start + block <= signal[0].size(); start += block) {
        for (std::size_t pin = 0; pin < in_.size(); ++pin)
            std::copy_n(signal[pin].data() + start, block, in_[pin]);
        for (float* out : out_)
            std::fill_n(out, block, conditions_.before);
        BlockAlgo_process(blk_, in_.data(), out_.data());
        for (std::size_t pin = 0; pin < out_.size(); ++pin)
            result[pin].insert(result[pin].end(), out_[pin], out_[pin] + block);
        meter(result);
    }
    return result;
}

void Bench::meter(Outputs& result) const
{
    int count = 0;
    const float* levels = LevelDetector_levels(blk_, &count);
    result.resize(out_.size() + static_cast<std::size_t>(levels ? count : 0));
    for (std::size_t k = out_.size(); k < result.size(); ++k)
        result[k].resize(result[k].size() + static_cast<std::size_t>(conditions_.block), levels[k - out_.size()]);
}

// A filter without a Q is none: its state is no number from then on.
static float control_of(const Described& type, float value)
{
    return type.info->type == EN_FILTER_MISCE_STATEVARIABLEQ ? std::max(value, 0.3F) : value;
}

Outputs scene_signal(const Described& type, int samples, int block)
{
    static constexpr float kLevels[] = {1, 1, 4, 0.05F, 0, 0.3F, 1, 1};
    static constexpr float kControls[] = {0, 1, 0.3F, 2, 0.02F, 3, 5, 0};
    Outputs signal;
    for (std::vector<float>& pin : stimulus(type.pins->inputs, samples)) {
        const bool control = is_control(type, static_cast<int>(signal.size()));
        for (int i = 0; i < samples; ++i) {
            const int part = i / block % 16;
            float& v = pin[static_cast<std::size_t>(i)];
            if (!control)
                v *= kLevels[part % 8];
            else
                v = control_of(type, part < 8 ? kControls[part] : v);
        }
        signal.push_back(std::move(pin));
    }
    return signal;
}

Outputs constant_signal(const Described& type, int samples, float audio, float control)
{
    Outputs signal;
    for (int pin = 0; pin < std::max(type.pins->inputs, 1); ++pin)
        signal.emplace_back(samples, is_control(type, pin) ? control_of(type, control) : audio);
    return signal;
}

Outputs with_controls(const Described& type, Outputs signal, const Outputs& controls)
{
    for (std::size_t pin = 0; pin < signal.size(); ++pin)
        if (is_control(type, static_cast<int>(pin)))
            signal[pin] = controls[pin];
    return signal;
}

Outputs answer(const Described& type, const Vector& vector, const Outputs& signal, const Conditions& conditions)
{
    std::srand(kSeed);
    Bench bench(type, conditions);
    bench.set(vector);
    return bench.run(signal);
}

bool same_bits(const Outputs& a, const Outputs& b)
{
    return std::ranges::equal(a, b, [](const auto& x, const auto& y) { return bits(x) == bits(y); });
}

}  // namespace rig
