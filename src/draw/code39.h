#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The Code 39 symbology (ISO/IEC 16388). A character is nine elements from left to right, bars in
/// capitals, spaces in small letters: "N" and "n" narrow, "W" and "w" wide.
using code39_pattern = std::array<char, 10>; // and a zero; empty for what is no character

struct code39_character {
    char character;
    code39_pattern pattern;
};

// clang-format off
constexpr code39_character code39_characters[] = {
    {'*', {"NwNnWnWnN"}}, {' ', {"NwWnNnWnN"}}, {'$', {"NwNwNwNnN"}}, {'%', {"NnNwNwNwN"}},
    {'+', {"NwNnNwNwN"}}, {'-', {"NwNnNnWnW"}}, {'.', {"WwNnNnWnN"}}, {'/', {"NwNwNnNwN"}},
    {'0', {"NnNwWnWnN"}}, {'1', {"WnNwNnNnW"}}, {'2', {"NnWwNnNnW"}}, {'3', {"WnWwNnNnN"}},
    {'4', {"NnNwWnNnW"}}, {'5', {"WnNwWnNnN"}}, {'6', {"NnWwWnNnN"}}, {'7', {"NnNwNnWnW"}},
    {'8', {"WnNwNnWnN"}}, {'9', {"NnWwNnWnN"}}, {'A', {"WnNnNwNnW"}}, {'B', {"NnWnNwNnW"}},
    {'C', {"WnWnNwNnN"}}, {'D', {"NnNnWwNnW"}}, {'E', {"WnNnWwNnN"}}, {'F', {"NnWnWwNnN"}},
    {'G', {"NnNnNwWnW"}}, {'H', {"WnNnNwWnN"}}, {'I', {"NnWnNwWnN"}}, {'J', {"NnNnWwWnN"}},
    {'K', {"WnNnNnNwW"}}, {'L', {"NnWnNnNwW"}}, {'M', {"WnWnNnNwN"}}, {'N', {"NnNnWnNwW"}},
    {'O', {"WnNnWnNwN"}}, {'P', {"NnWnWnNwN"}}, {'Q', {"NnNnNnWwW"}}, {'R', {"WnNnNnWwN"}},
    {'S', {"NnWnNnWwN"}}, {'T', {"NnNnWnWwN"}}, {'U', {"WwNnNnNnW"}}, {'V', {"NwWnNnNnW"}},
    {'W', {"WwWnNnNnN"}}, {'X', {"NwNnWnNnW"}}, {'Y', {"WwNnWnNnN"}}, {'Z', {"NwWnWnNnN"}},
};
// clang-format on

/// The asterisk starts and stops every barcode and is no data character.
constexpr code39_pattern code39_start_stop = code39_characters[0].pattern;

consteval bool is_code39_pattern(std::string_view pattern)
{
    int wide = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const std::string_view allowed = i % 2 == 0 ? "NW" : "nw";
        if (allowed.find(pattern[i]) == std::string_view::npos)
            return false;
        wide += pattern[i] == allowed[1];
    }
    return pattern.size() == 9 && wide == 3;
}

consteval bool all_are_code39_patterns()
{
    for (const auto &[character, pattern] : code39_characters)
        if (!is_code39_pattern(pattern.data()))
            return false;
    return true;
}
static_assert(all_are_code39_patterns());

/// Patterns by the byte value of a data character, small letters like capitals.
consteval std::array<code39_pattern, 256> index_code39()
{
    std::array<code39_pattern, 256> table{};
    for (const auto &[character, pattern] : code39_characters) {
        if (character == '*')
            continue;
        table[uint8_t(character)] = pattern;
        if (character >= 'A' && character <= 'Z')
            table[uint8_t(character - 'A' + 'a')] = pattern;
    }
    return table;
}
constexpr std::array<code39_pattern, 256> code39_table = index_code39();
