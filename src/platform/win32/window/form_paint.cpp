// Colours, drawn rows and the pointer.
#include "platform/win32/window/dpi.h"
#include "platform/win32/window/form_window.h"

namespace {

COLORREF ColourOf(const Rgb& colour) {
  return RGB(colour.red, colour.green, colour.blue);
}

// The user has chosen the colours, and ours might not be seen among them.
bool HighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return ::SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

HCURSOR SystemCursor(LPWSTR id) {
  return ::LoadCursorW(nullptr, id);
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
      ::DefWindowProcW(frame_, message, wParam, reinterpret_cast<LPARAM>(control));
  const ControlDesign* design = DesignOf(control);
  if (design == nullptr || design->textColour == nullptr || HighContrast()) return usual;
  const auto canvas = reinterpret_cast<HDC>(wParam);
  ::SetTextColor(canvas, ColourOf(*design->textColour));
  ::SetBkColor(canvas, ::GetSysColor(COLOR_BTNFACE));
  return reinterpret_cast<LRESULT>(::GetSysColorBrush(COLOR_BTNFACE));
}

void FormWindow::DrawRow(const DRAWITEMSTRUCT& item) {
  const ControlDesign* design = DesignOf(item.hwndItem);
  if (design == nullptr) return;
  // The closed field keeps its colour and shows the focus by a frame.
  const bool selected = (item.itemState & (ODS_SELECTED | ODS_COMBOBOXEDIT)) == ODS_SELECTED;
  const HBRUSH own = HighContrast() ? nullptr : parts_[Index(design->id)].back;
  COLORREF text = ::GetSysColor(COLOR_WINDOWTEXT);
  if (selected) {
    text = ::GetSysColor(COLOR_HIGHLIGHTTEXT);
  } else if (own != nullptr) {
    text = RGB(0, 0, 0);  // on a colour of ours: a light system colour couldn't be read
  }
  const HBRUSH plain = own != nullptr ? own : ::GetSysColorBrush(COLOR_WINDOW);
  ::FillRect(item.hDC, &item.rcItem, selected ? ::GetSysColorBrush(COLOR_HIGHLIGHT) : plain);
  if (item.itemID != static_cast<UINT>(-1)) {
    std::wstring row(
        static_cast<std::size_t>(::SendMessageW(item.hwndItem, CB_GETLBTEXTLEN, item.itemID, 0)),
        L'\0');
    ::SendMessageW(item.hwndItem, CB_GETLBTEXT, item.itemID, reinterpret_cast<LPARAM>(row.data()));
    RECT place = item.rcItem;
    place.left += ScaledPixels(3, dpi_);
    ::SetBkMode(item.hDC, TRANSPARENT);
    ::SetTextColor(item.hDC, text);
    ::DrawTextW(item.hDC, row.c_str(), -1, &place,
                DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  }
  if ((item.itemState & ODS_FOCUS) != 0) ::DrawFocusRect(item.hDC, &item.rcItem);
}

// A button with an icon: the system has drawn its face, the icon goes to the left and the caption
// into the room beside it. (Handing the icon to the control breaks the lines of a long caption
// differently on each version.) Without themes no face is announced, and the icon is left out.
LRESULT FormWindow::DrawButton(const NMCUSTOMDRAW& item) {
  const ControlDesign* design = DesignOf(item.hdr.hwndFrom);
  if (design == nullptr || item.dwDrawStage != CDDS_PREPAINT) return CDRF_DODEFAULT;
  const Part& part = parts_[Index(design->id)];
  if (part.icon == nullptr) return CDRF_DODEFAULT;
  const int icon = ScaledPixels(kButtonIconSize, dpi_), gap = ScaledPixels(6, dpi_);
  const RECT face = item.rc;
  ::DrawIconEx(item.hdc, face.left + gap, (face.top + face.bottom - icon) / 2, part.icon, icon,
               icon, 0, nullptr, DI_NORMAL);

  const auto cues = ::SendMessageW(item.hdr.hwndFrom, WM_QUERYUISTATE, 0, 0);
  const UINT style = DT_CENTER | DT_WORDBREAK | ((cues & UISF_HIDEACCEL) != 0 ? DT_HIDEPREFIX : 0u);
  RECT room{face.left + gap + icon + gap / 2, face.top, face.right - gap / 2, face.bottom};
  RECT text = room;
  const std::wstring caption = WideText(design->caption);
  const HGDIOBJ before = ::SelectObject(item.hdc, font_);
  ::DrawTextW(item.hdc, caption.c_str(), -1, &text, style | DT_CALCRECT);
  room.top += (face.bottom - face.top - (text.bottom - text.top)) / 2;
  const bool disabled = (item.uItemState & CDIS_DISABLED) != 0;
  ::SetBkMode(item.hdc, TRANSPARENT);
  ::SetTextColor(item.hdc, ::GetSysColor(disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT));
  ::DrawTextW(item.hdc, caption.c_str(), -1, &room, style);
  ::SelectObject(item.hdc, before);
  if ((item.uItemState & CDIS_FOCUS) != 0 && (cues & UISF_HIDEFOCUS) == 0) {
    RECT frame = face;
    ::InflateRect(&frame, -ScaledPixels(3, dpi_), -ScaledPixels(3, dpi_));
    ::DrawFocusRect(item.hdc, &frame);
  }
  return CDRF_SKIPDEFAULT;
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
  if (!busy || hourglassShown_) return;
  hourglassShown_ = true;
  ::SetCursor(SystemCursor(IDC_WAIT));
}

SIZE FormWindow::TextPixels(const std::string& text) const {
  SIZE size{};
  const std::wstring wide = WideText(text);
  ::GetTextExtentPoint32W(measure_, wide.data(), static_cast<int>(wide.size()), &size);
  if (wide.empty()) {
    TEXTMETRICW metric{};
    ::GetTextMetricsW(measure_, &metric);
    size.cy = metric.tmHeight;
  }
  return size;
}
