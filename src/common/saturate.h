#pragma once

#include <algorithm>
#include <cstdint>

/// The nearest 32-bit value. Positions are computed wide and come back here: past 32 bits every
/// position is off every screen, so which one it is does not matter.
constexpr int32_t saturated(int64_t value)
{
    return int32_t(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}
