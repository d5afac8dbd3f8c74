// Time.
#pragma once

#include <cstdint>

// Local date and time.
struct DateTime {
  int year = 0, month = 0, day = 0;  // month and day from 1
  int hour = 0, minute = 0, second = 0, millisecond = 0;
};

class Clock {
 public:
  virtual ~Clock() = default;
  virtual void Sleep(std::uint32_t milliseconds) = 0;  // blocks the thread
  [[nodiscard]] virtual DateTime Now() noexcept = 0;
  // Milliseconds from some start, modulo 2^32.
  [[nodiscard]] virtual std::uint32_t GetTickCount() noexcept = 0;
};
