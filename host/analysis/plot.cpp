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

struct Point {
    double hz, value;
};

// ---- below the magnitude ----

std::vector<double> below_of(const Axis& axis, const Curve& curve, Lower lower)
{
    std::vector<double> values;
    if (lower == Lower::phase) {
        for (const auto h : curve.values)
            values.push_back(known(h) ? phase_deg(h) : std::numeric_limits<double>::quiet_NaN());
        return values;
    }
    if (lower == Lower::group_delay) {
        for (const double seconds : curve.delay)
            values.push_back(1000 * seconds);
        return values;
    }
    const Slope slope{curve.values, curve.delay};
    values = unwrapped_deg(axis, slope);
    if (lower == Lower::unwrapped)
        return values;
    // The bare delay taken away, and whole turns that are left.
    const double delay = bare_delay(axis, slope);
    double turns = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] += 360 * delay * axis.hz(i);
        if (std::isnan(turns) && !std::isnan(values[i]))
            turns = 360 * std::round(values[i] / 360);
        values[i] -= turns;
    }
    return values;
}

std::vector<std::vector<double>> all_below(const Axis& axis, const std::vector<Curve>& curves, Lower lower)
{
    std::vector<std::vector<double>> below;
    below.reserve(curves.size());
    for (const Curve& curve : curves)
        below.push_back(below_of(axis, curve, lower));
    return below;
}

const char* unit_of(Lower lower) { return lower == Lower::group_delay ? "ms" : "deg"; }

// Its frame.
struct LowerAxis {
    const char* label;
    Range range;
    double tics;
    bool wraps = false;
};

// Of round numbers: 1, 2 or 5 of a decade, or of turns.
double step_for(double span, bool degrees)
{
    constexpr double kSteps = 4;
    if (degrees)
        for (const double step : {45.0, 90.0, 180.0, 360.0, 720.0})
            if (span <= kSteps * step)
                return step;
    const double decade = std::pow(10, std::floor(std::log10(std::max(span, 1e-6) / kSteps)));
    for (const double digit : {1.0, 2.0, 5.0})
        if (span <= kSteps * digit * decade)
            return digit * decade;
    return 10 * decade;
}

// What is to be seen of all curves, where their level is above `lowest_db`.
LowerAxis lower_axis(const std::vector<Curve>& curves, const std::vector<std::vector<double>>& below, Lower lower,
                     double lowest_db)
{
    if (lower == Lower::phase)
        return {"Phase (degrees)", {-180, 180}, 90, true};
    Range seen{0, 0};
    for (std::size_t c = 0; c < curves.size(); ++c)
        for (std::size_t i = 0; i < below[c].size(); ++i)
            if (!std::isnan(below[c][i]) && magnitude_db(curves[c].values[i]) > lowest_db)
                seen = {std::min(seen.low, below[c][i]), std::max(seen.high, below[c][i])};
    const bool delay = lower == Lower::group_delay;
    const double step = step_for(std::max(seen.high - seen.low, delay ? 0.1 : 90.0), !delay);
    return {delay ? "Group delay (ms)" : "Phase (degrees)",
            {std::floor(seen.low / step) * step, std::max(std::ceil(seen.high / step) * step, step)},
            step};
}

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

// Frequency and dB; frequency and what is below. The pen lifts where nothing is known, and below where the phase wraps
// round, and where the level is out of the picture.
void append_data(std::string& text, const Axis& axis, const Curve& curve, const std::vector<double>& below,
                 std::size_t number, Range range, const LowerAxis& lower)
{
    const Spectrum& values = curve.values;
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
    const double tolerance = (lower.range.high - lower.range.low) / kPhaseHeight;
    // One point that is not seen: of a curve without any, gnuplot would complain.
    append(text, "%.9g %.9g\n\n", axis.hz(0), lower.range.low - (lower.range.high - lower.range.low));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool shown = !std::isnan(below[i]) && magnitude_db(values[i]) > range.low;
        if (!shown || (lower.wraps && !stroke.empty() && std::abs(below[i] - stroke.back().value) > 180))
            append_stroke(text, stroke, tolerance);
        if (shown)
            stroke.push_back({axis.hz(i), below[i]});
    }
    append_stroke(text, stroke, tolerance);
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

// Whether no eye could tell two curves apart.
bool look_alike(const Spectrum& a, const Spectrum& b)
{
    constexpr double kTolerance = 1e-3;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (known(a[i]) != known(b[i]) || std::abs(a[i] - b[i]) > kTolerance * std::abs(a[i]))
            return false;
    return true;
}

constexpr std::size_t kLongestLine = 92, kLongestName = 72;  // what the width holds of a title and in the legend

// A curve that lies on an earlier one is dashed, so that both are seen.
const char* dashes(const std::vector<Curve>& curves, std::size_t i)
{
    for (std::size_t before = 0; before < i; ++before)
        if (!curves[i].dashed && look_alike(curves[before].values, curves[i].values))
            return " dashtype '-'";
    return curves[i].dashed ? " dashtype '--'" : i >= kColours.size() ? " dashtype '_.'" : "";
}

void append_curves(std::string& text, const std::vector<Curve>& curves, char block)
{
    text += "plot ";
    for (std::size_t i = 0; i < curves.size(); ++i) {
        append(text, "%s$%c%zu using 1:2 with lines linecolor rgb '%s' linewidth %s%s ", i > 0 ? ", \\\n  " : "", block,
               i, kColours[i % kColours.size()], curves[i].dashed ? "1.2" : "2.2", dashes(curves, i));
        text += block == 'm' ? "title " + literal(shortened(curves[i].name, kLongestName)) : "notitle";
    }
    text += '\n';
}

// In points from the left and the top.
constexpr int kWidth = 860;
constexpr double kLeft = 73;
constexpr double kRight = 838;
constexpr int kLegendTop = 570;
constexpr int kLegendRow = 24;
constexpr int kTitleRow = 20;  // one more than the first

struct Legend {
    int columns, rows;
};

// A title in up to three lines, broken at blanks.
std::vector<std::string> title_lines(std::string_view title)
{
    std::vector<std::string> lines;
    while (title.size() > kLongestLine && lines.size() < 2) {
        const std::size_t blank = title.rfind(' ', kLongestLine);
        if (blank == title.npos || blank == 0)
            break;
        lines.emplace_back(title.substr(0, blank));
        title.remove_prefix(blank + 1);
    }
    lines.push_back(shortened(title, kLongestLine));
    return lines;
}

// As many columns as the longest name leaves room for, and rows of even length.
Legend legend_of(const std::vector<Curve>& curves)
{
    constexpr double kCharacter = 8.3;  // as gnuplot estimates: what it thinks too wide it leaves out
    constexpr double kSample = 80;
    std::size_t longest = 1;
    for (const Curve& curve : curves)
        longest = std::clamp(curve.name.size(), longest, kLongestName);
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
std::string frequency_tics(Range shown, bool labels)
{
    std::string tics;
    for (int decade = 10; decade <= shown.high; decade *= 10)
        for (const int digit : {1, 2, 5}) {
            const int hz = decade * digit;
            if (hz < shown.low || hz > shown.high)
                continue;
            tics += tics.empty() ? "set xtics ('" : ", '";
            if (labels)
                append(tics, "%d%s", hz < 1000 ? hz : hz / 1000, hz < 1000 ? "" : "k");
            append(tics, "' %d", hz);
        }
    if (tics.empty())
        return "set xtics auto\n";
    for (int decade = 10; decade <= shown.high; decade *= 10)
        for (const int digit : {3, 4, 6, 7, 8, 9})
            if (decade * digit > shown.low && decade * digit < shown.high)
                append(tics, ", '' %d 1", decade * digit);
    return tics + ")\n";
}

// Where a picture's parts stand, from the top in points.
struct Frame {
    double top, bottom;
    int height;  // of the picture
    double screen(double from_top) const { return 1 - from_top / height; }
};

void append_terminal(std::string& text, std::string_view picture, int height)
{
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
    append(text, "set lmargin at screen %.4f\nset rmargin at screen %.4f\n", kLeft / kWidth, kRight / kWidth);
}

void append_frame(std::string& text, const Frame& frame, const char* label, Range range, double tics, int minor)
{
    append(text, "set tmargin at screen %.4f\nset bmargin at screen %.4f\n", frame.screen(frame.top),
           frame.screen(frame.bottom));
    append(text, "set yrange [%g:%g]\nset ytics %g\nset mytics %d\n", range.low, range.high, tics, minor);
    // At a place of its own: next to the numbers it would meet long ones.
    append(text, "set label 1 '%s' at screen %.4f, screen %.4f center rotate\n", label, 15.0 / kWidth,
           frame.screen((frame.top + frame.bottom) / 2));
}

double magnitude_tics(Range range)
{
    const double span = range.high - range.low;
    return span <= 20 ? 2.5 : span <= 50 ? 5 : 10;
}

}  // namespace

double magnitude_db(std::complex<double> h) { return 20 * std::log10(std::max(std::abs(h), 1e-15)); }

double phase_deg(std::complex<double> h) { return std::arg(h) * 180 / std::numbers::pi; }

std::string csv_text(const Axis& axis, const std::vector<Curve>& curves, const View& view)
{
    std::string text = "frequency (Hz)";
    const std::vector<std::vector<double>> below = all_below(axis, curves, view.lower);
    for (const Curve& curve : curves)
        text += ',' + field(curve.name + " (dB)") + ',' + field(curve.name + " (" + unit_of(view.lower) + ')');
    for (std::size_t i = 0; i < axis.bins.size(); ++i) {
        append(text, "\n%.6g", axis.hz(i));
        for (std::size_t c = 0; c < curves.size(); ++c) {
            text += ',';
            if (known(curves[c].values[i]))
                append(text, "%.4f", magnitude_db(curves[c].values[i]));
            text += ',';
            if (!std::isnan(below[c][i]))
                append(text, "%.3f", below[c][i]);
        }
    }
    return text + '\n';
}

std::string plot_script(const Axis& axis, const std::vector<Curve>& curves, std::string_view title,
                        std::string_view picture, const View& view)
{
    const Range range = view.db.value_or(range_of(curves));
    const std::vector<std::vector<double>> below = all_below(axis, curves, view.lower);
    const LowerAxis lower = lower_axis(curves, below, view.lower, range.low);
    std::string text;
    for (std::size_t i = 0; i < curves.size(); ++i)
        append_data(text, axis, curves[i], below[i], i, range, lower);
    const Legend legend = legend_of(curves);
    const std::vector<std::string> lines = title_lines(title);
    const int head = kTitleRow * static_cast<int>(lines.size() - 1), key = head + kLegendTop;
    const int height = key + legend.rows * kLegendRow + 10;
    const Frame upper{head + 43.0, head + 356.0, height}, under{head + 372.0, head + 515.0, height};
    append_terminal(text, picture, height);
    const Range shown = view.hz.value_or(Range{20, axis.hz(axis.bins.size() - 1)});
    append(text, "set xrange [%.6g:%.7g]\n", shown.low, shown.high);
    text += frequency_tics(shown, false) + "set multiplot\n";
    append_frame(text, upper, "Magnitude (dB)", range, magnitude_tics(range), 2);
    for (std::size_t i = 0; i < lines.size(); ++i)
        text += (i == 0 ? "set title " : ".\"\\n\".") + literal(lines[i]);
    text += " offset 0,-0.4\n";
    append(text,
           "set key horizontal Left reverse samplen 2.5 spacing 1.2 maxcols %d maxrows %d at screen %.4f, screen %.4f "
           "center top\n",
           legend.columns, legend.rows, (kLeft + kRight) / 2 / kWidth, upper.screen(key));
    append_curves(text, curves, 'm');

    text += "unset title\nunset key\nset xlabel 'Frequency (Hz)' offset 0,0.4\n";
    append_frame(text, under, lower.label, lower.range, lower.tics, lower.wraps ? 3 : 2);
    text += frequency_tics(shown, true);
    append_curves(text, curves, 'p');
    return text + "unset multiplot\n";
}

}  // namespace vantoro
