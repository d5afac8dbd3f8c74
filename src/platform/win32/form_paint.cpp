// Colours, drawn rows and the pointer.
#include "platform/win32/dpi.h"
#include "platform/win32/form_window.h"

namespace {

COLORREF ColourOf(const Rgb& colour) {
  return RGB(colour.red, colour.green, colour.blue);
}

HCURSOR SystemCursor(LPSTR id) {
  return ::LoadCursorA(nullptr, id);
}

}  // namespace

const ControlDesign* FormWindow::DesignOf(HWND control) const {
  if (control == nullptr) return nullptr;
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const ControlDesign& design = design_->controls[i];
    if (Of(design.id) == control) return &design;
  }
  return nullptr;
}

LRESULT FormWindow::Colour(UINT message, WPARAM wParam, HWND control) {
  const LRESULT usual =
      ::DefWindowProcA(frame_, message, wParam, reinterpret_cast<LPARAM>(control));
  const ControlDesign* design = DesignOf(control);
  if (design == nullptr || design->textColour == nullptr) return usual;
  const auto canvas = reinterpret_cast<HDC>(wParam);
  ::SetTextColor(canvas, ColourOf(*design->textColour));
  ::SetBkColor(canvas, ::GetSysColor(COLOR_BTNFACE));
  return reinterpret_cast<LRESULT>(::GetSysColorBrush(COLOR_BTNFACE));
}

void FormWindow::DrawRow(const DRAWITEMSTRUCT& item) {
  const ControlDesign* design = DesignOf(item.hwndItem);
  if (design == nullptr) return;
  const bool selected = (item.itemState & ODS_SELECTED) != 0;
  const HBRUSH own = parts_[Index(design->id)].back;
  COLORREF text = ::GetSysColor(COLOR_WINDOWTEXT);
  if (selected) {
    text = ::GetSysColor(COLOR_HIGHLIGHTTEXT);
  } else if (own != nullptr) {
    text = RGB(0, 0, 0);  // a colour of ours behind it: a light system colour couldn't be read
  }
  const HBRUSH plain = own != nullptr ? own : ::GetSysColorBrush(COLOR_WINDOW);
  ::FillRect(item.hDC, &item.rcItem, selected ? ::GetSysColorBrush(COLOR_HIGHLIGHT) : plain);
  if (item.itemID != static_cast<UINT>(-1)) {
    std::string row(
        static_cast<std::size_t>(::SendMessageA(item.hwndItem, CB_GETLBTEXTLEN, item.itemID, 0)),
        '\0');
    ::SendMessageA(item.hwndItem, CB_GETLBTEXT, item.itemID, reinterpret_cast<LPARAM>(row.data()));
    RECT place = item.rcItem;
    place.left += ScaledPixels(3, dpi_);
    ::SetBkMode(item.hDC, TRANSPARENT);
    ::SetTextColor(item.hDC, text);
    ::DrawTextA(item.hDC, row.c_str(), -1, &place,
                DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  }
  if ((item.itemState & ODS_FOCUS) != 0) ::DrawFocusRect(item.hDC, &item.rcItem);
}

bool FormWindow::ShowPointer(HWND under) const {
  if (busy_) {
    ::SetCursor(SystemCursor(IDC_WAIT));
    return true;
  }
  const ControlDesign* design = DesignOf(under);
  // An underlined label is a link.
  if (design == nullptr || design->kind != ControlKind::Label || !design->underlined) return false;
  ::SetCursor(SystemCursor(IDC_HAND));
  return true;
}

void FormWindow::SetBusy(bool busy) {
  busy_ = busy;
  ::SetCursor(SystemCursor(busy ? IDC_WAIT : IDC_ARROW));
}

SIZE FormWindow::TextPixels(const std::string& text) const {
  const HDC screen = ::GetDC(frame_);
  const HGDIOBJ before = ::SelectObject(screen, font_);
  SIZE size{};
  ::GetTextExtentPoint32A(screen, text.data(), static_cast<int>(text.size()), &size);
  TEXTMETRICA metric{};
  ::GetTextMetricsA(screen, &metric);
  size.cy = metric.tmHeight;
  ::SelectObject(screen, before);
  ::ReleaseDC(frame_, screen);
  return size;
}
