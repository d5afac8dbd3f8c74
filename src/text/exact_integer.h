// A whole number of 128 bits, two's complement: wide enough for 24 hexadecimal digits, which is
// what the extents tool's text may hold. (x86 has no such type of its own.)
#pragma once

#include <cstdint>
#include <string>

class ExactInteger {
 public:
  constexpr ExactInteger(std::int64_t value = 0)  // NOLINT: implicit from a plain number
      : high_(value < 0 ? -1 : 0), low_(static_cast<std::uint64_t>(value)) {}

  // This number x 16 + digit; digit may be negative.
  [[nodiscard]] ExactInteger AppendHexDigit(int digit) const;

  [[nodiscard]] bool operator==(const ExactInteger& other) const = default;
  [[nodiscard]] bool operator<(const ExactInteger& other) const {
    return high_ != other.high_ ? high_ < other.high_ : low_ < other.low_;
  }
  [[nodiscard]] bool operator>(const ExactInteger& other) const { return other < *this; }

  [[nodiscard]] std::string ToDecimal() const;

 private:
  std::int64_t high_;
  std::uint64_t low_;
};
