// SPDX-License-Identifier: Apache-2.0
#include "analysis/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <numbers>

#include "support/printable.h"

namespace vantoro {

namespace {

constexpr double kShownDb = 80;     // below the highest point: what lies deeper is out of the picture
constexpr double kLowestTop = -40;  // dB: a picture of next to nothing is no picture of rounding

// Distinct in colour and, by their order, in grey.
constexpr std::array kColours = {"#0b5394", "#c2410c", "#15803d", "#7e22ce",
                                 "#0f766e", "#a16207", "#be185d", "#404040"};

[[gnu::format(printf, 2, 3)]] void append(std::string& text, const char* format, ...)
{
    char line[256];
    std::va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(line, sizeof line, format, values);
    va_end(values);
    text.append(line, static_cast<std::size_t>(std::clamp<int>(length, 0, sizeof line - 1)));
}

bool known(std::complex<double> h) { return !std::isnan(h.real()); }

// A field of a table, quoted where its text asks for it (RFC 4180).
std::string field(std::string text)
{
    if (text.find_first_of(",\"\r\n") == text.npos)
        return text;
    for (std::size_t at = 0; (at = text.find('"', at)) != text.npos; at += 2)
        text.insert(at, 1, '"');
    return '"' + text + '"';
}

// Text between single quotes: what could end them, or what XML does not take as text, is replaced.
std::string literal(std::string_view text)
{
    std::string safe = "'";
    for (const char c : printable(text))
        safe += c == '\'' || c == '\\' || (c == '>' && safe.ends_with("]]")) ? '_' : c;
    return safe + '\'';
}

struct Range {
    double low, high;  // dB
};

struct Point {
    double hz, value;
};

// One stroke of the pen, without the points that a straight line stands for within `tolerance`: a cone from the last
// point drawn narrows until a point lies outside (J. Sklansky and V. Gonzalez, "Fast Polygonal Approximation of
// Digitized Curves").
void append_stroke(std::string& text, std::vector<Point>& stroke, double tolerance)
{
    const auto draw = [&](const Point& p) { append(text, "%.6g %.3f\n", p.hz, p.value); };
    constexpr double kOpen = std::numeric_limits<double>::infinity();
    double low = -kOpen;
    double high = kOpen;
    for (std::size_t i = 0, from = 0; i < stroke.size(); ++i) {
        const auto slope = [&](double offset) {
            return (stroke[i].value + offset - stroke[from].value) / std::log(stroke[i].hz / stroke[from].hz);
        };
        if (i > from && (slope(0) < low || slope(0) > high)) {
            from = i - 1;
            low = -kOpen;
            high = kOpen;
            draw(stroke[from]);
        }
        if (i == 0 || i + 1 == stroke.size())
            draw(stroke[i]);
        if (i > from) {
            low = std::max(low, slope(-tolerance));
            high = std::min(high, slope(tolerance));
        }
    }
    text += '\n';
    stroke.clear();
}

// Frequency and dB; frequency and degrees. The pen lifts where nothing is known, and in the phase where it wraps round,
// and where the level is out of the picture.
void append_data(std::string& text, const Axis& axis, const Spectrum& values, std::size_t number, Range range)
{
    constexpr double kHeight = 3130;  // of the magnitude's frame, in tenths of a point
    constexpr double kPhaseHeight = 1430;
    std::vector<Point> stroke;
    append(text, "$m%zu << EOD\n", number);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (known(values[i]))
            stroke.push_back({axis.hz(i), magnitude_db(values[i])});
        else
            append_stroke(text, stroke, (range.high - range.low) / kHeight);
    }
    append_stroke(text, stroke, (range.high - range.low) / kHeight);
    append(text, "EOD\n$p%zu << EOD\n", number);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double phase = phase_deg(values[i]);
        const bool shown = known(values[i]) && magnitude_db(values[i]) > range.low;
        if (!shown || (!stroke.empty() && std::abs(phase - stroke.back().value) > 180))
            append_stroke(text, stroke, 360 / kPhaseHeight);
        if (shown)
            stroke.push_back({axis.hz(i), phase});
    }
    append_stroke(text, stroke, 360 / kPhaseHeight);
    text += "EOD\n";
}

// Round numbers round the curves.
Range range_of(const std::vector<Curve>& curves)
{
    constexpr double kStep = 5;
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const Curve& curve : curves)
        for (const auto h : curve.values)
            if (known(h)) {
                low = std::min(low, magnitude_db(h));
                high = std::max(high, magnitude_db(h));
            }
    high = std::max(high, kLowestTop);
    low = std::clamp(low, high - kShownDb, high);
    // Flat curves get room, and stay off the frame.
    return {std::min(std::floor((low - 1) / kStep), std::floor((high - 10) / kStep)) * kStep,
            std::ceil((high + 1) / kStep) * kStep};
}

void append_curves(std::string& text, const std::vector<Curve>& curves, char block)
{
    text += "plot ";
    for (std::size_t i = 0; i < curves.size(); ++i) {
        append(text, "%s$%c%zu using 1:2 with lines linecolor rgb '%s' linewidth %s%s ", i > 0 ? ", \\\n  " : "", block,
               i, kColours[i % kColours.size()], curves[i].dashed ? "1.2" : "2.2",
               curves[i].dashed       ? " dashtype '--'"
               : i >= kColours.size() ? " dashtype '_.'"
                                      : "");
        text += block == 'm' ? "title " + literal(curves[i].name) : "notitle";
    }
    text += '\n';
}

// In points from the left and the top.
constexpr int kWidth = 860;
constexpr double kLeft = 73;
constexpr double kRight = 838;
constexpr int kLegendTop = 570;
constexpr int kLegendRow = 24;

struct Legend {
    int columns, rows;
};

// As many columns as the longest name leaves room for, and rows of even length.
Legend legend_of(const std::vector<Curve>& curves)
{
    constexpr double kCharacter = 8.3;  // as gnuplot estimates: what it thinks too wide it leaves out
    constexpr double kSample = 80;
    std::size_t longest = 1;
    for (const Curve& curve : curves)
        longest = std::max(longest, curve.name.size());
    const int count = std::max(1, static_cast<int>(curves.size()));
    const double width = kSample + kCharacter * static_cast<double>(longest);
    const int fitting = std::clamp(static_cast<int>((kRight - kLeft) / width), 1, 4);
    const int rows = (count + fitting - 1) / fitting;
    return {(count + rows - 1) / rows, rows};
}

constexpr const char* kSetup = "set encoding utf8\n"
                               "set style line 100 linecolor rgb '#9a9a9a' linewidth 0.9\n"
                               "set style line 101 linecolor rgb '#dcdcdc' linewidth 0.6\n"
                               "set grid xtics ytics mxtics mytics linestyle 100, linestyle 101\n"
                               "set border linewidth 1.2\n"
                               "set tics nomirror scale 0.6\n"
                               "set logscale x 10\n"
                               "set mxtics 10\n";

// Labelled where engineers read: 1, 2 and 5 of each decade.
std::string frequency_tics(double last, bool labels)
{
    std::string tics;
    for (int decade = 10; decade <= last; decade *= 10)
        for (const int digit : {1, 2, 5}) {
            const int hz = decade * digit;
            if (hz < 20 || hz > last)
                continue;
            tics += tics.empty() ? "set xtics ('" : ", '";
            if (labels)
                append(tics, "%d%s", hz < 1000 ? hz : hz / 1000, hz < 1000 ? "" : "k");
            append(tics, "' %d", hz);
        }
    for (int decade = 10; decade <= last; decade *= 10)
        for (const int digit : {3, 4, 6, 7, 8, 9})
            if (decade * digit > 20 && decade * digit < last)
                append(tics, ", '' %d 1", decade * digit);
    return tics + ")\n";
}

}  // namespace

double magnitude_db(std::complex<double> h) { return 20 * std::log10(std::max(std::abs(h), 1e-15)); }

double phase_deg(std::complex<double> h) { return std::arg(h) * 180 / std::numbers::pi; }

std::string csv_text(const Axis& axis, const std::vector<Curve>& curves)
{
    std::string text = "frequency (Hz)";
    for (const Curve& curve : curves)
        text += ',' + field(curve.name + " (dB)") + ',' + field(curve.name + " (deg)");
    for (std::size_t i = 0; i < axis.bins.size(); ++i) {
        append(text, "\n%.6g", axis.hz(i));
        for (const Curve& curve : curves)
            if (known(curve.values[i]))
                append(text, ",%.4f,%.3f", magnitude_db(curve.values[i]), phase_deg(curve.values[i]));
            else
                text += ",,";
    }
    return text + '\n';
}

std::string plot_script(const Axis& axis, const std::vector<Curve>& curves, std::string_view title,
                        std::string_view picture)
{
    const Range range = range_of(curves);
    std::string text;
    for (std::size_t i = 0; i < curves.size(); ++i)
        append_data(text, axis, curves[i].values, i, range);
    const Legend legend = legend_of(curves);
    const int height = kLegendTop + legend.rows * kLegendRow + 10;
    // The same picture on both: one is measured in points, the other in pixels of a page printed at 200 dpi.
    if (picture == "svg")
        append(text,
               "set terminal svg size %d,%d font 'Helvetica,Arial,sans-serif,13' noenhanced background rgb 'white'\n",
               kWidth, height);
    else
        append(text,
               "set terminal pngcairo size %d,%d font 'Sans,13' fontscale 1.55 linewidth 2 noenhanced background rgb "
               "'white'\n",
               2 * kWidth, 2 * height);
    text += kSetup;
    const auto screen = [&](double from_top) { return 1 - from_top / height; };
    append(text, "set lmargin at screen %.4f\nset rmargin at screen %.4f\n", kLeft / kWidth, kRight / kWidth);
    const double last = axis.hz(axis.bins.size() - 1);
    append(text, "set xrange [20:%.2f]\n", last);
    text += frequency_tics(last, false) + "set multiplot\n";
    const double span = range.high - range.low;
    append(text, "set yrange [%g:%g]\nset ytics %g\nset mytics 2\n", range.low, range.high,
           span <= 20   ? 2.5
           : span <= 50 ? 5.0
                        : 10.0);
    append(text, "set tmargin at screen %.4f\nset bmargin at screen %.4f\n", screen(43), screen(356));
    text += "set ylabel 'Magnitude (dB)' offset 1,0\nset title " + literal(title) + " offset 0,-0.4\n";
    append(text,
           "set key horizontal Left reverse samplen 2.5 spacing 1.2 maxcols %d maxrows %d at screen %.4f, screen %.4f "
           "center top\n",
           legend.columns, legend.rows, (kLeft + kRight) / 2 / kWidth, screen(kLegendTop));
    append_curves(text, curves, 'm');

    append(text, "unset title\nset tmargin at screen %.4f\nset bmargin at screen %.4f\nunset key\n", screen(372),
           screen(515));
    text += "set xlabel 'Frequency (Hz)' offset 0,0.4\nset ylabel 'Phase (degrees)' offset 1,0\n"
            "set yrange [-180:180]\nset ytics 90\nset mytics 3\n";
    text += frequency_tics(last, true);
    append_curves(text, curves, 'p');
    return text + "unset multiplot\n";
}

}  // namespace vantoro
