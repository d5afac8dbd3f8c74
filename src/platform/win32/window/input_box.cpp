#include "platform/win32/window/input_box.h"

#include "platform/win32/win32_headers.h"
#include "platform/win32/window/dpi.h"

namespace {

constexpr int kFieldId = 100;

// A dialog template without controls; they are made when it opens, sized by the text.
struct alignas(4) EmptyDialog {
  DLGTEMPLATE head;
  WORD menu, windowClass, title;
};

struct InputBox {
  const InputQuestion& text;
  HFONT font;
  int dpi;
  std::string answer;

  [[nodiscard]] int Scaled(int pixels) const { return ScaledPixels(pixels, dpi); }
};

// The size of the prompt with its own line breaks, and wrapped at a comfortable width.
SIZE MeasurePrompt(HWND dialog, const InputBox& box) {
  const HDC screen = ::GetDC(dialog);
  const HGDIOBJ before = ::SelectObject(screen, box.font);
  RECT area{0, 0, box.Scaled(400), 0};
  ::DrawTextW(screen, WideText(box.text.prompt).c_str(), -1, &area,
              DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
  ::SelectObject(screen, before);
  ::ReleaseDC(dialog, screen);
  return {area.right, area.bottom};
}

struct PartOfBox {
  const wchar_t* className;
  const wchar_t* text;
  DWORD style, extendedStyle;
  int id;
  RECT place;  // left, top, width, height
};

HWND Add(HWND dialog, const InputBox& box, const PartOfBox& part) {
  const HWND window = ::CreateWindowExW(
      part.extendedStyle, part.className, part.text, WS_CHILD | WS_VISIBLE | part.style,
      part.place.left, part.place.top, part.place.right, part.place.bottom, dialog,
      reinterpret_cast<HMENU>(static_cast<INT_PTR>(part.id)), ::GetModuleHandleW(nullptr), nullptr);
  ::SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(box.font), TRUE);
  return window;
}

// width and height are those of the client area. The frame is measured: it has the density of the
// screen that the box opened on, which no call of older systems computes.
void Centre(HWND dialog, HWND over, int width, int height) {
  RECT outer, client, around;
  ::SetWindowPos(dialog, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  ::GetWindowRect(dialog, &outer);
  ::GetClientRect(dialog, &client);
  ::GetWindowRect(over != nullptr ? over : ::GetDesktopWindow(), &around);
  const int outerWidth = width + outer.right - outer.left - client.right;
  const int outerHeight = height + outer.bottom - outer.top - client.bottom;
  ::SetWindowPos(dialog, nullptr, (around.left + around.right - outerWidth) / 2,
                 (around.top + around.bottom - outerHeight) / 2, outerWidth, outerHeight,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void Fill(HWND dialog, const InputBox& box) {
  const SIZE prompt = MeasurePrompt(dialog, box);
  const int margin = box.Scaled(11), buttonWidth = box.Scaled(75), buttonHeight = box.Scaled(23);
  const int fieldHeight = box.Scaled(21);
  const int width = prompt.cx > box.Scaled(280) ? prompt.cx : box.Scaled(280);
  const int fieldTop = margin + prompt.cy + margin;
  const int buttonTop = fieldTop + fieldHeight + margin;
  const int cancelLeft = margin + width - buttonWidth;
  const int okLeft = cancelLeft - buttonWidth - box.Scaled(7);

  Add(dialog, box,
      {L"STATIC",
       WideText(box.text.prompt).c_str(),
       SS_LEFT | SS_NOPREFIX,
       0,
       -1,
       {margin, margin, width, prompt.cy}});
  const HWND field = Add(dialog, box,
                         {L"EDIT",
                          WideText(box.text.initial).c_str(),
                          WS_TABSTOP | ES_AUTOHSCROLL,
                          WS_EX_CLIENTEDGE,
                          kFieldId,
                          {margin, fieldTop, width, fieldHeight}});
  Add(dialog, box,
      {L"BUTTON",
       L"OK",
       WS_TABSTOP | BS_DEFPUSHBUTTON,
       0,
       IDOK,
       {okLeft, buttonTop, buttonWidth, buttonHeight}});
  Add(dialog, box,
      {L"BUTTON",
       L"Cancel",
       WS_TABSTOP | BS_PUSHBUTTON,
       0,
       IDCANCEL,
       {cancelLeft, buttonTop, buttonWidth, buttonHeight}});
  ::SetWindowTextW(dialog, WideText(box.text.title).c_str());
  Centre(dialog, ::GetWindow(dialog, GW_OWNER), width + 2 * margin,
         buttonTop + buttonHeight + margin);
  ::SendMessageW(field, EM_SETSEL, 0, -1);
  ::SetFocus(field);
}

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    ::SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
    Fill(dialog, *reinterpret_cast<InputBox*>(lParam));
    return FALSE;  // the focus is set
  }
  if (message != WM_COMMAND) return FALSE;
  const WORD id = LOWORD(wParam);
  if (id != IDOK && id != IDCANCEL) return FALSE;
  auto& box = *reinterpret_cast<InputBox*>(::GetWindowLongPtrW(dialog, GWLP_USERDATA));
  if (id == IDOK) {
    const HWND field = ::GetDlgItem(dialog, kFieldId);
    std::wstring answer(static_cast<std::size_t>(::GetWindowTextLengthW(field)) + 1, L'\0');
    const int count = ::GetWindowTextW(field, answer.data(), static_cast<int>(answer.size()));
    box.answer = NarrowText({answer.data(), static_cast<std::size_t>(count)});
  }
  ::EndDialog(dialog, id);
  return TRUE;
}

}  // namespace

std::string AskForText(const InputQuestion& text, HWND owner, HFONT font, int dpi) {
  EmptyDialog empty{};
  empty.head.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
  if (owner == nullptr) empty.head.style |= DS_SETFOREGROUND;
  // Its own font: the window's is replaced when its density changes, even while this is open.
  LOGFONTW look{};
  ::GetObjectW(font, sizeof look, &look);
  InputBox box{text, ::CreateFontIndirectW(&look), dpi, ""};
  ::DialogBoxIndirectParamW(::GetModuleHandleW(nullptr), &empty.head, owner, Procedure,
                            reinterpret_cast<LPARAM>(&box));
  ::DeleteObject(box.font);
  return box.answer;
}
