// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <sstream>

#include "support/rig.h"

namespace {

using Complex = std::complex<double>;

// Every test writes into a directory of its own.
class Response : public testing::Test {
protected:
    Response()
    {
        std::string name = (std::filesystem::temp_directory_path() / "response-XXXXXX").string();
        dir_ = ::mkdtemp(name.data());
        std::filesystem::current_path(dir_);
    }
    ~Response() override
    {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(dir_);
    }

    std::filesystem::path before_ = std::filesystem::current_path(), dir_;
    rig::Log log_;
};

using Rows = std::vector<std::vector<double>>;

// The rows of a file, each with the columns and tabs of the header, which is returned through `header`.
Rows read(const char* name, std::string* header = nullptr)
{
    Rows rows;
    std::ifstream file(name);
    std::string names;
    std::getline(file, names);
    const auto tabs = std::ranges::count(names, '\t');
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        rows.emplace_back(std::istream_iterator<double>(fields), std::istream_iterator<double>());
        EXPECT_EQ(rows.back().size(), static_cast<std::size_t>(tabs) + (names.ends_with('\t') ? 0 : 1)) << line;
        EXPECT_EQ(std::ranges::count(line, '\t'), tabs) << name << ": " << line;
    }
    if (header)
        *header = names;
    return rows;
}

Rows expect_table(const char* name, const std::string& header, std::size_t size)
{
    std::string names;
    Rows rows = read(name, &names);
    EXPECT_EQ(names, header);
    EXPECT_EQ(rows.size(), size);
    return rows;
}

// The exact response of (b0, b1, a1, b2, a2) sections in series.
Complex sections(const float* c, int count, double hz, double rate)
{
    const Complex z = std::polar(1.0, -2 * std::numbers::pi * hz / rate);
    Complex h = 1;
    for (int i = 0; i < count; ++i, c += 5)
        h *= (double{c[0]} + double{c[1]} * z + double{c[3]} * z * z) / (1.0 + double{c[2]} * z + double{c[4]} * z * z);
    return h;
}

// The fast functions are within 0.0014 octave, 1.7e-4 (sine) and 1.2e-3 (cosine): 0.06 dB a broad section, unless
// numerators cancel.
constexpr double kBound = 0.06;

// Largest differences of a column, and of the next one as its phase, from exact(hz), where that is above -40 dB.
struct Apart {
    double db = 0, deg = 0;
};
template <class Exact>
Apart compare(const Rows& rows, Exact exact, std::size_t column = 1)
{
    Apart apart;
    for (const auto& row : rows) {
        const Complex h = exact(row[0]);
        if (const double db = 20 * std::log10(std::abs(h)); db >= -40) {
            apart.db = std::max(apart.db, std::abs(row[column] - db));
            const double deg = row[std::min(column + 1, row.size() - 1)] - std::arg(h) * 180 / std::numbers::pi;
            apart.deg = std::max(apart.deg, std::abs(std::remainder(deg, 360.0)));
        }
    }
    return apart;
}

void expect_levels(const Rows& rows, std::size_t column, const float* c, int count, double rate)
{
    const auto exact = [&](double hz) { return sections(c, count, hz, rate); };
    EXPECT_LT(compare(rows, exact, column).db, kBound * count) << "column " << column;
}

TEST_F(Response, SeriesOfFilters)
{
    rig::Rig first(EN_FILTER_1ST, 1, 1), shelf(EN_FILTER_2ND_PARAM_SHELF, 1, 1), common(EN_FILTER_2ND_COMMON, 1, 1);
    rig::Rig butter(EN_FILTER_2ND_BESSEL_BUTTER, 1, 1), tone(EN_FILTER_2ND_TONE, 1, 1), iir(EN_FILTER_2ND_IIR, 1, 1);
    rig::Rig pair(EN_FILTER_2ND_FIRSTORDERS, 1, 1), fir(EN_FILTER_FIR, 1, 1);
    std::vector<float> taps{65};
    for (int i = 0; i < 65; ++i)  // a windowed-sine low-pass at 6 kHz
        taps.push_back(static_cast<float>(
            (i == 32 ? 0.25 : std::sin(0.25 * std::numbers::pi * (i - 32)) / (std::numbers::pi * (i - 32))) *
            (0.5 + 0.5 * std::cos(std::numbers::pi * (i - 32) / 33))));
    fir.set(taps);
    shelf.set({1, 0, 0, 0, 100, 4, 9});
    const std::vector<BlockAlgo> blocks{*first.block(), *shelf.block(), *common.block(), *butter.block(),
                                        *tone.block(),  *iir.block(),   *pair.block(),   *fir.block()};
    log_.clear();
    EXPECT_EQ(filter_response_check(const_cast<BlockAlgo*>(blocks.data()), 8, 48000, 10, nullptr), 0);
    EXPECT_TRUE(log_.lines().empty()) << log_.all();
    const Rows rows = expect_table("FilterCheck.xls", "Freq(Hz)\tMag(dB)\tDeg(degrees)", 2400);
    EXPECT_EQ(rows.front()[0], 0.0);
    EXPECT_EQ(rows.back()[0], 23990.0);
    const auto [db, deg] = compare(rows, [&](double hz) {
        const double w = 2 * std::numbers::pi * hz / 48000;
        const float* c = first.core<FirstOrder_Core>().coeffArray;
        Complex h = (double{c[0]} + double{c[1]} * std::polar(1.0, -w)) / (1.0 + double{c[2]} * std::polar(1.0, -w));
        for (std::size_t i = 1; i < 7; ++i)
            h *= sections(static_cast<SecondOrder_Core*>(blocks[i].AlgoCore)->coeffArray, 1, hz, 48000);
        Complex sum = 0;
        for (int i = 0; i < 65; ++i)
            sum += double{taps[static_cast<std::size_t>(i) + 1]} * std::polar(1.0, -w * i);
        return h * sum;
    });
    EXPECT_LT(db, kBound);  // broad responses: the errors of eight do not add up
    EXPECT_LT(deg, 0.3);
    EXPECT_TRUE(std::ranges::all_of(rows, [](const auto& row) { return std::abs(row[2]) <= 180.0; }));
}

// An error of the fast cosine reads as another frequency: the sharper a filter, the more it counts.
TEST_F(Response, SharpFiltersStayWithinTheStatedBounds)
{
    struct Case {
        float q;
        double db, deg;
    };
    for (const auto& [q, bound_db, bound_deg] : {Case{0.7F, 0.06, 0.4}, Case{2, 0.12, 0.8}, Case{16, 1, 7}})
        for (float fc = 30; fc < 20000; fc *= 1.7F) {
            rig::Rig peak(EN_FILTER_2ND_PARAM_SHELF, 1, 1), low(EN_FILTER_2ND_COMMON, 1, 1);
            peak.set({1, 0, Parametric, 0, fc, q, 20});
            low.set({1, 0, GeneralLP, 0, fc, q});
            for (rig::Rig* filter : {&peak, &low}) {
                ASSERT_EQ(filter_response_check(filter->block(), 1, 48000, 20, nullptr), 0);
                const float* c = filter->core<SecondOrder_Core>().coeffArray;
                const auto [db, deg] =
                    compare(read("FilterCheck.xls"), [=](double hz) { return sections(c, 1, hz, 48000); });
                EXPECT_LT(db, bound_db) << "Q " << q << " at " << fc;
                EXPECT_LT(deg, bound_deg) << "Q " << q << " at " << fc;
            }
        }
}

TEST_F(Response, IdentityIsFlatAndWrongTypesAreLeftOut)
{
    rig::Rig iir(EN_FILTER_2ND_IIR, 1, 1), general(EN_FILTER_2ND_GENERAL, 1, 1), gain(EN_BASIC_GAIN, 1, 1);
    general.set({1, 0, 0, 6, 1000, 1, 12});
    std::ranges::copy(std::vector<float>{1, 0, 0, 0, 0}, iir.core<SecondOrder_Core>().coeffArray);
    std::vector<BlockAlgo> blocks{*general.block(), *iir.block(), *gain.block()};
    log_.clear();
    EXPECT_EQ(filter_response_check(blocks.data(), 3, 48000, 50, nullptr), 0);
    EXPECT_EQ(log_.messages(), std::vector<std::string>(2, "wrong filter type in Process\n\n"));
    for (const auto& row : read("FilterCheck.xls"))
        EXPECT_EQ(row, (std::vector<double>{row[0], 0, 0}));
}

TEST_F(Response, LookupCurves)
{
    rig::Rig tone(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1), common(EN_FILTER_LOOKUP_COMMON, 2, 1),
        butter(EN_FILTER_LOOKUP_BUTTER_BESSEL, 2, 1);
    tone.set({2, 3, 12, -12, 0, 1, 1000, 12});
    for (rig::Rig* blk : {&common, &butter, &tone}) {
        std::string header = "Freq(Hz)\t";
        const std::size_t curves = blk == &tone ? 3 : 4;
        for (std::size_t i = 1; i <= curves; ++i)
            header += "mag[" + std::to_string(i) + "](dB)\t";
        EXPECT_EQ(LookupFilter_Response_Check(blk->block(), 44100, 20), 0);
        const Rows rows = expect_table("LookupFilterCheck.xls", header, 1102);
        for (std::size_t i = 0; i < curves; ++i)
            expect_levels(rows, i + 1, blk->core<LookUp_Core>().coeffArray + 5 * i, 1, 44100);
    }
}

TEST_F(Response, CrossoverBands)
{
    rig::Rig two(EN_FILTER_CROSSOVER_2WAY, 1, 2), three(EN_FILTER_CROSSOVER_3WAY, 1, 3);
    two.set({LR48, 500, 0, Butter18, 500, 3, 1});
    EXPECT_EQ(CrossoverFilter_Response_Check(two.block(), 48000, 25), 0);
    Rows rows = expect_table("CrossoverFilterCheck.xls", "Freq(Hz)\tMaglow(dB)\tMaghigh(dB)", 960);
    const auto& ways = two.core<Crossover2Way_Core>();
    expect_levels(rows, 1, ways.coeffArray, ways.sos_low, 48000);
    expect_levels(rows, 2, ways.coeffArray + 5 * ways.sos_low, ways.sos_high, 48000);
    EXPECT_NEAR(rows[20][1], -6.02, 4 * kBound);  // Linkwitz-Riley: half the pressure at the corner

    three.set({LR24, 200, 0, LR36, 4000, 0, Butter24, 4000, Butter12, 200, -3, 0, 0});
    EXPECT_EQ(CrossoverFilter_Response_Check(three.block(), 48000, 25), 0);
    rows = expect_table("CrossoverFilterCheck.xls", "Freq(Hz)\tMaglow(dB)\tMaghigh(dB)\tMagmid(dB)", 960);
    const auto& core = three.core<Crossover3Way_Core>();
    const float* c = core.coeffArray;
    expect_levels(rows, 1, c, core.sos_low, 48000);
    expect_levels(rows, 2, c += 5 * core.sos_low, core.sos_high, 48000);
    expect_levels(rows, 3, c += 5 * core.sos_high, core.sos_med_lp + core.sos_med_hp, 48000);
    EXPECT_NEAR(rows[40][3], -3, 0.2);  // the middle of the mid band
}

TEST_F(Response, MiscellaneousFilters)
{
    rig::Rig dc(EN_FILTER_MISCE_DCBLOCKING, 1, 1), state(EN_FILTER_MISCE_STATEVARIABLE, 1, 3);
    EXPECT_EQ(MiscellFilter_Response_Check(dc.block(), 48000, 1), 0);
    Rows rows = expect_table("MiscellFilterCheck.xls", "Freq(Hz)\tMag(dB)\tDeg(degrees)", 24000);
    EXPECT_LT(rows[0][1], -300.0) << "nothing passes at 0 Hz";
    EXPECT_EQ(rows[0][2], 0.0);
    const double corner = 48000 / (2 * std::numbers::pi * 10000);  // from the time constant of 10000 samples
    EXPECT_NEAR(rows[1][1], -10 * std::log10(1 + corner * corner), kBound);
    EXPECT_NEAR(rows[1][2], std::atan(corner) * 180 / std::numbers::pi, 0.1);
    EXPECT_NEAR(rows[10000][1], 0.0, kBound);

    state.set({2000, 4});
    EXPECT_EQ(MiscellFilter_Response_Check(state.block(), 96000, 50), 0);  // the given rate, not the block's
    rows = expect_table("MiscellFilterCheck.xls", "Freq(Hz)\tMaglow(dB)\tMaghigh(dB)\tMagmid(dB)", 960);
    const float* a = state.core<StateVariable_Core>().coeffArray;
    for (std::size_t i = 0; i < 3; ++i) {
        const float* b = a + 2 + 3 * i;
        const float c[] = {b[0], b[1], a[0], b[2], a[1]};
        expect_levels(rows, i + 1, c, 1, 96000);
    }
    rig::Rig controlled(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    EXPECT_EQ(MiscellFilter_Response_Check(controlled.block(), 48000, 50), 0);
    EXPECT_NEAR(read("MiscellFilterCheck.xls")[0][1], 0.0, kBound);
}

TEST_F(Response, RefusalsAndFailures)
{
    rig::Rig gain(EN_BASIC_GAIN, 1, 1), fir(EN_FILTER_FIR, 1, 1), lookup(EN_FILTER_LOOKUP_COMMON, 2, 1);
    rig::Rig cross(EN_FILTER_CROSSOVER_3WAY, 1, 3), state(EN_FILTER_MISCE_STATEVARIABLE, 1, 3);
    rig::Rig dc(EN_FILTER_MISCE_DCBLOCKING, 1, 1);
    log_.clear();
    EXPECT_EQ(LookupFilter_Response_Check(gain.block(), 48000, 10), 0);
    EXPECT_EQ(CrossoverFilter_Response_Check(gain.block(), 48000, 10), 0);
    EXPECT_EQ(MiscellFilter_Response_Check(fir.block(), 48000, 10), 0);
    EXPECT_EQ(log_.messages(),
              (std::vector<std::string>{"wrong input type in LookUpFilter\n", "wrong input type in CrossoverFilter\n",
                                        "wrong input type in MiscellFilter\n"}));

    const struct {
        const char* file;
        std::function<int(int)> run;
    } checks[] = {
        {"FilterCheck.xls", [&](int step) { return filter_response_check(fir.block(), 1, 48000, step, nullptr); }},
        {"LookupFilterCheck.xls", [&](int step) { return LookupFilter_Response_Check(lookup.block(), 48000, step); }},
        {"CrossoverFilterCheck.xls",
         [&](int step) { return CrossoverFilter_Response_Check(cross.block(), 48000, step); }},
        {"MiscellFilterCheck.xls", [&](int step) { return MiscellFilter_Response_Check(state.block(), 48000, step); }},
        {"MiscellFilterCheck.xls", [&](int step) { return MiscellFilter_Response_Check(dc.block(), 48000, step); }},
    };
    for (const auto& [file, run] : checks) {
        SCOPED_TRACE(file);
        EXPECT_EQ(run(0), RT_ERR_VALUE);
        EXPECT_EQ(run(-5), RT_ERR_VALUE);
        EXPECT_EQ(run(1000), 0);
        // Whichever allocation fails: the result says so, and nothing leaks.
        int failed = 0;
        for (;; ++failed) {
            const long before = rig::Allocator::calls();
            rig::Allocator::fail_at(failed);
            const int result = run(1000);
            rig::Allocator::fail_never();
            if (rig::Allocator::calls() <= before + failed)
                break;
            EXPECT_EQ(result, RT_ERR_MALLOC) << "allocation " << failed;
        }
        EXPECT_GE(failed, 4);  // the grid and its arrays
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);  // in the way: also root cannot write there
        log_.clear();
        EXPECT_EQ(run(1000), 1);
        EXPECT_EQ(log_.messages(), std::vector{"cannot open " + std::string(file) + "\n\n"});
        std::filesystem::remove(file);
    }
}

class Speaker : public Response {
protected:
    Rows check(const std::string& text)
    {
        std::ofstream("speaker.txt") << text;
        EXPECT_EQ(filter_response_check(nullptr, 0, 2000, 100, "speaker.txt"), 0);
        return read("FilterCheck.xls");
    }
};

TEST_F(Speaker, BracketsAndExtends)
{
    const auto rows = check("name\nHz dB deg\n200 -6 10\n400 0 -10\n500\t3  20\n");
    const double levels[] = {-12, -9, -6, -3, 0, 3, 6, 9, 12, 15},
                 phases[] = {30, 20, 10, 0, -10, 20, 50, 80, 110, 140};
    ASSERT_EQ(rows.size(), 10U);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_NEAR(rows[i][1], levels[i], 1e-4) << i;
        EXPECT_NEAR(rows[i][2], phases[i], 1e-4) << i;
    }
    rig::Rig fir(EN_FILTER_FIR, 1, 1);  // filters go on top
    fir.set({1, 0.5F});
    EXPECT_EQ(filter_response_check(fir.block(), 1, 2000, 100, "speaker.txt"), 0);
    EXPECT_NEAR(read("FilterCheck.xls")[4][1], -6.02, 0.05);
}

TEST_F(Speaker, AnyFileIsSurvived)
{
    const std::string header = "a\nb\n";
    EXPECT_EQ(check("")[5][1], 0.0);
    EXPECT_EQ(check(header)[5][1], 0.0);
    EXPECT_EQ(log_.messages(), std::vector<std::string>(2, "no rows in speaker.txt\n\n"));
    for (const auto& row : check(header + "300 -4 25\n"))  // one row is everywhere
        EXPECT_EQ(row, (std::vector<double>{row[0], -4, 25}));
    EXPECT_EQ(check(header + "300 1 0\n300 2 0\n")[5][1], 2.0);

    // A hundred rows of level hz / 100, and one more that would bend the curve.
    std::string many = header;
    for (int i = 0; i < 100; ++i)
        many += std::to_string(i) + " " + std::to_string(i / 100.0) + " 0\n";
    EXPECT_NEAR(check(many)[9][1], 9.0, 1e-3);
    EXPECT_NEAR(check(many + "900 1000 0\n")[9][1], 9.0, 1e-3);

    const std::string bad = "x y z\n1e999 0 0\n200 nan 0\n\n300 2\n", good = "0 0 0\n900 9 0\n";
    EXPECT_NEAR(check(header + bad + good + bad)[9][1], 9.0, 1e-4);
    const std::string longer(5000, '7');
    EXPECT_NEAR(check(longer + "\nb\n" + "0 0 0" + std::string(3000, ' ') + "5 5 5\n900 9 0\n" + longer)[9][1], 9.0,
                1e-4);

    EXPECT_EQ(filter_response_check(nullptr, 0, 2000, 100, "missing.txt"), 0);
    EXPECT_EQ(log_.messages().back(), "cannot open missing.txt\n\n");
    EXPECT_EQ(read("FilterCheck.xls")[3][1], 0.0);
}

TEST(Grid, StepsByRepeatedAddition)
{
    FreqResponseState* grid = FreqResponse_param_Init(44101, 0.1F);
    ASSERT_TRUE(grid);
    EXPECT_EQ(grid->lens, static_cast<int>(22050 / 0.1F));
    float f = 0;
    for (int k = 0; k < 1000; ++k, f += 0.1F)
        ASSERT_EQ(grid->freq[k], f);
    FreqResponse_Destroy(grid);
    Multi_FreqResponseState* multi = Multi_FreqResponse_param_Init(48000, 7, 2);
    ASSERT_TRUE(multi);
    EXPECT_EQ(multi->lens, 3428);
    EXPECT_EQ(multi->num_curves, 2);
    EXPECT_EQ(multi->mag[1][3427], 0.0F);
    Multi_FreqResponse_Destroy(multi);
    FreqResponse_Destroy(nullptr);
    Multi_FreqResponse_Destroy(nullptr);
}

}  // namespace
