// How the controls are made, sized and given their fonts.
#include "platform/win32/window/dpi.h"
#include "platform/win32/window/fonts.h"
#include "platform/win32/window/form_window.h"
#include "platform/win32/window/resource_ids.h"

namespace {

constexpr int kFirstControlId = 100;  // clear of IDOK and IDCANCEL
constexpr int kDropDownRows = 12;
constexpr int kExtentMargin = 6;  // at 96 dpi, beyond a list's longest row

struct WindowKind {
  const wchar_t* className;
  DWORD style;
  DWORD extendedStyle;
};

WindowKind KindOf(const ControlDesign& design) {
  switch (design.kind) {
    case ControlKind::DropDownList:
      // Drawn by the owner: a themed drop-down list ignores its background colour.
      return {WC_COMBOBOXW,
              WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED | CBS_HASSTRINGS |
                  (design.sorted ? CBS_SORT : 0ul),
              0};
    case ControlKind::CheckBox:
      return {WC_BUTTONW, WS_TABSTOP | BS_AUTOCHECKBOX | BS_MULTILINE, 0};
    case ControlKind::Button:
      return {WC_BUTTONW, WS_TABSTOP | BS_PUSHBUTTON | BS_MULTILINE, 0};
    case ControlKind::Label:
      return {WC_STATICW, SS_NOTIFY | SS_NOPREFIX | (design.centred ? DWORD{SS_CENTER} : 0ul), 0};
    case ControlKind::ListBox:
      return {WC_LISTBOXW,
              WS_TABSTOP | WS_HSCROLL | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT |
                  (design.sorted ? LBS_SORT : 0ul),
              WS_EX_CLIENTEDGE};
    case ControlKind::DriveSelector:
      break;
  }
  return {};
}

void Replace(HFONT& font, HFONT by) {
  if (font != nullptr) ::DeleteObject(font);
  font = by;
}

}  // namespace

void FormWindow::MakeControl(const ControlDesign& design) {
  const WindowKind kind = KindOf(design);
  if (kind.className == nullptr) return;
  // Screen readers call a list by the static text in front of it in tab order, seen or not.
  if (design.spokenName != nullptr) {
    ::CreateWindowExW(0, WC_STATICW, WideText(design.spokenName).c_str(), WS_CHILD | SS_NOPREFIX, 0,
                      0, 0, 0, frame_, nullptr, ::GetModuleHandleW(nullptr), nullptr);
  }
  Part& part = parts_[Index(design.id)];
  const auto id = static_cast<INT_PTR>(kFirstControlId + Index(design.id));
  part.window =
      ::CreateWindowExW(kind.extendedStyle, kind.className,
                        design.caption != nullptr ? WideText(design.caption).c_str() : L"",
                        WS_CHILD | (design.visible ? WS_VISIBLE : 0ul) | kind.style, 0, 0, 0, 0,
                        frame_, reinterpret_cast<HMENU>(id), ::GetModuleHandleW(nullptr), nullptr);
  if (design.backColour != nullptr) {
    const Rgb& back = *design.backColour;
    part.back = ::CreateSolidBrush(RGB(back.red, back.green, back.blue));
  }
  if (design.ticked) ::SendMessageW(part.window, BM_SETCHECK, BST_CHECKED, 0);
  if (design.toolTip != nullptr) AddToolTip(part.window, design.toolTip);
}

void FormWindow::AddToolTip(HWND control, const char* text) {
  if (tips_ == nullptr) {
    tips_ = ::CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP, 0,
                              0, 0, 0, frame_, nullptr, ::GetModuleHandleW(nullptr), nullptr);
  }
  std::wstring words = WideText(text);
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V2_SIZE;  // that of common controls 5, which refuse a larger one
  tool.uFlags = TTF_IDISHWND;
  tool.hwnd = frame_;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = words.data();
  ::SendMessageW(tips_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void FormWindow::LayOut() {
  const HFONT font = FittingFont(*design_, {}, dpi_);
  if (measure_ == nullptr) measure_ = ::CreateCompatibleDC(nullptr);
  ::SelectObject(measure_, font);  // before the old one goes
  Replace(font_, font);
  for (std::size_t i = 0; i < kControlCount; ++i) LayOutControl(design_->controls[i]);
  SetClientSize(PixelsOf(design_->clientWidth, dpi_), PixelsOf(design_->clientHeight, dpi_));
}

void FormWindow::LayOutControl(const ControlDesign& design) {
  Part& part = parts_[Index(design.id)];
  if (part.window == nullptr) return;
  const bool own = design.fontName != nullptr || design.bold || design.italic || design.underlined;
  Replace(part.font, own ? FittingFont(*design_, design, dpi_) : nullptr);
  const HFONT font = own ? part.font : font_;
  ::SendMessageW(part.window, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);

  const int left = PixelsOf(design.left, dpi_);
  const int top = PixelsOf(design.top, dpi_);
  const int width = PixelsOf(design.left + design.width, dpi_) - left;
  int height = PixelsOf(design.top + design.height, dpi_) - top;
  if (design.kind == ControlKind::DropDownList) {
    // The window's height is that of the opened list; the closed field follows its row's height.
    const int row = TextPixels("").cy + ScaledPixels(2, dpi_);
    ::SendMessageW(part.window, CB_SETITEMHEIGHT, 0, row);
    RECT field;
    ::SetWindowPos(part.window, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    ::GetWindowRect(part.window, &field);
    const auto inner = ::SendMessageW(part.window, CB_GETITEMHEIGHT, static_cast<WPARAM>(-1), 0);
    ::SendMessageW(part.window, CB_SETITEMHEIGHT, static_cast<WPARAM>(-1),
                   inner + height - (field.bottom - field.top));
    height += kDropDownRows * row;
  }
  ::SetWindowPos(part.window, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
  if (design.hasIcon) LoadButtonIcon(part);
}

void FormWindow::LoadButtonIcon(Part& part) const {
  const int size = ScaledPixels(kButtonIconSize, dpi_);
  if (part.icon != nullptr) ::DestroyIcon(part.icon);
  part.icon =
      static_cast<HICON>(::LoadImageW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(ICON_RESTORE),
                                      IMAGE_ICON, size, size, LR_DEFAULTCOLOR));
}

void FormWindow::SetClientSize(int width, int height) {
  // Measured, not computed: how thick a frame is depends on the density in ways that changed
  // between the versions of Windows.
  RECT outer, client;
  ::GetWindowRect(frame_, &outer);
  ::GetClientRect(frame_, &client);
  ::SetWindowPos(frame_, nullptr, 0, 0, width + outer.right - outer.left - client.right,
                 height + outer.bottom - outer.top - client.bottom,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void FormWindow::ChangeDpi(int dpi, const RECT& place) {
  const Quiet quiet(*this);
  dpi_ = dpi;
  ::SetWindowPos(frame_, nullptr, place.left, place.top, place.right - place.left,
                 place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
  LayOut();
  FitHorizontalExtent(Of(Control::List1));
  ::InvalidateRect(frame_, nullptr, TRUE);
}

// The rows are measured anew, since a font doesn't grow just as the density does. A list scrolls
// only if its extent is beyond its width.
void FormWindow::FitHorizontalExtent(HWND list) const {
  LONG widest = 0;
  const auto rows = static_cast<int>(::SendMessageW(list, LB_GETCOUNT, 0, 0));
  for (int row = 0; row < rows; ++row) {
    const auto length = ::SendMessageW(list, LB_GETTEXTLEN, static_cast<WPARAM>(row), 0);
    std::wstring text(static_cast<std::size_t>(length > 0 ? length : 0) + 1, L'\0');
    ::SendMessageW(list, LB_GETTEXT, static_cast<WPARAM>(row),
                   reinterpret_cast<LPARAM>(text.data()));
    SIZE size{};
    ::GetTextExtentPoint32W(measure_, text.data(), static_cast<int>(text.size()) - 1, &size);
    if (size.cx > widest) widest = size.cx;
  }
  const int extent = widest + ScaledPixels(kExtentMargin, dpi_);
  ::SendMessageW(list, LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(extent), 0);
}

float FormWindow::OuterTwips(bool vertical) const {
  RECT client{};
  ::GetClientRect(frame_, &client);
  const float inner = TwipsOf(vertical ? client.bottom : client.right, dpi_);
  return inner + static_cast<float>(vertical ? frameTwips_.cy : frameTwips_.cx);
}

void FormWindow::SetOuterTwips(bool vertical, float twips) {
  RECT client{};
  ::GetClientRect(frame_, &client);
  const auto frame = static_cast<float>(vertical ? frameTwips_.cy : frameTwips_.cx);
  const int pixels = PixelsOf(twips - frame, dpi_);
  (vertical ? client.bottom : client.right) = pixels;
  SetClientSize(client.right, client.bottom);
}
