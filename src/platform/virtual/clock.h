// A clock that moves only when somebody sleeps, waits for a child or, if so set, looks at the
// ticks.
//
// Does not model: time zones (UTC is local time), leap seconds.
#pragma once

#include <cstdint>

#include "platform/clock.h"
#include "platform/virtual/journal.h"

class VirtualClock : public Clock {
 public:
  explicit VirtualClock(Journal& journal) : journal_(journal) {}

  void Sleep(std::uint32_t milliseconds) override;
  DateTime Now() noexcept override;
  std::uint32_t GetTickCount() noexcept override {
    elapsed_ += betweenTicks;
    return static_cast<std::uint32_t>(elapsed_);
  }

  void Advance(std::uint64_t milliseconds) { elapsed_ += milliseconds; }
  std::uint64_t Elapsed() const { return elapsed_; }  // milliseconds since the start
  std::uint64_t FileTime() const;                     // now, as 100 ns since 1601

  // Milliseconds that the program needs from one look at the ticks to the next one.
  std::uint32_t betweenTicks = 0;
  DateTime start{2026, 1, 15, 10, 0, 0, 0};

 private:
  Journal& journal_;
  std::uint64_t elapsed_ = 0;
};
