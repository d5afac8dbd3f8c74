#include "platform/win32/window/fonts.h"

#include <algorithm>
#include <string_view>

#include "platform/win32/window/dpi.h"

namespace {

// The outline font with the measures of the bitmap font "MS Sans Serif", which exists in the sizes
// of a 96 dpi screen only. Windows PE and Wine lack it and take another, mostly a wider one.
constexpr const wchar_t* kWindowFont = L"Microsoft Sans Serif";
constexpr std::string_view kBitmapFont = "MS Sans Serif";

constexpr const wchar_t* kOtherFaces[] = {L"Tahoma", L"Arial", L"DejaVu Sans Condensed"};
constexpr int kSizes[] = {825, 775, 725, 675, 625};  // hundredths of a point, the design's first

std::string_view FaceOf(const ControlDesign& design) {
  return design.fontName != nullptr ? design.fontName : kBitmapFont;
}

bool LookAlike(const ControlDesign& one, const ControlDesign& other) {
  return FaceOf(one) == FaceOf(other) && one.bold == other.bold && one.italic == other.italic &&
         one.underlined == other.underlined;
}

HFONT MakeFont(const wchar_t* face, int size, const ControlDesign& look, int dpi) {
  return ::CreateFontW(-::MulDiv(size, dpi, 7200), 0, 0, 0, look.bold ? FW_BOLD : FW_NORMAL,
                       look.italic, look.underlined, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, face);
}

// What a control of 96 dpi keeps of its width for other things than the caption.
int TakenOfWidth(const ControlDesign& design) {
  if (design.kind == ControlKind::CheckBox) return 18;  // the box and the gap beside it
  if (design.kind != ControlKind::Button) return 0;
  return design.hasIcon ? 28 : 8;
}

bool CaptionFits(HDC canvas, const ControlDesign& design, int dpi) {
  if (design.caption == nullptr) return true;
  const int width = PixelsOf(design.width, dpi) - ScaledPixels(TakenOfWidth(design), dpi);
  RECT text{0, 0, width, 0};
  ::DrawTextW(canvas, WideText(design.caption).c_str(), -1, &text, DT_CALCRECT | DT_WORDBREAK);
  // Rounding may take a pixel of a line's height, which is white.
  return text.right <= width && text.bottom <= PixelsOf(design.height, dpi) + ScaledPixels(1, dpi);
}

bool AllFit(const FormDesign& form, const ControlDesign& look, HFONT font, int dpi) {
  const HDC canvas = ::CreateCompatibleDC(nullptr);
  const HGDIOBJ before = ::SelectObject(canvas, font);
  const bool fit = std::all_of(form.controls, form.controls + kControlCount, [&](const auto& one) {
    return !LookAlike(one, look) || CaptionFits(canvas, one, dpi);
  });
  ::SelectObject(canvas, before);
  ::DeleteDC(canvas);
  return fit;
}

}  // namespace

HFONT FittingFont(const FormDesign& form, const ControlDesign& look, int dpi) {
  const std::wstring own = FaceOf(look) == kBitmapFont ? kWindowFont : WideText(FaceOf(look));
  const wchar_t* const faces[] = {own.c_str(), kOtherFaces[0], kOtherFaces[1], kOtherFaces[2]};
  HFONT font = nullptr;
  for (const int size : kSizes) {
    for (const wchar_t* face : faces) {
      if (font != nullptr) ::DeleteObject(font);
      font = MakeFont(face, size, look, dpi);
      if (AllFit(form, look, font, dpi)) return font;
    }
  }
  return font;
}
