// SPDX-License-Identifier: Apache-2.0
#include "control/patch.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

constexpr std::string_view kBlanks = " \t\r\n";

// A value of the text. Members and elements of what is structured stand between `open` and the end.
struct Node {
    struct Item {
        std::string_view lead, key, colon;  // blanks before it; the quoted key and what follows up to the value
        std::string_view tail;              // blanks after it
        std::size_t node;                   // its value
    };
    std::string_view text;
    std::vector<Item> items{};
    std::string_view inside{};  // blanks of an empty one
};

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
        at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
        return from(start);
    }

    std::string_view string()
    {
        const std::size_t start = at_++;
        for (; at_ < text_.size() && peek() != '"'; ++at_)
            if (peek() == '\\')
                ++at_;
        at_ = std::min(at_ + 1, text_.size());
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
            at_ = std::min(text_.find_first_of(",]} \t\r\n", at_), text_.size());
        node.text = from(start);
        nodes_.push_back(std::move(node));
        return nodes_.size() - 1;
    }

    void structured(Node& node)
    {
        const bool object = peek() == '{';
        ++at_;
        node.inside = blanks();
        if (peek() == (object ? '}' : ']')) {
            ++at_;
            return;
        }
        for (std::string_view lead = node.inside;; lead = blanks()) {
            node.items.push_back(item(lead, object));
            if (peek() != ',')
                break;
            ++at_;
        }
        ++at_;
    }

    Node::Item item(std::string_view lead, bool member)
    {
        Node::Item item{lead, {}, {}, {}, 0};
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
    std::string lead, body, tail;
};

class Writer {
public:
    explicit Writer(std::string_view text) : tree_(text), text_(text)
    {
        if (!tree_.root().items.empty() && !tree_.root().items.front().colon.empty())
            colon_ = tree_.root().items.front().colon;
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
        if (json::parse(node.text) == to)
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
            added.push_back({added.empty() ? lead_of(node) : next_lead(node),
                             json(key).dump() + colon_of(node) + fresh(member),
                             {}});
        const bool before_last = !items.empty() && items.back().lead.find('\n') != std::string::npos;
        items.insert(items.end() - (before_last ? 1 : 0), added.begin(), added.end());
        return bracketed(node, items);
    }

    std::string array(const Node& node, const json& to)
    {
        const std::size_t old = node.items.size(), now = to.size(), least = std::min(old, now);
        const auto same = [&](std::size_t i, std::size_t k) {
            return json::parse(tree_[node.items[i].node].text) == to[k];
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
                items.push_back({k == 0 ? lead_of(node) : next_lead(node), fresh(to[k]), {}});
        }
        return bracketed(node, items);
    }

    static Item kept(const Node::Item& item, const std::string& value)
    {
        return {std::string(item.lead), std::string(item.key) + std::string(item.colon) + value,
                std::string(item.tail)};
    }

    // In the brackets of `node`: the first has the blanks that the first had, the last those of the last.
    static std::string bracketed(const Node& node, std::vector<Item>& items)
    {
        std::string out(1, node.text.front());
        if (!items.empty() && !node.items.empty()) {
            items.front().lead = node.items.front().lead;
            for (Item& item : items)
                if (&item != &items.back() && item.tail == node.items.back().tail)
                    item.tail.clear();
            items.back().tail = node.items.back().tail;
        }
        for (const Item& item : items)
            out += (&item == &items.front() ? "" : ",") + item.lead + item.body + item.tail;
        return out + node.text.back();
    }

    // Blanks before a new item.
    std::string lead_of(const Node& node) const
    {
        if (node.items.size() > 1)
            return std::string(node.items[1].lead);
        if (node.items.empty())
            return "";
        const std::string_view first = node.items.front().lead;
        return first.find('\n') != first.npos ? std::string(first) : blank();
    }

    std::string next_lead(const Node& node) const { return node.items.empty() ? blank() : lead_of(node); }

    std::string colon_of(const Node& node) const
    {
        return std::string(node.items.empty() ? colon_ : node.items.front().colon);
    }

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
                out += json(item.key()).dump() + std::string(colon_);
            out += fresh(item.value());
        }
        return value.is_object() ? "{" + out + "}" : "[" + out + "]";
    }

    Tree tree_;
    std::string_view text_;
    std::string_view colon_ = ": ";  // as in the first member
};

}  // namespace

std::string patched(std::string_view text, const json& to) { return Writer(text).write(to); }

}  // namespace vantoro
