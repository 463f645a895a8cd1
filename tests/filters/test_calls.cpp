// SPDX-License-Identifier: Apache-2.0
// The filters' functions called past the entry points: for one channel, with another type, without a block; and what
// ends the process.
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

template <class Core>
void expect_channels(int type, void (*render)(Core*, float*, float*, int, int), const Vector& vector)
{
    rig::Rig whole(type, 2, 2), single(type, 2, 2);
    whole.set(vector);
    single.set(vector);
    const std::vector<Vector> audio = {rig::noise(64, 1), rig::noise(64, 2)};
    const auto expected = whole.run(audio);
    for (const int ch : {0, 1}) {
        Vector buffer = audio[static_cast<std::size_t>(ch)];
        render(static_cast<Core*>(single->AlgoCore), buffer.data(), buffer.data(), 64, ch);
        EXPECT_EQ(buffer, expected[static_cast<std::size_t>(ch)]) << type << " channel " << ch;
    }
}

}  // namespace

TEST(Filters, RenderOneChannelLikeTheBlock)
{
    expect_channels(EN_FILTER_1ST, FirstOrder_Render, {1, 0, 0, 0, 1000, 0});
    expect_channels(EN_FILTER_2ND_COMMON, SecondOrder_Render, {1, 0, 0, 0, 1000, 2});
    expect_channels(EN_FILTER_NONBARE, NonBare_Render, {1, 0, 1000, 1, 0, 0});
    expect_channels(EN_FILTER_GRAPHICAL_EQ, GraphicalEQ_Render, {1, 1000, 6, 2, 0, 0});
    expect_channels(EN_FILTER_TEXTEQ, TextEQ_Render, {1, 1, 0, 0, 6, 500, 2, -2});
    expect_channels(EN_FILTER_FIR, FIR_Render, {2, 0.5F, -1});
    rig::Log log;
    expect_channels(EN_FILTER_MISCE_DCBLOCKING, DCBlocking_Render, {0});
    EXPECT_EQ(log.messages(), std::vector<std::string>(2, "DCBlocking doesn't need param set\n"));
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
