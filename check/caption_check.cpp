#include <algorithm>
#include <array>
#include <string>

#include "check/checks.h"
#include "platform/win32/window/fonts.h"
#include "shell/window_design.h"
#include "text/text.h"
#include "text/wide_text.h"

namespace {

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

void CheckCaptions(Findings& findings) {
  for (const char* face : {"MS Sans Serif", "DejaVu Sans"}) {
    for (const int dpi : {96, 144, 192}) {
      const std::string what = std::string(face) + " at " + Decimal(dpi) + " dpi";
      findings.Try("captions, " + what, [&] {
        const std::string cut = CutCaption(face, dpi);
        Require(cut.empty(), "these are cut:" + cut);
      });
    }
  }
}
