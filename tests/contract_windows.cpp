// The contract of the platform, on Windows: the one argument is an empty folder with its closing
// backslash. The exit code is the number of cases that don't hold.
#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <tuple>

#include "platform/win32/win32_platform.h"
#include "platform/win32/window/fonts.h"
#include "shell/window_design.h"
#include "tests/contract.h"

namespace {

// With the parts of the run-time library that the executables bring. The name of the case, if it
// doesn't hold.
const char* BrokenRunTime() {
  volatile std::size_t beyond = 2;
  try {
    (void)std::string("a").substr(beyond);
  } catch (const std::exception&) {
    try {
      (void)std::string().append("", ~std::size_t{0} - beyond);
    } catch (const std::exception&) {
      return nullptr;
    }
  }
  return "an error of the standard library arrives as one, also during another";
}

constexpr int kEndOfInput = 7;

// As a child of itself: what it reads, and whether what it writes goes anywhere.
int Ask() {
  return std::getchar() == EOF && std::puts("Well?") >= 0 && std::fflush(stdout) == 0 ? kEndOfInput
                                                                                      : 0;
}

// A question that a hidden child asks meets the end of its input.
bool HiddenChildrenHaveNoInput(Platform& p, const std::string& program) {
  const std::uint32_t child = p.processes->Shell("", "\"" + program + "\" ask", kWindowHidden);
  const Handle process = p.processes->OpenProcess(kProcessSynchronizeAndQuery, child);
  std::uint32_t code = 0;
  const bool ended = p.processes->WaitForSingleObject(process, 180000) == kWaitObject0 &&
                     p.processes->GetExitCodeProcess(process, code);
  std::ignore = p.devices->CloseHandle(process);
  p.processes->EndChild(child);
  return ended && code == kEndOfInput;
}

// The lines of a caption, broken where the next word is too far, and the width of the longest.
SIZE Wrapped(HDC canvas, std::wstring caption, int width) {
  std::erase(caption, L'&');
  SIZE whole{0, 0};
  for (std::size_t begin = 0, end = 0; begin < caption.size(); begin = end + 1) {
    SIZE line{}, longer{};
    for (std::size_t next = begin; next < caption.size(); ++next) {
      next = std::min(caption.find(L' ', next), caption.size());
      ::GetTextExtentPoint32W(canvas, &caption[begin], static_cast<int>(next - begin), &longer);
      if (line.cx != 0 && longer.cx > width) break;
      line = longer;
      end = next;
    }
    whole = {std::max(whole.cx, line.cx), whole.cy + line.cy};
  }
  return whole;
}

// Beside a check mark or an icon, and inside a button's edge. The name of a caption that is cut.
std::string CutCaption(const char* face, int dpi) {
  std::array<ControlDesign, kControlCount> controls;
  std::copy_n(kFormDesign.controls, kControlCount, controls.begin());
  for (ControlDesign& control : controls) control.fontName = face;
  FormDesign design = kFormDesign;
  design.controls = controls.data();
  std::string cut;
  for (const ControlDesign& control : controls) {
    if (control.caption == nullptr) continue;
    const int taken = control.hasIcon                         ? 25
                      : control.kind == ControlKind::CheckBox ? 16
                      : control.kind == ControlKind::Button   ? 6
                                                              : 0;
    const int width = (control.width - 15 * taken) * dpi / 1440;
    const HFONT font = FittingFont(design, control, dpi);
    const HDC canvas = ::CreateCompatibleDC(nullptr);
    ::SelectObject(canvas, font);
    const SIZE text = Wrapped(canvas, WideText(control.caption), width);
    if (text.cx > width || text.cy > (control.height + 30) * dpi / 1440) {
      cut += std::string(" ") + control.name;
    }
    ::DeleteDC(canvas);
    ::DeleteObject(font);
  }
  return cut;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 100;
  if (arguments[1] == std::string("ask")) return Ask();
  Platform platform = Win32Platform();
  int broken = 0;
  if (!HiddenChildrenHaveNoInput(platform, arguments[0])) {
    std::puts("HiddenChildrenHaveNoInput: the child waits for an answer");
    ++broken;
  }
  for (const ContractCase& contractCase : kContract) {
    const std::string wrong = RunCase(contractCase, platform, arguments[1]);
    std::printf("%s: %s\n", contractCase.name, wrong.empty() ? "ok" : wrong.c_str());
    if (!wrong.empty()) ++broken;
  }
  for (const char* face : {"MS Sans Serif", "DejaVu Sans"}) {
    for (const int dpi : {96, 144, 192}) {
      const std::string cut = CutCaption(face, dpi);
      std::printf("Captions in %s at %d dpi:%s\n", face, dpi, cut.empty() ? " ok" : cut.c_str());
      if (!cut.empty()) ++broken;
    }
  }
  if (const char* wrong = BrokenRunTime()) {
    std::printf("%s: no\n", wrong);
    ++broken;
  }
  return broken;
}
