// SPDX-License-Identifier: Apache-2.0
// Sections and delay lines.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "support/filters.h"
#include "support/rig.h"

namespace {

// What `process` answers to an impulse.
template <class Process>
std::vector<double> answer(Process process)
{
    std::vector<double> y(4000);
    for (std::size_t n = 0; n < y.size(); ++n)
        y[n] = static_cast<double>(process(n == 0 ? 1.0F : 0.0F));
    return y;
}

using Line = std::unique_ptr<CircularBuffer, CircularBuffer* (*)(CircularBuffer*)>;

Line line_of(std::initializer_list<float> written)
{
    Line line(circularbuffer_init(), circularbuffer_destroy);
    for (const float x : written)
        circularbuffer_writebuffer(line.get(), x);
    return line;
}

}  // namespace

TEST(Sections, RealiseTheirTransferFunctions)
{
    const float c[5] = {0.3F, -0.2F, -1.2F, 0.45F, 0.6F};  // b0 b1 a1 b2 a2
    const double wide[9] = {0.3, -0.2, 0.1, 0.25, -0.35, -0.9, 0.5, -0.3, 0.1};
    Biquad* section = biquad_init();
    DoubleBiquad* fourth = doubleBiquad_init();
    EXPECT_EQ(biquad_processAudioSample(section, 1.0F), 0.0F);
    biquad_setCoefficients(section, c);
    doubleBiquad_setCoefficients(fourth, wide);
    const auto two = answer([&](float x) { return biquad_processAudioSample(section, x); });
    const auto four = answer([&](float x) { return doubleBiquad_processAudioSample(fourth, static_cast<double>(x)); });
    for (const double w : {0.1, 0.7, 2.5}) {
        const auto z1 = std::polar(1.0, -w), z2 = z1 * z1, z3 = z1 * z2, z4 = z2 * z2;
        const auto second = (0.3 - 0.2 * z1 + 0.45 * z2) / (1.0 - 1.2 * z1 + 0.6 * z2);
        EXPECT_LT(std::abs(rig::spectrum(two, w) - second), 1e-5);
        const auto exact =
            (0.3 - 0.2 * z1 + 0.1 * z2 + 0.25 * z3 - 0.35 * z4) / (1.0 - 0.9 * z1 + 0.5 * z2 - 0.3 * z3 + 0.1 * z4);
        EXPECT_LT(std::abs(rig::spectrum(four, w) - exact), 1e-12);
    }
    doubleBiquad_processAudioSample(fourth, 1.0);
    doubleBiquad_reset(fourth);
    EXPECT_EQ(doubleBiquad_processAudioSample(fourth, 0.0), 0.0);
    // First order takes b0, b1, a1 from the same places and leaves the second register alone.
    const float first[5] = {1, 0, -0.5F, 7, 7};
    biquad_processAudioSample(section, 1.0F);
    biquad_setCoefficients(section, first);
    biquad_reset(section);
    for (const float expected : {1.0F, 0.5F, 0.25F})
        EXPECT_EQ(biquad_1st_processAudioSample(section, expected == 1.0F ? 1.0F : 0.0F), expected);
    // New coefficients meet the old state: no click.
    const float pass[5] = {1, 0, 0, 0, 0};
    biquad_setCoefficients(section, pass);
    EXPECT_EQ(biquad_processAudioSample(section, 1.0F), 1.125F);
    EXPECT_EQ(biquad_destroy(section), nullptr);
    EXPECT_EQ(doubleBiquad_destroy(fourth), nullptr);
    EXPECT_EQ(biquad_destroy(nullptr), nullptr);
}

TEST(CircularBuffer, ReadsBetweenSamplesAsItsInterpolationSays)
{
    const Line fresh = line_of({});
    EXPECT_EQ(fresh->wrapMask, 7);
    for (const auto& [asked, length] : {std::pair{1000, 1024}, {1024, 1024}, {1, 1}, {3, 4}}) {
        circularbuffer_createCircularBuffer(fresh.get(), asked);
        EXPECT_EQ(fresh->bufferLength, length);
        EXPECT_EQ(fresh->wrapMask, length - 1);
    }
    // A cubic through the samples is met exactly by the cubic, a parabola by the square, a line by all but nearest.
    const Line ramp = line_of({5, 6, 7, 8, 9, 10, 11, 12, 13});  // wrapped by one
    const Line parabola = line_of({0, 1, 4, 9, 16, 25});         // the delay of t is 6 - t
    const Line step = line_of({0, 0, 1, 1});
    const Line burst = line_of({1, std::numeric_limits<float>::infinity(), 3});
    const struct {
        const Line& line;
        INTERPOLATE_TYPE type;
        float delay, expected;
    } rows[] = {
        {ramp, kNearest, 1, 13},
        {ramp, kNearest, 8, 6},
        {ramp, kNearest, 2.5F, 11},
        {ramp, kLinear, 1.25F, 12.75F},
        {ramp, kSquare, 1.25F, 12.75F},
        {ramp, kCubic, 3.25F, 10.75F},
        {parabola, kSquare, 2.5F, 12.25F},
        {parabola, kCubic, 2.5F, 12.25F},
        {parabola, kCubic, 1.5F, 20.25F},  // by the square: the sample after the newest is not written yet
        {step, kLinear, 2.75F, 0.25F},
        {step, kCubic, 2.75F, 0.203125F},  // smoothstep plus its tension, by hand
        {burst, kLinear, 1, 3},            // a whole delay hears no neighbour
    };
    for (const auto& [line, type, delay, expected] : rows) {
        circularbuffer_setInterpolate(line.get(), type);
        EXPECT_FLOAT_EQ(circularbuffer_readBuffer(line.get(), delay), expected) << type << " " << delay;
    }
}

TEST(CircularBuffer, FlushLeavesThreeQuartersInPlace)
{
    const Line line = line_of({1, 2, 3, 4, 5, 6, 7, 8});
    circularbuffer_flushBuffer(line.get());
    EXPECT_EQ(line->writeIndex, 0);
    EXPECT_EQ(std::vector(line->buffer, line->buffer + 8), (std::vector<float>{0, 0, 3, 4, 5, 6, 7, 8}));
}

TEST(CircularBufferDeathTest, MisuseEndsTheProcess)
{
    const Line line = line_of({1, 2, 3});
    const auto ends = testing::ExitedWithCode(255);
    EXPECT_EXIT(circularbuffer_readBuffer(line.get(), 0.5F), ends,
                "readBuffer.*: delayinSamples is at least greater than 1!\n\n");
    EXPECT_EXIT(circularbuffer_readBuffer(line.get(), 8.5F), ends, "ErrorXXX: delayinSamples shouldn't exceed buffer");
    EXPECT_EXIT(circularbuffer_setInterpolate(line.get(), 4), ends, "ErrorXXX: Unknown Interpolate type!\n\n");
    EXPECT_EXIT(circularbuffer_createCircularBuffer(line.get(), 0), ends,
                "ErrorXXX: bufferLength is at least greater than 0!\n\n");
    EXPECT_EXIT(circularbuffer_LinearInterpolation(0, 1, std::nanf("")), ends,
                "LOG .circularbuffer_LinearInterpolation.*,[0-9]+., ErrorXXX: fraction should in range.0 1.!\n\n");
    EXPECT_EXIT(circularbuffer_CubicInterpolation(0, 1, 2, 3, 1.5F), ends, "fraction should in range");
}

TEST(RingBuffer, DelaysByItsLengthAndKeepsTheNewestWhenResized)
{
    RingBufSt* ring = RingBufferInit(4);
    for (int n = 1; n <= 6; ++n)
        EXPECT_EQ(RingBufferUpdate(ring, static_cast<float>(n)), n > 4 ? static_cast<float>(n - 4) : 0.0F);
    EXPECT_EQ(RingBufferGetIdx(ring, 0), 5.0F);
    const float ago[] = {3, 6, 5, 4, 3};  // 0: the whole line
    for (unsigned off = 0; off <= 4; ++off)
        EXPECT_EQ(RingBufferGetOff(ring, off), ago[off]);
    EXPECT_EQ(RingBufferReset(ring, 2), RT_OK);
    EXPECT_EQ(RingBufferUpdate(ring, 7), 5.0F);
    EXPECT_EQ(RingBufferReset(ring, 3), RT_OK);
    rig::Log log;
    rig::Allocator::fail_at(0);
    EXPECT_EQ(RingBufferReset(ring, 5), RT_ERR_MALLOC);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"Out of memory, number = 5\n\n"});
    for (const float expected : {0.0F, 6.0F, 7.0F, 9.0F})
        EXPECT_EQ(RingBufferUpdate(ring, 9), expected);
    RingBufferDestroy(ring);
    RingBufferDestroy(nullptr);
}
