#include "platform/virtual/clock.h"

#include <chrono>
#include <string>

namespace {

using namespace std::chrono;
using Moment = time_point<system_clock, milliseconds>;

Moment MomentOf(const DateTime& t) {
  const sys_days day = year(t.year) / month(static_cast<unsigned>(t.month)) /
                       std::chrono::day(static_cast<unsigned>(t.day));
  return Moment(day) + hours(t.hour) + minutes(t.minute) + seconds(t.second) +
         milliseconds(t.millisecond);
}

}  // namespace

void VirtualClock::Sleep(std::uint32_t milliseconds) {
  JournalEntry entry;
  entry.op = Op::Sleep;
  entry.subject = std::to_string(milliseconds);
  entry.ok = true;
  journal_.Add(entry);
  elapsed_ += milliseconds;
}

DateTime VirtualClock::Now() noexcept {
  const Moment now = MomentOf(start) + milliseconds(static_cast<std::int64_t>(elapsed_));
  const sys_days today = floor<days>(now);
  const year_month_day date(today);
  const hh_mm_ss time(now - today);
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          static_cast<int>(time.hours().count()),
          static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count()),
          static_cast<int>(time.subseconds().count())};
}

std::uint64_t VirtualClock::FileTime() const {
  const Moment epoch = MomentOf({1601, 1, 1, 0, 0, 0, 0});
  const Moment now = MomentOf(start) + milliseconds(static_cast<std::int64_t>(elapsed_));
  return static_cast<std::uint64_t>((now - epoch).count()) * 10000;
}
