// SPDX-License-Identifier: Apache-2.0
#include "control/document.h"

#include <algorithm>
#include <utility>

#include "catalog/path.h"
#include "control/patch.h"
#include "schematic/bypass.h"
#include "support/json_lines.h"
#include "support/json_text.h"

namespace vantoro {

namespace {

using nlohmann::ordered_json;

std::string on_one_line(const ordered_json& document) { return document.dump(); }

std::string names_of(const std::vector<Assignment>& values)
{
    if (values.empty())
        return "";
    const std::string more = values.size() > 1 ? " and " + std::to_string(values.size() - 1) + " more" : "";
    return values.front().path + more;
}

std::string channels_text(int inputs, std::size_t outputs)
{
    return std::to_string(inputs) + " in, " + std::to_string(outputs) + " out";
}

// Which blocks there are, with which pins.
bool same_structure(const Schematic& a, const Schematic& b)
{
    return std::ranges::equal(a.blocks, b.blocks, [](const Block& x, const Block& y) {
        return x.id == y.id && x.type == y.type && x.pins == y.pins;
    });
}

// Those that tables are read from, wherever they stand.
void add_files(const nlohmann::json& value, std::set<std::string>& files)
{
    if (const auto file = value.is_object() ? value.find("file") : value.end();
        file != value.end() && file->is_string())
        files.insert(file->get<std::string>());
    if (value.is_structured())
        for (const nlohmann::json& inner : value)
            add_files(inner, files);
}

void check_preset_name(const std::string& name)
{
    if (!good_preset_name(name))
        throw UserError({{"/preset", name, "a name: 1 to 64 letters, digits, _ and -"}});
}

}  // namespace

Document::Document(Store& store, ReadOptions options) : store_(store), options_(std::move(options))
{
    stamp_ = moving_stamp_ = store_.stamp();
    options_.file = [this](const std::string& file) {
        if (!files_.contains(file))
            throw UserError("a file that the schematic already names; files are not opened at a client's word");
        FileSource source = store_.read_beside(file);
        allow_files(source.text);
        return source;
    };
    const std::string text = store_.read();
    allow_files(text);
    for (const Setting& s : options_.settings)
        allow_files(s.value);
    schematic_ = parse_schematic(text, options_, &warnings_);
    json_ = parse_ordered(text);
    options_.channels = schematic_.inputs;
    options_.rate = schematic_.rate.value_or(options_.rate.value_or(kDefaultRate));
    set_disk(text, json_);
    std::vector<Problem> known;
    for (const Setting& s : std::exchange(options_.settings, {}))
        if (s.seconds > 0)
            options_.settings.push_back(s);
        else
            place_value(json_, schematic_, {s.block + '.' + s.path, value_of(s.value)}, rate(), known);
    sides_[0].text = sides_[1].text = on_one_line(json_);
    list_presets();
}

Schematic Document::heard() const { return soloed(bypassed(schematic_, bypassed_), solo_); }

// ---- reading ----

Document::Reading Document::read_text(const std::string& text, bool places) const
{
    ReadOptions options = options_;
    options.places = places;
    Reading reading;
    reading.schematic = parse_schematic(text, options, &reading.warnings);
    reading.json = parse_ordered(text);
    check_terminals(reading.schematic);
    return reading;
}

// The places are those of a text that nobody sees.
Document::Reading Document::read(const ordered_json& document) const { return read_text(on_one_line(document), false); }

void Document::allow_files(const std::string& text)
{
    std::vector<Problem> problems;
    const nlohmann::json document = parse_document(text, "", problems).value;
    add_files(document, files_);
    if (document.is_object() && document.contains("parts") && document["parts"].is_object())
        for (const nlohmann::json& part : document["parts"])
            if (part.is_string())
                files_.insert(part.get<std::string>());
}

void Document::check_terminals(const Schematic& next) const
{
    std::vector<Problem> problems;
    if (next.inputs != schematic_.inputs || next.outputs.size() != schematic_.outputs.size())
        problems.push_back({"/wires", channels_text(next.inputs, next.outputs.size()),
                            channels_text(schematic_.inputs, schematic_.outputs.size()) + ", as it is being played"});
    if (next.rate.value_or(rate()) != rate())
        problems.push_back({"/rate", std::to_string(*next.rate), std::to_string(rate()) + ", as it is being played"});
    if (next.block_size != schematic_.block_size)
        problems.push_back({"/blockSize", std::to_string(next.block_size),
                            std::to_string(schematic_.block_size) + ", as it is being played"});
    if (!problems.empty())
        throw UserError(std::move(problems));
}

// ---- changing ----

void Document::next_revision()
{
    ++revision_;
    if (!unsaved())
        saved_ = revision_;
}

void Document::show(Reading reading)
{
    const bool same = same_structure(schematic_, reading.schematic);
    json_ = std::move(reading.json);
    schematic_ = std::move(reading.schematic);
    warnings_ = std::move(reading.warnings);
    now().text = on_one_line(json_);
    next_revision();
    if (same)
        return;
    structure_ = revision_;
    std::erase_if(bypassed_, [&](const std::string& id) {
        const auto block = std::ranges::find(schematic_.blocks, id, &Block::id);
        return block == schematic_.blocks.end() || !can_be_bypassed(*block);
    });
}

// Keeps the newest steps; a long session does not grow.
void Document::push(Steps& steps, Step step)
{
    constexpr std::size_t kMostSteps = 500, kMostBytes = 8U << 20U;
    steps.push_back(std::move(step));
    std::size_t bytes = 0;
    auto first = steps.end();
    while (first != steps.begin() && bytes + std::prev(first)->text.size() <= kMostBytes)
        bytes += (--first)->text.size();
    steps.erase(steps.begin(), std::min(first, std::prev(steps.end())));
    if (steps.size() > kMostSteps)
        steps.pop_front();
}

void Document::change(Reading reading, const std::string& what, const std::string& gesture)
{
    if (reading.json == json_)
        return;
    const bool goes_on = !gesture.empty() && gesture == gesture_ && !now().undo.empty();
    if (!goes_on)
        push(now().undo, {now().text, what});
    now().redo.clear();
    gesture_ = gesture;
    show(std::move(reading));
}

std::vector<Problem> Document::set(const std::vector<Assignment>& values, const std::string& gesture)
{
    ordered_json next = json_;
    std::vector<Problem> problems;
    if (values.size() > 1)
        for (const Assignment& value : values)
            place_whole(next, schematic_, value);
    for (const Assignment& value : values)
        place_value(next, schematic_, value, rate(), problems);
    if (has_errors(problems))
        throw UserError(std::move(problems));
    change(read(next), names_of(values), gesture);
    return problems;
}

void Document::edit(const ordered_json& document) { change(read(document), "edit"); }

// ---- the way back ----

void Document::walk(Steps& from, Steps& to, const char* nothing)
{
    if (from.empty())
        throw UserError(nothing);
    Reading reading = read_text(from.back().text);
    push(to, {now().text, from.back().what});
    from.pop_back();
    gesture_.clear();
    show(std::move(reading));
}

void Document::undo() { walk(now().undo, now().redo, "nothing to undo"); }

void Document::redo() { walk(now().redo, now().undo, "nothing to redo"); }

// ---- how it is listened to ----

void Document::bypass(const std::map<std::string, bool>& blocks)
{
    for (const auto& [id, on] : blocks)
        if (!can_be_bypassed(target_of(schematic_, id).block))
            throw UserError({{"/bypass/" + id, id, "a block with an input for each output that can stand for it"}});
    for (const auto& [id, on] : blocks)
        on ? void(bypassed_.insert(id)) : void(bypassed_.erase(id));
    next_revision();
}

void Document::solo(const std::vector<std::string>& outputs)
{
    const auto count = static_cast<int>(schematic_.outputs.size());
    std::set<int> wanted;
    for (const std::string& name : outputs) {
        const auto channel = terminal_channel(name, "output", count);
        if (!channel)
            throw UserError({{"/solo", name, "outputs from output.0 to output." + std::to_string(count - 1)}});
        wanted.insert(*channel);
    }
    solo_ = std::move(wanted);
    next_revision();
}

void Document::switch_to(char side)
{
    Reading reading = read_text(sides_[side == 'a' ? 0 : 1].text);
    side_ = side == 'a' ? 0 : 1;
    gesture_.clear();
    show(std::move(reading));
}

void Document::copy()
{
    Side& other = sides_[1 - side_];
    if (other.text != now().text) {
        push(other.undo, {other.text, std::string("copy of ") + side()});
        other.redo.clear();
        other.text = now().text;
    }
    gesture_.clear();
    next_revision();
}

// ---- presets ----

void Document::load_preset(const std::string& name)
{
    check_preset_name(name);
    const std::string text = store_.read_preset(name);
    allow_files(text);
    change(read_text(text), "preset " + name);
}

void Document::store_preset(const std::string& name)
{
    check_preset_name(name);
    store_.write_preset(name, text_for_disk());
    list_presets();
}

void Document::remove_preset(const std::string& name)
{
    check_preset_name(name);
    list_presets();
    if (!std::ranges::binary_search(presets_, name))
        throw UserError({{"/preset/remove", name, "there is no such preset"}});
    store_.remove_preset(name);
    list_presets();
}

// ---- the file ----

std::vector<Difference> Document::changes() const
{
    if (!unsaved())
        return {};
    std::vector<Difference> list = difference_list(parse_schematic(disk_text_, options_), schematic_);
    if (list.empty())
        list.push_back({"text", "as it was", "titles, notes, timed changes or order"});
    return list;
}

std::string Document::text_for_disk() const
{
    std::string text = patched(disk_text_, json_);
    // Sorted on both sides: new members may stand elsewhere, which means the same.
    std::vector<Problem> wrong;
    const bool same = parse_document(text, "", wrong).value == nlohmann::json(json_) && wrong.empty();
    return same ? text : json_lines(json_);
}

void Document::set_disk(const std::string& text, const ordered_json& json)
{
    disk_text_ = text;
    disk_json_ = json;
    file_changed_ = false;
    file_problems_.clear();
    if (!unsaved())
        saved_ = revision_;
}

void Document::save(std::uint64_t revision)
{
    if (revision != revision_)
        throw UserError(
            {{"/save/rev", std::to_string(revision), std::to_string(revision_) + "; it was changed meanwhile"}});
    if (store_.read() != disk_text_) {
        file_changed_ = true;
        throw UserError({{"/save", store_.name(),
                          "the file as it was read; someone changed it. Reload takes the file's "
                          "text, and undo then brings back what was not saved"}});
    }
    const std::string text = text_for_disk();
    store_.write(text);
    stamp_ = moving_stamp_ = store_.stamp();
    set_disk(text, json_);
}

void Document::take_file(const std::string& text)
{
    allow_files(text);
    Reading reading = read_text(text);
    set_disk(text, reading.json);
    change(std::move(reading), "reload");
}

void Document::reload()
{
    const std::uint64_t stamp = store_.stamp();
    take_file(store_.read());
    stamp_ = moving_stamp_ = stamp;
}

// True: what they say is another schematic.
bool Document::read_files_anew()
{
    if (files_.empty())
        return false;
    Reading reading = read_text(now().text, false);
    const bool another = !difference_list(schematic_, reading.schematic).empty();
    if (another)
        show(std::move(reading));
    return another;
}

bool Document::poll()
{
    const std::uint64_t stamp = store_.stamp();
    if (stamp == stamp_ || stamp != std::exchange(moving_stamp_, stamp))
        return false;
    stamp_ = stamp;
    try {
        const std::string text = store_.read();
        const bool news = file_changed_ || text != disk_text_ || !file_problems_.empty();
        file_changed_ = text != disk_text_;
        file_problems_.clear();
        if (!file_changed_)
            return read_files_anew() || news;
        if (unsaved()) {
            allow_files(text);
            read_text(text);  // for its problems
        } else {
            take_file(text);
        }
    } catch (const UserError& error) {
        file_problems_ = error.problems();
    }
    return true;
}

}  // namespace vantoro
