#include "text/exact_integer.h"

ExactInteger ExactInteger::AppendHexDigit(int digit) const {
  ExactInteger result;
  result.high_ = static_cast<std::int64_t>(static_cast<std::uint64_t>(high_) << 4 | low_ >> 60);
  const std::uint64_t shifted = low_ << 4;
  const ExactInteger addend(digit);
  result.low_ = shifted + addend.low_;
  const std::uint64_t carry = result.low_ < shifted ? 1 : 0;
  result.high_ = static_cast<std::int64_t>(static_cast<std::uint64_t>(result.high_) +
                                           static_cast<std::uint64_t>(addend.high_) + carry);
  return result;
}

std::string ExactInteger::ToDecimal() const {
  std::uint64_t low = low_;
  std::uint64_t high = static_cast<std::uint64_t>(high_);
  const bool negative = high_ < 0;
  if (negative) {
    low = ~low + 1;
    high = ~high + (low == 0 ? 1 : 0);
  }
  // Long division by 10 over four 32-bit limbs, highest first.
  std::uint32_t limbs[4] = {static_cast<std::uint32_t>(high >> 32),
                            static_cast<std::uint32_t>(high), static_cast<std::uint32_t>(low >> 32),
                            static_cast<std::uint32_t>(low)};
  std::string digits;
  bool more = true;
  while (more) {
    std::uint64_t rest = 0;
    more = false;
    for (std::uint32_t& limb : limbs) {
      const std::uint64_t part = rest << 32 | limb;
      limb = static_cast<std::uint32_t>(part / 10);
      rest = part % 10;
      more = more || limb != 0;
    }
    digits.insert(digits.begin(), static_cast<char>('0' + rest));
  }
  return negative ? "-" + digits : digits;
}
