#pragma once

#include <array>
#include <cstddef>

/// value ^ (1 / 2.2) for the decoder's Radiance HDR pictures, whose results end as 8-bit levels:
/// the level's own fraction of 255. Radiance values have 8 significant bits, and all of them
/// give the level that powf gives. It spares every call the loading of libm.

/// The least value ^ 5 of each level: value ^ (1 / 2.2) * 255 + 0.5 reaches it at ((level - 0.5) /
/// 255) ^ 2.2, and the fifth power of that is the eleventh of a rational number.
consteval std::array<double, 256> level_thresholds()
{
    std::array<double, 256> thresholds{};
    for (int level = 1; level < 256; ++level) {
        const double fraction = (level - 0.5) / 255;
        double power = 1;
        for (int factors = 0; factors < 11; ++factors)
            power *= fraction;
        thresholds[size_t(level)] = power;
    }
    return thresholds;
}

inline float hdr_gamma(float value)
{
    static constexpr std::array<double, 256> thresholds = level_thresholds();
    const double v = double(value), fifth_power = v * v * v * v * v;
    size_t level = 0;
    for (size_t step = 128; step > 0; step /= 2)
        if (thresholds[level + step] <= fifth_power)
            level += step;
    return float(level) / 255;
}
