// SPDX-License-Identifier: Apache-2.0
// The fuzzer's bytes as a stream of values; past its end everything is zero.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    bool empty() const { return bytes_.empty(); }

    template <class T>
    T take()
    {
        T value{};
        const std::size_t n = bytes_.size() < sizeof value ? bytes_.size() : sizeof value;
        std::memcpy(&value, bytes_.data(), n);
        bytes_ = bytes_.subspan(n);
        return value;
    }

    // lo .. hi, both included.
    int range(int lo, int hi) { return lo + static_cast<int>(take<std::uint16_t>() % (hi - lo + 1)); }

    std::span<const std::uint8_t> rest() const { return bytes_; }

private:
    std::span<const std::uint8_t> bytes_;
};
