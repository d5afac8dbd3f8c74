#include "platform/win32/window/dpi.h"

namespace {

constexpr int kTwipsPerInch = 1440;

int SystemDpi() {
  const HDC screen = ::GetDC(nullptr);
  const int dpi = ::GetDeviceCaps(screen, LOGPIXELSX);
  ::ReleaseDC(nullptr, screen);
  return dpi;
}

// Windows 8.1 and early 10. The library is loaded already if the system read the manifest's
// setting.
int DpiOfMonitor(HWND window) {
  using GetDpiForMonitorFunction = HRESULT(WINAPI*)(HMONITOR, int, UINT*, UINT*);
  const auto getDpiForMonitor = LookUp<GetDpiForMonitorFunction>(L"shcore.dll", "GetDpiForMonitor");
  UINT x = 0, y = 0;
  const HMONITOR monitor = ::MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST);
  if (getDpiForMonitor == nullptr || getDpiForMonitor(monitor, 0, &x, &y) != S_OK) return 0;
  return static_cast<int>(x);
}

}  // namespace

int DpiOfWindow(HWND window) {
  using GetDpiForWindowFunction = UINT(WINAPI*)(HWND);
  const auto getDpiForWindow = LookUp<GetDpiForWindowFunction>(L"user32.dll", "GetDpiForWindow");
  int dpi = getDpiForWindow != nullptr ? static_cast<int>(getDpiForWindow(window)) : 0;
  if (dpi == 0) dpi = DpiOfMonitor(window);
  return dpi != 0 ? dpi : SystemDpi();
}

int PixelsOf(double twips, int dpi) {
  const double pixels = twips * dpi / kTwipsPerInch;
  return static_cast<int>(pixels < 0 ? pixels - 0.5 : pixels + 0.5);
}

float TwipsOf(int pixels, int dpi) {
  return static_cast<float>(pixels) * static_cast<float>(kTwipsPerInch) / static_cast<float>(dpi);
}

int ScaledPixels(int pixelsAt96, int dpi) {
  return ::MulDiv(pixelsAt96, dpi, 96);
}
