// SPDX-License-Identifier: Apache-2.0
#include "schematic/table_file.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include "catalog/layout.h"
#include "io/sound_bytes.h"
#include "schematic/draft.h"
#include "support/decimal.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/printable.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr std::size_t kMostValues = 1U << 22U;  // of all files: some bytes of a sound file can be a million samples
constexpr int kMostWrongLines = 5;
constexpr std::string_view kBlanks = " \t\r,;";

// Where the pins say how many there are, that is checked later.
int most_rows(const VantoroTable& table)
{
    constexpr int kMost = 65536;
    return table.max_rows > 0 ? table.max_rows : kMost;
}

std::string rows_text(const VantoroTable& table) { return "at most " + std::to_string(most_rows(table)) + " rows"; }

// ---- text ----

struct Word {
    std::string_view text;
    int column;  // from 1
};

std::vector<Word> words_of(std::string_view line)
{
    std::vector<Word> words;
    line = line.substr(0, line.find('#'));
    for (std::size_t at = line.find_first_not_of(kBlanks); at != line.npos;) {
        const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
        words.push_back({line.substr(at, end - at), static_cast<int>(at) + 1});
        at = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

class TextRows {
public:
    TextRows(const VantoroTable& table, const FileSource& source, std::string where, std::vector<Problem>& problems)
        : table_(table), source_(source), where_(std::move(where)), problems_(problems)
    {}

    std::optional<json> read()
    {
        const std::string_view text = source_.text;
        for (std::size_t at = 0; at < text.size() && wrong_ < kMostWrongLines; ++line_) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            read_line(text.substr(at, end - at));
            at = end + 1;
        }
        return wrong_ == 0 ? std::optional(std::move(rows_)) : std::nullopt;
    }

private:
    void fault(const Word& word, std::string wanted)
    {
        ++wrong_;
        problems_.push_back({.where = where_,
                             .value = printable(shortened(std::string(word.text), 40)),
                             .wanted = std::move(wanted),
                             .file = source_.path,
                             .line = line_,
                             .column = word.column});
    }

    void read_line(std::string_view line)
    {
        const std::vector<Word> words = words_of(line);
        json row = json::array();
        for (const Word& word : words) {
            const auto number = number_of<double>(word.text.substr(word.text.starts_with('+') ? 1 : 0));
            if (!number || !std::isfinite(*number))
                return fault(word, "a number");
            row.push_back(*number);
        }
        if (words.empty())
            return;
        if (table_.column_count == 1)
            rows_.insert(rows_.end(), row.begin(), row.end());
        else if (std::cmp_equal(row.size(), table_.column_count))
            rows_.push_back(std::move(row));
        else
            return fault(words.front(), count_text(table_.column_count, "number") + " a line");
        if (std::cmp_greater(rows_.size(), most_rows(table_))) {
            fault(words.front(), rows_text(table_));
            wrong_ = kMostWrongLines;
        }
    }

    const VantoroTable& table_;
    const FileSource& source_;
    std::string where_;
    std::vector<Problem>& problems_;
    json rows_ = json::array();
    int line_ = 1, wrong_ = 0;
};

// ---- sound ----

// What keeps a sound file from being the table; empty: nothing. `member` is the one that is wrong.
std::string refusal(const VantoroTable& table, const SoundBytes& sound, std::optional<int> channel,
                    std::optional<int> rate, const char*& member)
{
    member = "file";
    if (table.column_count != 1)
        return "a text with " + std::to_string(table.column_count) + " numbers a line";
    if (rate && *rate != sound.rate())
        return "a file of " + std::to_string(*rate) + " Hz, as the schematic; this one has " +
               std::to_string(sound.rate()) + " Hz";
    if (sound.frames() > most_rows(table))
        return rows_text(table) + "; this one has " + std::to_string(sound.frames()) + " samples";
    if (!channel && sound.channels() > 1)
        return "with a \"channel\" from 0: it has " + std::to_string(sound.channels());
    if (channel.value_or(0) < sound.channels())
        return {};
    member = "channel";
    return "a channel from 0 to " + std::to_string(sound.channels() - 1) + " of the file";
}

std::optional<json> sound_rows(const VantoroTable& table, SoundBytes& sound, const Fields& fields,
                               std::optional<int> channel, std::optional<int> rate)
{
    const char* member = nullptr;
    std::string wanted = refusal(table, sound, channel, rate, member);
    json rows = json::array();
    if (wanted.empty()) {
        const std::vector<float> samples = sound.channel(channel.value_or(0));
        const auto wrong = std::ranges::find_if_not(samples, [](float v) { return std::isfinite(v); });
        if (wrong != samples.end())
            wanted = "a file of numbers; its sample " + std::to_string(wrong - samples.begin()) + " is none";
        else if (std::cmp_less(samples.size(), sound.frames()))
            wanted = "a whole file; this one is cut short or damaged: " + std::to_string(sound.frames()) +
                     " samples are claimed, " + std::to_string(samples.size()) + " found";
        else
            return samples;
    }
    fields.fault(member, wanted);
    return {};
}

bool is_text(std::string_view bytes) { return bytes.find('\0') == bytes.npos; }

}  // namespace

std::optional<json> read_table_file(const VantoroTable& table, const json& written, Draft& draft,
                                    std::vector<Problem>& problems)
{
    const std::string where = pointer_step(table.name);
    const std::size_t before = problems.size();
    const Fields fields(written, where, problems);
    fields.allow({"file", "channel"});
    fields.need("file", "the path of a file with the rows: {\"file\": \"room.wav\", \"channel\": 0}");
    const std::string name = fields.text("file");
    const auto channel = fields.whole("channel", 0, kMaxPins);
    if (problems.size() > before)
        return {};
    const auto source = draft.read_file(name, where + "/file", problems);
    if (!source)
        return {};
    std::optional<json> rows;
    if (SoundBytes sound(source->text); sound.good())
        rows = sound_rows(table, sound, fields, channel, draft.rate());
    else if (!is_text(source->text))
        fields.fault("file", "a sound file, or a text of numbers");
    else if (channel)
        fields.fault("channel", "nothing: the file is a text, and has no channels");
    else
        rows = TextRows(table, *source, where, problems).read();
    draft.file_values += rows ? rows->size() : 0;
    if (draft.file_values <= kMostValues)
        return rows;
    fields.fault("file", "files of at most " + std::to_string(kMostValues) + " rows together");
    return {};
}

void read_table_files(const BlockType& type, json& params, Draft& draft, std::vector<Problem>& problems)
{
    for (const VantoroSlot& slot : layout_of(type)) {
        if (slot.kind != VANTORO_ROWS)
            continue;
        const auto written = params.find(slot.table->name);
        if (written == params.end() || !written->is_object())
            continue;
        if (auto rows = read_table_file(*slot.table, *written, draft, problems))
            *written = std::move(*rows);
        else
            params.erase(written);  // what is wrong is known
    }
}

}  // namespace vantoro
