// SPDX-License-Identifier: Apache-2.0
// The noise of rounding in both arithmetics (docs/noise.md).
//   noise           the worst of every response as a table in Markdown
//   noise --csv     every point: response, rate, Q or what stands for it, corner, and three errors in dB
#include "noise.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

namespace {

constexpr int kRates[] = {44100, 48000, 96000, 192000};
constexpr int kPerOctave = 3, kSamples = 1 << 16;

struct Worst {
    noise::Figures figures = {-999, -999, -999};
    double behind = -999;  // how much noisier the second arithmetic is, at worst

    void take(const noise::Figures& now)
    {
        figures.documented = std::max(figures.documented, now.documented);
        figures.section = std::max(figures.section, now.section);
        figures.cascade = std::max(figures.cascade, now.cascade);
        behind = std::max(behind, std::max(now.section, now.cascade) - now.documented);
    }
};

void print_point(const noise::Response& response, int rate, float fourth, float fc, const noise::Figures& figures)
{
    std::printf("%s,%d,%g,%.2f,%.1f,%.1f,%.1f\n", response.name, rate, static_cast<double>(fourth),
                static_cast<double>(fc), figures.documented, figures.section, figures.cascade);
}

void print_worst()
{
    std::map<const char*, Worst> worst;
    noise::each(kRates, kPerOctave, kSamples,
                [&](const noise::Response& response, int, float, float, const noise::Figures& figures) {
                    worst[response.name].take(figures);
                });
    std::puts("| response | documented | one section | cascade | noisier than documented, at most |");
    std::puts("|---|---|---|---|---|");
    for (const noise::Response& response : noise::responses()) {
        const Worst& of = worst[response.name];
        std::printf("| %s | %.0f | %.0f | %.0f | %.1f |\n", response.name, of.figures.documented, of.figures.section,
                    of.figures.cascade, of.behind);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 1) {
        print_worst();
    } else if (argc == 2 && std::strcmp(argv[1], "--csv") == 0) {
        std::puts("response,rate,fourth,corner,documented,section,cascade");
        noise::each(kRates, kPerOctave, kSamples, print_point);
    } else {
        std::fputs("usage: noise [--csv]\n", stderr);
        return 2;
    }
}
