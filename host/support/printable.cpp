// SPDX-License-Identifier: Apache-2.0
#include "support/printable.h"

#include <algorithm>
#include <cstdio>

namespace vantoro {

namespace {

struct Character {
    char32_t code;
    std::size_t bytes;  // 0: no UTF-8
};

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; }

Character first_of(std::string_view text)
{
    constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};  // that needs so many bytes
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t bytes = lead < 0x80   ? 1
                              : lead < 0xc0 ? 0
                              : lead < 0xe0 ? 2
                              : lead < 0xf0 ? 3
                              : lead < 0xf8 ? 4
                                            : 0;
    if (bytes == 1)
        return {lead, 1};
    if (bytes == 0 || bytes > text.size() || !std::ranges::all_of(text.substr(1, bytes - 1), continues))
        return {0, 0};
    char32_t code = lead & (0x7fU >> bytes);
    for (const char c : text.substr(1, bytes - 1))
        code = code << 6U | (static_cast<unsigned char>(c) & 0x3fU);
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    return code < kLowest[bytes] || code > 0x10ffff || surrogate ? Character{0, 0} : Character{code, bytes};
}

// Controls, format characters (Unicode's general category Cf, as far as it reorders or hides text) and noncharacters.
bool shows(char32_t c)
{
    constexpr struct {
        char32_t first, last;
    } kHidden[] = {{0, 0x1f},        {0x7f, 0x9f},     {0x61c, 0x61c},   {0x200b, 0x200f}, {0x2028, 0x202e},
                   {0x2060, 0x206f}, {0xfdd0, 0xfdef}, {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe0fff}};
    return (c & 0xfffeU) != 0xfffe &&
           std::ranges::none_of(kHidden, [c](auto range) { return c >= range.first && c <= range.last; });
}

std::string escape(char32_t code)
{
    if (code == '\n' || code == '\r' || code == '\t')
        return code == '\n' ? "\\n" : code == '\r' ? "\\r" : "\\t";
    char text[16];
    std::snprintf(text, sizeof text, code > 0xffff ? "\\U%08x" : "\\u%04x", static_cast<unsigned>(code));
    return text;
}

}  // namespace

std::string printable(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const Character c = first_of(text);
        if (c.bytes == 0) {
            char byte[8];
            std::snprintf(byte, sizeof byte, "\\x%02x", static_cast<unsigned char>(text.front()));
            out += byte;
        } else if (shows(c.code)) {
            out += text.substr(0, c.bytes);
        } else {
            out += escape(c.code);
        }
        text.remove_prefix(std::max<std::size_t>(c.bytes, 1));
    }
    return out;
}

std::string shortened(std::string_view text, std::size_t bytes)
{
    constexpr std::string_view kRest = " ...";
    if (text.size() <= bytes)
        return std::string(text);
    std::size_t end = bytes - kRest.size();
    while (end > 0 && continues(text[end]))
        --end;
    return std::string(text.substr(0, end)) + std::string(kRest);
}

}  // namespace vantoro
