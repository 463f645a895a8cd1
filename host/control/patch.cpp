// SPDX-License-Identifier: Apache-2.0
#include "control/patch.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "support/json_text.h"
#include "support/json_walk.h"

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

// Below, blanks may hold comments.

// A value of the text.
struct Node {
    struct Item {
        std::string_view lead, key, colon;  // blanks before it; the quoted key and what follows up to the value
        std::string_view tail;              // blanks between it and its comma
        std::string_view remark;            // a comment on the rest of its line
        std::size_t node;                   // its value
    };
    std::string_view text;
    std::vector<Item> items{};
    std::string_view end{};  // blanks before the closing bracket
};

bool has_comment(std::string_view blanks) { return blanks.find('/') != blanks.npos; }

// Splits what follows an item into the comment that its line ends with, and the rest. `last`: nothing else can be meant
// by a comment.
std::pair<std::string_view, std::string_view> split_remark(std::string_view blanks, bool last)
{
    std::size_t end = 0;
    while (end < blanks.size() && blanks[end] != '\n')
        end = std::max(end + 1, end_of_comment(blanks, end));
    const bool remark = has_comment(blanks.substr(0, end)) && (last || end < blanks.size());
    return {blanks.substr(0, remark ? end : 0), blanks.substr(remark ? end : 0)};
}

// Blanks as a pattern for others: the last line of them, without comments.
std::string bare(std::string_view blanks)
{
    if (!has_comment(blanks))
        return std::string(blanks);
    const std::size_t line = blanks.rfind('\n');
    const std::string_view rest = line == blanks.npos ? " " : blanks.substr(line);
    return std::string(rest.substr(0, rest.find('/')));
}

class Tree {
public:
    explicit Tree(std::string_view text) : text_(text)
    {
        constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
        if (text.starts_with(kByteOrderMark))
            at_ = kByteOrderMark.size();
        blanks();
        root_ = value();
    }

    const Node& root() const { return nodes_[root_]; }
    const Node& operator[](std::size_t n) const { return nodes_[n]; }

private:
    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    std::string_view from(std::size_t start) const { return text_.substr(start, at_ - start); }

    std::string_view blanks()
    {
        const std::size_t start = at_;
        at_ = end_of_blanks(text_, at_);
        return from(start);
    }

    std::string_view string()
    {
        const std::size_t start = at_;
        at_ = end_of_string(text_, at_);
        return from(start);
    }

    std::size_t value()
    {
        Node node;
        const std::size_t start = at_;
        if (peek() == '{' || peek() == '[')
            structured(node);
        else if (peek() == '"')
            string();
        else
            at_ = end_of_word(text_, at_);
        node.text = from(start);
        nodes_.push_back(std::move(node));
        return nodes_.size() - 1;
    }

    void structured(Node& node)
    {
        const bool object = peek() == '{';
        ++at_;
        std::string_view lead = node.end = blanks();
        while (at_ < text_.size() && peek() != (object ? '}' : ']')) {
            node.items.push_back(item(lead, object));
            const bool more = peek() == ',';
            at_ += more ? 1 : 0;
            std::string_view& remark = node.items.back().remark;
            if (more)
                std::tie(remark, lead) = split_remark(blanks(), false);
            else
                std::tie(remark, node.end) = split_remark(std::exchange(node.items.back().tail, {}), true);
        }
        ++at_;
    }

    Node::Item item(std::string_view lead, bool member)
    {
        Node::Item item{lead, {}, {}, {}, {}, 0};
        if (member) {
            item.key = string();
            const std::size_t colon = at_;
            blanks();
            ++at_;
            blanks();
            item.colon = from(colon);
        }
        item.node = value();
        item.tail = blanks();
        return item;
    }

    std::string_view text_;
    std::size_t at_ = 0, root_ = 0;
    std::vector<Node> nodes_;
};

// What stands in the brackets of the result.
struct Item {
    std::string lead, body;
    std::string tail{}, remark{};
};

class Writer {
public:
    explicit Writer(std::string_view text) : tree_(text), text_(text)
    {
        if (!tree_.root().items.empty() && !tree_.root().items.front().colon.empty())
            colon_ = colon_like(tree_.root().items.front().colon);
    }

    std::string write(const json& to)
    {
        const std::string_view root = tree_.root().text;
        const auto start = static_cast<std::size_t>(root.data() - text_.data());
        return std::string(text_.substr(0, start)) + value(tree_.root(), to) +
               std::string(text_.substr(start + root.size()));
    }

private:
    std::string value(const Node& node, const json& to)
    {
        if (parse_ordered(node.text) == to)
            return std::string(node.text);
        if (node.text.front() == '{' && to.is_object())
            return object(node, to);
        if (node.text.front() == '[' && to.is_array())
            return array(node, to);
        return fresh(to);
    }

    std::string object(const Node& node, const json& to)
    {
        std::vector<Item> items;
        json rest = to;
        for (const Node::Item& item : node.items) {
            const std::string key = json::parse(item.key).get<std::string>();
            if (const auto member = to.find(key); member != to.end())
                items.push_back(kept(item, value(tree_[item.node], *member)));
            rest.erase(key);
        }
        std::vector<Item> added;
        for (const auto& [key, member] : rest.items())
            added.push_back(
                {added.empty() ? lead_of(node) : next_lead(node), json(key).dump() + colon_of(node) + fresh(member)});
        const bool before_last = !items.empty() && items.back().lead.find('\n') != std::string::npos;
        items.insert(items.end() - (before_last ? 1 : 0), added.begin(), added.end());
        return bracketed(node, items);
    }

    std::string array(const Node& node, const json& to)
    {
        const std::size_t old = node.items.size(), now = to.size(), least = std::min(old, now);
        const auto same = [&](std::size_t i, std::size_t k) {
            return parse_ordered(tree_[node.items[i].node].text) == to[k];
        };
        std::size_t front = 0, back = 0;
        while (front < least && same(front, front))
            ++front;
        while (back < least - front && same(old - 1 - back, now - 1 - back))
            ++back;
        std::vector<Item> items;
        for (std::size_t k = 0; k < now; ++k) {
            const std::size_t i = k < now - back ? k : k + old - now;
            if (i < (k < now - back ? old - back : old))
                items.push_back(kept(node.items[i], value(tree_[node.items[i].node], to[k])));
            else
                items.push_back({k == 0 ? lead_of(node) : next_lead(node), fresh(to[k])});
        }
        return bracketed(node, items);
    }

    static Item kept(const Node::Item& item, const std::string& value)
    {
        return {std::string(item.lead), std::string(item.key) + std::string(item.colon) + value, std::string(item.tail),
                std::string(item.remark)};
    }

    // In the brackets of `node`: the first has the blanks that the first had, unless there is a comment in its own.
    static std::string bracketed(const Node& node, std::vector<Item>& items)
    {
        if (!items.empty() && !node.items.empty() && !has_comment(items.front().lead))
            items.front().lead = bare(node.items.front().lead);
        std::string out(1, node.text.front()), remark;
        for (const Item& item : items) {
            out += after(remark, item.lead) + item.body + item.tail + (&item == &items.back() ? "" : ",");
            out += remark = item.remark;
        }
        const bool open = (!items.empty() && !node.items.empty()) || has_comment(node.end);
        return out + after(remark, open ? node.end : "") + node.text.back();
    }

    // A comment to the end of the line keeps what follows off it.
    static std::string after(const std::string& remark, std::string_view blanks)
    {
        return (remark.find("//") != remark.npos && !blanks.starts_with('\n') ? "\n" : "") + std::string(blanks);
    }

    // Blanks before a new item.
    std::string lead_of(const Node& node) const
    {
        if (node.items.size() > 1)
            return bare(node.items[1].lead);
        if (node.items.empty())
            return "";
        const std::string first = bare(node.items.front().lead);
        return first.find('\n') != first.npos ? first : blank();
    }

    std::string next_lead(const Node& node) const { return node.items.empty() ? blank() : lead_of(node); }

    std::string colon_of(const Node& node) const
    {
        return node.items.empty() ? colon_ : colon_like(node.items.front().colon);
    }

    static std::string colon_like(std::string_view colon) { return has_comment(colon) ? ": " : std::string(colon); }

    std::string blank() const { return colon_.ends_with(':') ? "" : " "; }

    // On one line.
    std::string fresh(const json& value) const
    {
        if (!value.is_structured())
            return value.dump();
        std::string out;
        for (const auto& item : value.items()) {
            out += out.empty() ? "" : "," + blank();
            if (value.is_object())
                out += json(item.key()).dump() + colon_;
            out += fresh(item.value());
        }
        return value.is_object() ? "{" + out + "}" : "[" + out + "]";
    }

    Tree tree_;
    std::string_view text_;
    std::string colon_ = ": ";  // as in the first member
};

}  // namespace

std::string patched(std::string_view text, const json& to) { return Writer(text).write(to); }

}  // namespace vantoro
