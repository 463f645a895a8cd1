// SPDX-License-Identifier: Apache-2.0
// What the graph runtime does by traits while it runs (graph/program.h) is written out here.
#include "export/direct.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "cache_lines.h"
#include "framework/module_names.h"
#include "support/decimal.h"

namespace vantoro {

namespace {

const char kFlushToZero[] = R"(
// Numbers too small to be normal are 0 while a block decays through them, and the thread gets its own mode back.
#if defined(__x86_64__)
#include <xmmintrin.h>
typedef unsigned Mode;
static Mode flush_to_zero(void)
{
    const Mode old = _mm_getcsr();
    _mm_setcsr(old | 0x8040U);
    return old;
}
static void restore(Mode old) { _mm_setcsr(old); }
#elif defined(__aarch64__)
typedef unsigned long Mode;
static Mode flush_to_zero(void)
{
    Mode old;
    __asm__ volatile("mrs %0, fpcr" : "=r"(old));
    __asm__ volatile("msr fpcr, %0" : : "r"(old | 1UL << 24));
    return old;
}
static void restore(Mode old) { __asm__ volatile("msr fpcr, %0" : : "r"(old)); }
#else
typedef int Mode;
static Mode flush_to_zero(void) { return 0; }
static void restore(Mode old) { (void)old; }
#endif
)";

using vgraph::odd_lines;

std::string number(std::size_t n) { return std::to_string(n); }

// "out_eq + 160"
std::string shifted(const std::string& array, std::size_t samples)
{
    return array + (samples > 0 ? " + " + number(samples) : "");
}

class Direct {
public:
    explicit Direct(const Product& product)
        : product_(product), block_(static_cast<std::size_t>(product.schematic.block_size)), stride_(odd_lines(block_)),
          node_of_(product.schematic.blocks.size())
    {
        for (std::size_t n = 0; n < product.nodes.size(); ++n)
            node_of_[static_cast<std::size_t>(product.schematic.order[n])] = n;
        flushes_ = std::ranges::any_of(
            product.nodes, [](const ProductNode& node) { return has_trait(*node.block->type, VANTORO_DENORMALS); });
    }

    std::string source()
    {
        std::string nodes;
        for (const ProductNode& node : product_.nodes)
            nodes += '\n' + comment(node.block->id + ": " + node.block->type->name) + state_of(node) + set_of(node);
        const std::string run = run_text();
        const std::string output = output_text();
        return banner(product_) + "#include \"" + product_.name + ".h\"\n\n#include <math.h>\n#include <string.h>\n" +
               includes() + (flushes_ ? kFlushToZero : "") + buffers() + nodes + init_text() + input_text() + output +
               run + process_text() + setters() + levels() + free_text();
    }

    std::string header() const
    {
        const std::string& name = product_.name;
        std::string out = header_begin(product_, "");
        out +=
            "\n// Codes are those of <vantoro/common/block_types.h>. RT_OK, RT_ERR_MALLOC, or RT_ERR_VALUE for a "
            "rate that "
            "does not fit (" +
            rate_text(product_.rate) + ").\nint " + name + "_init(int rate);\nvoid " + name +
            "_free(void);\n\n// Buffers of " + product_.constant +
            "_BLOCK_SIZE samples; null: no such channel.\nfloat* " + name + "_input(int channel);\nconst float* " +
            name +
            "_output(int channel);\n\n// One block of audio. RT_OK, or the negative code of the block that failed; "
            "the outputs "
            "are then of no use.\n// Input that is not finite is not mended, as the graph runtime would: a block that "
            "heard it is cleared with\n// BlockAlgo_clear or begins anew with " +
            name + "_init.\nint " + name + "_process(void);\n";
        std::string setters;
        for_each_settable([&](const ProductNode&, const Parameter& parameter) {
            setters += comment(parameter.help) + prototype(parameter) + ";\n";
        });
        if (!setters.empty())
            out += "\n// Parameters, between two process calls. RT_OK, RT_ERR_VALUE for a value that has no meaning, "
                   "or the "
                   "block's negative answer.\n" +
                   setters;
        for (const ProductNode& node : product_.nodes)
            if (has_trait(*node.block->type, VANTORO_METER))
                out += "\n" +
                       comment("The levels of " + node.block->id + " after the last process call, and their number.") +
                       levels_prototype(node) + ";\n";
        return out + header_end(product_);
    }

private:
    // ---- buffers ----

    static bool is_quiet(const ProductNode& node) { return node.block->quiet; }
    static bool contiguous(const ProductNode& node) { return has_trait(*node.block->type, VANTORO_CONTIGUOUS_PINS); }
    std::size_t distance(const ProductNode& node) const { return contiguous(node) ? block_ : stride_; }
    std::size_t outputs_size(const ProductNode& node) const
    {
        const auto outputs = static_cast<std::size_t>(node.block->pins.outputs);
        return contiguous(node) ? odd_lines(outputs * block_) : outputs * stride_;
    }

    // Where a pin listens.
    std::string buffer_of(const Feed& feed)
    {
        if (feed.block == Feed::kSilence) {
            hears_silence_ = true;
            return "silence";
        }
        const auto pin = static_cast<std::size_t>(feed.pin);
        if (feed.block == Feed::kTerminal)
            return shifted("input", pin * stride_);
        const ProductNode& node = product_.nodes[node_of_[static_cast<std::size_t>(feed.block)]];
        return shifted("out_" + node.name, pin * distance(node));
    }

    // Read after everything that may ask for silence.
    std::string buffers() const
    {
        std::string out;
        if (hears_silence_)
            out += array("silence", stride_);
        if (product_.schematic.inputs > 0)
            out += array("input", static_cast<std::size_t>(product_.schematic.inputs) * stride_);
        return "\n#define ALIGNED __attribute__((aligned(64)))\n" + out + "static BlockPro pro;\n";
    }

    static std::string array(const std::string& name, std::size_t samples)
    {
        return "static float " + name + '[' + number(samples) + "] ALIGNED;\n";
    }

    std::string includes() const
    {
        std::set<std::string> headers;
        for (const ProductNode& node : product_.nodes)
            headers.insert(lbx::module_names(node.block->type->type)->header);
        if (std::ranges::any_of(product_.nodes, is_quiet))
            headers.insert("quiet/vantoro_quiet.h");
        std::string out = headers.empty() ? "#include <vantoro/common/block_types.h>\n" : "";
        for (const std::string& header : headers)
            out += "#include <vantoro/" + header + ">\n";
        return out;
    }

    // ---- a node ----

    std::string state_of(const ProductNode& node)
    {
        std::string out = "static BlockAlgo* block_" + node.name + ";\n";
        if (is_quiet(node))
            out += "static VantoroQuiet* quiet_" + node.name + ";\n";
        out += array("out_" + node.name, outputs_size(node));
        std::string in, outputs;
        for (std::size_t pin = 0; pin < node.block->sources.size(); ++pin)
            in += (pin > 0 ? ", " : "") + (contiguous(node) && pin > 0
                                               ? shifted("gathered_" + node.name, (pin - 1) * block_)
                                               : buffer_of(node.block->sources[pin]));
        for (int pin = 0; pin < node.block->pins.outputs; ++pin)
            outputs +=
                (pin > 0 ? ", " : "") + shifted("out_" + node.name, static_cast<std::size_t>(pin) * distance(node));
        if (contiguous(node))
            out += array("gathered_" + node.name,
                         static_cast<std::size_t>(std::max(node.block->pins.inputs - 1, node.block->pins.outputs)) *
                             block_);
        const auto pins = [&](const char* side, const std::string& list) {
            return std::string("static float* ") + side + node.name + "[] = {" + (list.empty() ? "0" : list) + "};\n";
        };
        return out + pins("in_", in) + pins("pins_", outputs) + vector_of(node);
    }

    static std::string vector_of(const ProductNode& node)
    {
        if (node.entries.empty())
            return "";
        std::string out = "static const float initial_" + node.name + "[] = {\n";
        for (const VectorEntry& entry : node.entries)
            out += "    " + float_constant(entry.value) + ",  " + comment(entry_text(entry));
        return out + "};\nstatic float vector_" + node.name + '[' + number(node.entries.size()) + "];\n";
    }

    // Hands over the vector.
    static std::string set_of(const ProductNode& node)
    {
        if (node.entries.empty())
            return "";
        const lbx::ModuleNames& module = *lbx::module_names(node.block->type->type);
        const std::string begin = "static int set_" + node.name + "(void)\n{\n";
        const std::string vector = "vector_" + node.name, block = "block_" + node.name;
        if (has_trait(*node.block->type, VANTORO_PARAMS_IN_PLACE))
            return begin + "    memcpy(" + block + "->pParam, " + vector + ", sizeof " + vector +
                   ");\n    return RT_OK;\n}\n";
        return begin + "    int result = " + module.param_set + '(' + block + ", " + vector +
               ");\n    if (result >= 0)\n        result = " + module.param_update + '(' + block +
               ");\n    return result < 0 ? result : RT_OK;\n}\n";
    }

    // ---- life ----

    std::string init_text() const
    {
        const std::string refused =
            product_.rate > 0 ? "rate != " + number(static_cast<std::size_t>(product_.rate))
                              : "rate < " + std::to_string(kMinRate) + " || rate > " + std::to_string(kMaxRate);
        std::string out = "\nint " + product_.name + "_init(int rate)\n{\n    if (" + refused +
                          ")\n        return RT_ERR_VALUE;\n    " + product_.name +
                          "_free();\n    pro.nSamplingRate = rate;\n    pro.bitRate = 24;\n    pro.nBlockSize = " +
                          product_.constant + "_BLOCK_SIZE;\n";
        if (product_.nodes.empty())
            return out + "    return RT_OK;\n}\n";
        for (const ProductNode& node : product_.nodes)
            out += init_of(node);
        return "\nstatic int failed(int result)\n{\n    " + product_.name + "_free();\n    return result;\n}\n" + out +
               "    return RT_OK;\n}\n";
    }

    std::string init_of(const ProductNode& node) const
    {
        const std::string block = "block_" + node.name, vector = "vector_" + node.name;
        std::string out;
        out += "    memset(out_" + node.name + ", 0, sizeof out_" + node.name + ");\n    " + block + " = " +
               lbx::module_names(node.block->type->type)->init + '(' + std::to_string(node.block->pins.inputs) + ", " +
               std::to_string(node.block->pins.outputs) + ", &pro, EN_" + node.block->type->name + ");\n    if (!" +
               block + ")\n        return failed(RT_ERR_MALLOC);\n";
        if (!node.entries.empty())
            out += "    memcpy(" + vector + ", initial_" + node.name + ", sizeof " + vector + ");\n    if (set_" +
                   node.name + "() < 0)\n        return failed(RT_ERR_VALUE);\n";
        if (is_quiet(node))
            out += "    quiet_" + node.name + " = Vantoro_quiet_create(" + block + ");\n    if (!quiet_" + node.name +
                   ")\n        return failed(RT_ERR_MALLOC);\n";
        return out;
    }

    std::string free_text() const
    {
        std::string out = "\nvoid " + product_.name + "_free(void)\n{\n";
        for (const ProductNode& node : product_.nodes)
            out += (is_quiet(node)
                        ? "    Vantoro_quiet_destroy(quiet_" + node.name + ");\n    quiet_" + node.name + " = NULL;\n"
                        : "") +
                   "    if (block_" + node.name + ")\n        " + lbx::module_names(node.block->type->type)->destroy +
                   "(block_" + node.name + ");\n    block_" + node.name + " = NULL;\n";
        return out + "}\n";
    }

    // ---- audio ----

    std::string input_text() const
    {
        const bool any = product_.schematic.inputs > 0;
        return "\nfloat* " + product_.name + "_input(int channel)\n{\n" +
               (any ? "    return channel >= 0 && channel < " + product_.constant + "_INPUTS ? input + channel * " +
                          number(stride_) + " : NULL;\n"
                    : "    (void)channel;\n    return NULL;\n") +
               "}\n";
    }

    std::string output_text()
    {
        std::string list;
        for (const Feed& feed : product_.schematic.outputs)
            list += (list.empty() ? "" : ", ") + buffer_of(feed);
        return "\nconst float* " + product_.name + "_output(int channel)\n{\n" +
               (list.empty() ? "    (void)channel;\n    return NULL;\n"
                             : "    static const float* const outputs[] = {" + list +
                                   "};\n    return channel >= 0 && channel < " + product_.constant +
                                   "_OUTPUTS ? outputs[channel] : NULL;\n") +
               "}\n";
    }

    // Before its process call.
    std::string prepare_text(const ProductNode& node)
    {
        std::string out;
        if (contiguous(node)) {
            for (std::size_t pin = 1; pin < node.block->sources.size(); ++pin)
                out += "    memcpy(" + shifted("gathered_" + node.name, (pin - 1) * block_) + ", " +
                       buffer_of(node.block->sources[pin]) + ", " + number(block_) + " * sizeof(float));\n";
        } else if (has_trait(*node.block->type, VANTORO_CLEAR_OUTPUTS)) {
            out += "    memset(out_" + node.name + ", 0, sizeof out_" + node.name + ");\n";
        }
        return out;
    }

    std::string run_text()
    {
        std::string out = "\nstatic int run(void)\n{\n";
        if (!product_.nodes.empty())
            out += "    int result;\n";
        for (const ProductNode& node : product_.nodes)
            out += prepare_text(node) + "    if ((result = " +
                   (is_quiet(node) ? "Vantoro_quiet_process(quiet_"
                                   : std::string(lbx::module_names(node.block->type->type)->process) + "(block_") +
                   node.name + ", in_" + node.name + ", pins_" + node.name + ")) < 0)\n        return result;\n";
        return out + "    return RT_OK;\n}\n";
    }

    std::string process_text() const
    {
        return "\nint " + product_.name + "_process(void)\n{\n" +
               (flushes_ ? "    const Mode old = flush_to_zero();\n    const int result = run();\n    restore(old);\n"
                           "    return result;\n"
                         : "    return run();\n") +
               "}\n";
    }

    // ---- parameters ----

    template <class Take>
    void for_each_settable(Take&& take) const
    {
        for (const ProductNode& node : product_.nodes)
            for (const Parameter& parameter : node.parameters)
                if (parameter.settable)
                    take(node, parameter);
    }

    std::string prototype(const Parameter& parameter) const
    {
        return "int " + product_.name + "_set_" + parameter.name + '(' + (parameter.rows > 1 ? "int row, " : "") +
               "float " + parameter.argument + ')';
    }

    // What Vantoro_param_check refuses.
    static std::string refusal(const ProductNode& node, const VantoroParam& param, const std::string& v)
    {
        std::string out = "!isfinite(" + v + ')';
        for (const VantoroChoice& choice : choices_of(param))
            out += (&choice == param.choices ? " || (" : " && ") + v +
                   " != " + float_constant(static_cast<float>(choice.value)) +
                   (&choice == &choices_of(param).back() ? ")" : "");
        const auto limit = [&](const char* relation, float bound) {
            if (std::isfinite(bound))
                out += " || " + v + relation + float_constant(bound);
        };
        if (param.kind == VANTORO_INTEGER) {
            limit(" < ", param.valid.min);
            limit(" > ", param.valid.max);
        }
        if (param.below != VANTORO_PER_NOTHING) {
            limit(" < ", 0);
            limit(" >= ", static_cast<float>(
                              Vantoro_count_per(param.below, node.block->pins.inputs, node.block->pins.outputs)));
        }
        return out;
    }

    std::string setters() const
    {
        std::string out;
        for_each_settable([&](const ProductNode& node, const Parameter& parameter) {
            const bool by_row = parameter.rows > 1;
            const std::string at = number(parameter.entry) + (by_row ? " + row" : "") +
                                   (parameter.stride > 1 ? " * " + number(parameter.stride) : "");
            const VantoroParam& param = *node.entries[parameter.entry].param;  // as the library checks it
            out += '\n' + prototype(parameter) + "\n{\n    if (" +
                   (by_row ? "row < 0 || row >= " + number(parameter.rows) + " || " : "") +
                   refusal(node, param, parameter.argument) + ")\n        return RT_ERR_VALUE;\n    vector_" +
                   node.name + '[' + at + "] = " + parameter.argument + ";\n    return set_" + node.name + "();\n}\n";
        });
        return out;
    }

    // ---- levels ----

    std::string levels_prototype(const ProductNode& node) const
    {
        return "const float* " + product_.name + "_levels_" + node.name + "(int* count)";
    }

    std::string levels() const
    {
        std::string out;
        for (const ProductNode& node : product_.nodes)
            if (has_trait(*node.block->type, VANTORO_METER))
                out += '\n' + levels_prototype(node) + "\n{\n    return LevelDetector_levels(block_" + node.name +
                       ", count);\n}\n";
        return out;
    }

    const Product& product_;
    std::size_t block_, stride_;
    std::vector<std::size_t> node_of_;  // of each block of the schematic
    bool flushes_ = false;
    bool hears_silence_ = false;
};

}  // namespace

CFiles c_direct(const Product& product)
{
    Direct direct(product);
    return {direct.source(), direct.header()};
}

}  // namespace vantoro
