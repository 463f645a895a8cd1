// SPDX-License-Identifier: Apache-2.0
// The schematic that is being tuned: its text, what was changed since, the way back, and how it is listened to.
//
// Nothing wrong gets in: what the reader of schematics refuses throws UserError with its problems, and all stays as it
// was. One thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "control/place.h"
#include "control/store.h"
#include "schematic/difference.h"
#include "schematic/reader.h"

namespace vantoro {

class Document {
public:
    // Throws UserError. From then on the channels and the rate stay as they are.
    Document(Store& store, ReadOptions options);

    // ---- what there is ----

    std::uint64_t revision() const { return revision_; }    // another one for everything that is heard otherwise
    std::uint64_t structure() const { return structure_; }  // the revision since which blocks and pins are the same
    std::uint64_t saved() const { return saved_; }          // the newest revision that was as in the file
    const nlohmann::ordered_json& json() const { return json_; }
    const Schematic& schematic() const { return schematic_; }
    const std::vector<Problem>& warnings() const { return warnings_; }
    Schematic heard() const;  // with what is bypassed, and with outputs alone
    int rate() const { return *options_.rate; }
    std::string name() const { return store_.name(); }

    // ---- values ----

    // One step of undo; steps of the same gesture that follow on one another are one, too. Returns warnings of these
    // values.
    std::vector<Problem> set(const std::vector<Assignment>& values, const std::string& gesture = {});
    void edit(const nlohmann::ordered_json& document);

    // ---- the way back ----

    void undo();
    void redo();
    std::size_t undo_depth() const { return now().undo.size(); }
    std::size_t redo_depth() const { return now().redo.size(); }
    std::string undo_what() const { return what_of(now().undo); }
    std::string redo_what() const { return what_of(now().redo); }

    // ---- how it is listened to ----

    void bypass(const std::map<std::string, bool>& blocks);
    void solo(const std::vector<std::string>& outputs);  // "output.1"; none: all
    const std::set<std::string>& bypassed_ids() const { return bypassed_; }
    const std::set<int>& solo_outputs() const { return solo_; }

    // Two states, each with its own way back.
    void switch_to(char side);  // 'a' or 'b'
    void copy();                // the other becomes like this one
    char side() const { return side_ == 0 ? 'a' : 'b'; }
    bool sides_differ() const { return sides_[0].text != sides_[1].text; }

    // ---- files ----

    const std::vector<std::string>& presets() const { return presets_; }
    void list_presets() { presets_ = store_.presets(); }
    void load_preset(const std::string& name);
    void store_preset(const std::string& name);
    void remove_preset(const std::string& name);

    bool unsaved() const { return json_ != disk_json_; }
    std::vector<Difference> changes() const;
    // Refused when the revision is another, or when the file changed since it was read.
    void save(std::uint64_t revision);
    void reload();
    // Looks at the file. One that changed and came to rest is taken if nothing is unsaved. True: there is news.
    bool poll();
    bool file_changed() const { return file_changed_; }
    const std::vector<Problem>& file_problems() const { return file_problems_; }

private:
    struct Step {
        std::string text;  // the state that it leads to
        std::string what;
    };
    using Steps = std::deque<Step>;
    struct Side {
        std::string text;  // the document on one line
        Steps undo{}, redo{};
    };
    struct Reading {  // NOLINT(bugprone-exception-escape): a move of JSON throws nothing
        nlohmann::ordered_json json;
        Schematic schematic;
        std::vector<Problem> warnings{};
    };

    static std::string what_of(const Steps& steps) { return steps.empty() ? "" : steps.back().what; }
    static void push(Steps& steps, Step step);
    Side& now() { return sides_[side_]; }
    const Side& now() const { return sides_[side_]; }

    Reading read(const nlohmann::ordered_json& document) const;
    Reading read_text(const std::string& text, bool places = true) const;
    void allow_files(const std::string& text);
    bool read_files_anew();
    void check_terminals(const Schematic& next) const;
    void show(Reading reading);  // from now on, a new revision
    void change(Reading reading, const std::string& what, const std::string& gesture = {});
    void walk(Steps& from, Steps& to, const char* nothing);
    void take_file(const std::string& text);
    void set_disk(const std::string& text, const nlohmann::ordered_json& json);
    std::string text_for_disk() const;
    void next_revision();

    Store& store_;
    ReadOptions options_;
    std::set<std::string> files_;  // that a text of the store has named: no message names others
    std::uint64_t revision_ = 1, structure_ = 1, saved_ = 1;
    nlohmann::ordered_json json_;
    Schematic schematic_;
    std::vector<Problem> warnings_;
    Side sides_[2];
    std::size_t side_ = 0;
    std::string gesture_;  // that the last change was part of
    std::set<std::string> bypassed_;
    std::set<int> solo_;
    std::vector<std::string> presets_;

    std::string disk_text_;  // as read or written last
    nlohmann::ordered_json disk_json_;
    std::uint64_t stamp_ = 0, moving_stamp_ = 0;
    bool file_changed_ = false;
    std::vector<Problem> file_problems_;
};

}  // namespace vantoro
