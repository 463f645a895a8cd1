// SPDX-License-Identifier: Apache-2.0
// The filters' functions called past the entry points: for one channel, with another type, without a block; and what
// ends the process.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

// The block's record, and a copy of its documented fields as a host would fill it, run like the block.
template <class Core>
void expect_channels(int type, void (*render)(Core*, float*, float*, int, int), const Vector& vector)
{
    rig::Rig whole(type, 2, 2), single(type, 2, 2);
    whole.set(vector);
    single.set(vector);
    auto own = std::make_unique<Core>(single.core<Core>());  // of its own size, for the sanitizers
    const std::vector<Vector> audio = {rig::noise(192, 1), rig::noise(192, 2)};
    const auto expected = whole.run(audio);
    Core* records[] = {own.get(), &single.core<Core>()};
    for (const std::size_t ch : {0U, 1U}) {
        Vector buffer = audio[ch];
        for (int at = 0; at < 192; at += 64)
            render(records[at / 64 % 2], buffer.data() + at, buffer.data() + at, 64, static_cast<int>(ch));
        EXPECT_EQ(buffer, expected[ch]) << type << " channel " << ch;
    }
}

// Bands of an equaliser, every third with the other flag.
Vector many(Vector band, int bands, int flag)
{
    Vector vector = {static_cast<float>(bands)};
    for (int k = 0; k < bands; ++k) {
        vector.insert(vector.end(), band.begin(), band.end());
        if (k % 3 == 2)
            vector[vector.size() - band.size() + static_cast<std::size_t>(flag)] =
                band[static_cast<std::size_t>(flag)] != 0 ? 0 : 1;
    }
    return vector;
}

}  // namespace

TEST(Filters, RenderOneChannelLikeTheBlock)
{
    expect_channels(EN_FILTER_1ST, FirstOrder_Render, {1, 0, 0, 0, 1000, 0});
    expect_channels(EN_FILTER_2ND_COMMON, SecondOrder_Render, {1, 0, 0, 0, 1000, 2});
    expect_channels(EN_FILTER_NONBARE, NonBare_Render, {1, 0, 1000, 1, 0, 0});
    for (const int bands : {0, 1, 30}) {
        expect_channels(EN_FILTER_GRAPHICAL_EQ, GraphicalEQ_Render, many({1000, 6, 2, 0, 0}, bands, kFilterBypass));
        expect_channels(EN_FILTER_TEXTEQ, TextEQ_Render, many({1, 0, 0, 6, 500, 2, -2}, bands, kTextFilterEnable));
    }
    for (const int taps : {2, 400}) {
        Vector vector = rig::noise(taps + 1, 9);
        vector[0] = static_cast<float>(taps);
        expect_channels(EN_FILTER_FIR, FIR_Render, vector);
    }
    rig::Log log;
    expect_channels(EN_FILTER_MISCE_DCBLOCKING, DCBlocking_Render, {0});
    EXPECT_EQ(log.messages(), std::vector<std::string>(2, "DCBlocking doesn't need param set\n"));
}

TEST(Filters, RunTheStateVariableFilterOfAnyRecord)
{
    rig::Rig whole(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    float coeff[11], state[6] = {};
    StateVariable_Core own = {whole.core<StateVariable_Core>().w0, 1, coeff, state};
    Vector q(64, 3), audio = rig::noise(64), out[3] = {audio, audio, audio};
    const auto expected = whole.run({q, audio});
    float* in[] = {q.data(), audio.data()};
    float* pins[] = {out[0].data(), out[1].data(), out[2].data()};
    StateVariableQ_Render(&own, in, pins, 64);
    for (const std::size_t k : {0U, 1U, 2U})
        EXPECT_EQ(out[k], expected[k]) << k;
}

// What a host writes into the record of a block is heard from the next block on, as if it had been set.
TEST(Filters, TakeWhatChangesInTheirRecord)
{
    const auto expect_heard = [](int type, int inputs, int outputs, const Vector& from, const Vector& to, auto change) {
        rig::Rig live(type, inputs, outputs), set(type, inputs, outputs);
        live.set(from);
        set.set(to);
        live.process();  // of silence: the state of both is alike
        change(live, set);
        std::vector<Vector> audio;
        for (int pin = 0; pin < inputs; ++pin)
            audio.push_back(rig::noise(64, static_cast<std::uint32_t>(pin)));
        EXPECT_EQ(live.run(audio), set.run(audio)) << type;
    };
    const auto coefficients = [](int floats) {
        return [floats](rig::Rig& live, rig::Rig& set) {
            float* array = live->pState ? live->pState : live->pStateB;
            std::copy_n(set->pState ? set->pState : set->pStateB, floats, array);
        };
    };
    const Vector bands = many({1000, 6, 2, 0, 0}, 4, kFilterBypass), others = many({500, 6, 2, 0, 0}, 4, kFilterBypass);
    expect_heard(EN_FILTER_GRAPHICAL_EQ, 2, 2, bands, others, coefficients(20));
    const Vector text = many({1, 0, 0, 6, 500, 2, -2}, 1, 0), silent = many({0, 0, 0, 6, 500, 2, -2}, 1, 0);
    expect_heard(EN_FILTER_TEXTEQ, 1, 1, text, silent,
                 [](rig::Rig& live, rig::Rig&) { live.core<TextEQ_Core>().enableFlags[0] = 0; });
    expect_heard(EN_FILTER_MISCE_STATEVARIABLE, 1, 3, {500, 2}, {700, 3}, coefficients(11));
    const Vector low = {LR24, 500, 0, LR24, 500, 0, 0}, lower = {LR24, 300, 2, LR24, 400, 1, 1};
    expect_heard(EN_FILTER_CROSSOVER_2WAY, 2, 4, low, lower, [&](rig::Rig& live, rig::Rig& set) {
        coefficients(20)(live, set);
        live.core<Crossover2Way_Core>().invert1 = 1;
    });
    const Vector three = {LR24, 500, 0, LR24, 900, 0, LR24, 900, LR24, 500, 0, 0, 0};
    Vector turned = three;
    turned.back() = 1;
    expect_heard(EN_FILTER_CROSSOVER_3WAY, 1, 3, three, turned,
                 [](rig::Rig& live, rig::Rig&) { live.core<Crossover3Way_Core>().invert2 = 1; });
}

TEST(Filters, RefuseOtherTypesAndSurviveNoBlock)
{
    rig::Log log;
    rig::Rig blk(EN_FILTER_2ND_GENERAL, 1, 1);
    EXPECT_EQ(SecondOrder_init(1, 1, nullptr, EN_FILTER_NONBARE), nullptr);
    EXPECT_EQ(LookUp_init(2, 1, nullptr, EN_FILTER_2ND_IIR), nullptr);
    blk->method_type = EN_FILTER_NONBARE;
    EXPECT_EQ(SecondOrder_param_set(blk.block(), nullptr), RT_OK);
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"wrong input type in SecondOrder\n", "wrong input type in LookUp\n",
                                        "wrong input type in SecondOrder\n"}));
    log.clear();
    for (auto* invoke : {FirstOrder_param_invoke, SecondOrder_param_invoke, NonBare_param_invoke, LookUp_param_invoke,
                         Crossover2Way_param_invoke, Crossover3Way_param_invoke})
        EXPECT_EQ(invoke(nullptr), RT_OK);
    EXPECT_TRUE(log.lines().empty());
    for (const int type : {EN_FILTER_1ST, EN_FILTER_NONBARE, EN_FILTER_TEXTEQ})  // no channels are channels, too
        EXPECT_EQ(rig::Rig(type, 0, 0).process(), RT_OK) << type;
}

// Where a band or a section of first order has no such type, and where a line would have no length.
TEST(FiltersDeathTest, UnusableVectorsEndTheProcess)
{
    const struct {
        int type;
        Vector vector;
        const char* report;
    } rows[] = {
        {EN_FILTER_1ST,
         {1, 0, 5, 0, 900, 0},
         "calculateFilter1stCoeffs.*,[0-9]*., .*: You should choose a filter type!"},
        {EN_FILTER_1ST, {1, 0, -1, 0, 900, 0}, "ErrorXXX: You should choose a filter type!"},
        {EN_FILTER_2ND_FIRSTORDERS,
         {1, 0, 4, 9, 0, 0, 9, 0},
         "Filter2ndCoeffs.*,735., .*: Wrong first order filter type!"},
        {EN_FILTER_GRAPHICAL_EQ, {1, 900, 0, 1, 9, 0}, "calculateEQCoeffs.*ErrorXXX: You should choose a filter type!"},
        {EN_FILTER_TEXTEQ, {1, 1, 0, 12, 0, 900, 1, 0}, "calculateTextEQCoeffs.*: You should choose a filter type!"},
        {EN_FILTER_TEXTEQ, {1, 0, 0, -1, 0, 900, 1, 0}, "ErrorXXX"},  // also when switched off
        {EN_FILTER_FIR, {0}, "ErrorXXX: bufferLength is at least greater than 0!"},
        {EN_FILTER_FIR, {-4}, "ErrorXXX: bufferLength is at least greater than 0!"},
        {EN_FILTER_FIR, {NAN}, "ErrorXXX: bufferLength is at least greater than 0!"},
    };
    for (const auto& row : rows)
        EXPECT_EXIT(rig::Rig(row.type, 1, 1).set(row.vector), testing::ExitedWithCode(255), row.report);
}
