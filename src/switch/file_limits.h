// What a file's place and length must be for a table entry to hold them. Each check says in a
// box what it refuses, and returns false.
#pragma once

#include <cstdint>
#include <string>

constexpr std::size_t kHexDigitsOf32Bits = 8;  // the most that an entry can hold
constexpr std::int64_t kSmallest = 32;         // sectors: no partition starts or ends below

// Of the file measured last, in sectors.
bool StartIsAtLeast(std::int64_t smallest);
bool LengthIsAtLeast(std::int64_t smallest);

// start is the file's, in hexadecimal digits.
bool LiesWithin2TB(const std::string& file, const std::string& start);

// file is the one measured last.
bool IsShorterThan2TB(const std::string& file);
