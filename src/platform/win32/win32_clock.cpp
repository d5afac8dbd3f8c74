#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

class RealClock final : public Clock {
 public:
  void Sleep(std::uint32_t milliseconds) override { ::Sleep(milliseconds); }

  DateTime Now() noexcept override {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return {now.wYear,   now.wMonth,  now.wDay,         now.wHour,
            now.wMinute, now.wSecond, now.wMilliseconds};
  }

  std::uint32_t GetTickCount() noexcept override { return ::GetTickCount(); }
};

}  // namespace

Clock* Win32Clock() {
  static RealClock clock;
  return &clock;
}
