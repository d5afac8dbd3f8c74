#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"
#include "platform/win32/window/dpi.h"
#include "platform/win32/window/draw_only.h"
#include "platform/win32/window/form_window.h"
#include "platform/win32/window/input_box.h"
#include "platform/win32/window/press_hook.h"

namespace {

// The messages of the two kinds of list, which differ in name only.
struct ListMessages {
  UINT clear, count, text, textLength, selection, select;
};

const ListMessages& MessagesOf(Control list) {
  static constexpr ListMessages kCombo{CB_RESETCONTENT, CB_GETCOUNT,  CB_GETLBTEXT,
                                       CB_GETLBTEXTLEN, CB_GETCURSEL, CB_SETCURSEL};
  static constexpr ListMessages kList{LB_RESETCONTENT, LB_GETCOUNT,  LB_GETTEXT,
                                      LB_GETTEXTLEN,   LB_GETCURSEL, LB_SETCURSEL};
  return FormWindow::IsDropDown(list) ? kCombo : kList;
}

// The handle that boxes are owned by; none before the window is on the screen.
HWND Owner() {
  return TheForm.IsOpen() && ::IsWindowVisible(TheForm.Frame()) ? TheForm.Frame() : nullptr;
}

UINT StyleOf(const Box& box) {
  UINT style = Owner() == nullptr ? MB_SETFOREGROUND : 0u;
  switch (box.buttons) {
    case Buttons::Ok:
      style |= MB_OK;
      break;
    case Buttons::OkCancel:
      style |= MB_OKCANCEL;
      break;
    case Buttons::YesNoCancel:
      style |= MB_YESNOCANCEL;
      break;
  }
  switch (box.icon) {
    case Icon::None:
      return style;
    case Icon::Stop:
      return style | MB_ICONHAND;
    case Icon::Exclamation:
      return style | MB_ICONEXCLAMATION;
    case Icon::Information:
      return style | MB_ICONINFORMATION;
  }
  return style;
}

SIZE ScreenPixels() {
  MONITORINFO info{};
  info.cbSize = sizeof info;
  ::GetMonitorInfoW(::MonitorFromWindow(TheForm.Frame(), MONITOR_DEFAULTTOPRIMARY), &info);
  return {info.rcMonitor.right - info.rcMonitor.left, info.rcMonitor.bottom - info.rcMonitor.top};
}

class RealToolkit final : public Toolkit {
 public:
  void CreateForm(const FormDesign& design, void (*handler)(UserEvent)) noexcept override {
    TheForm.Create(design, handler);
  }

  void ShowForm() noexcept override {
    const FormWindow::Quiet quiet(TheForm);
    ::ShowWindow(TheForm.Frame(), SW_SHOWNORMAL);
    // A shortcut's wish to have it maximised goes before what the program asks for.
    if (::IsZoomed(TheForm.Frame())) ::ShowWindow(TheForm.Frame(), SW_RESTORE);
    ::SetForegroundWindow(TheForm.Frame());
    ::UpdateWindow(TheForm.Frame());
  }

  void UnloadForm() noexcept override { TheForm.Destroy(); }

  void RunEventLoop() override {
    MSG message;
    TheForm.ShowRows();
    while (TheForm.IsOpen() && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
      TheForm.HandOut(message);
      TheForm.HandOutLateClose();
      TheForm.ShowRows();
    }
  }

  void SetCaption(const std::string& caption) noexcept override {
    ::SetWindowTextW(TheForm.Frame(), WideText(caption).c_str());
  }

  float FormHeight() noexcept override { return TheForm.OuterTwips(true); }
  float FormWidth() noexcept override { return TheForm.OuterTwips(false); }

  void SetFormHeight(float twips) noexcept override {
    const FormWindow::Quiet quiet(TheForm);
    TheForm.SetOuterTwips(true, twips);
  }

  void SetFormWidth(float twips) noexcept override {
    const FormWindow::Quiet quiet(TheForm);
    TheForm.SetOuterTwips(false, twips);
  }

  void MoveForm(float left, float top) noexcept override {
    const FormWindow::Quiet quiet(TheForm);
    ::SetWindowPos(TheForm.Frame(), nullptr, PixelsOf(left, TheForm.Dpi()),
                   PixelsOf(top, TheForm.Dpi()), 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  float ScreenHeight() noexcept override { return TwipsOf(ScreenPixels().cy, TheForm.Dpi()); }
  float ScreenWidth() noexcept override { return TwipsOf(ScreenPixels().cx, TheForm.Dpi()); }
  bool IsMinimised() noexcept override { return ::IsIconic(TheForm.Frame()) != FALSE; }

  void SetVisible(Control control, bool visible) noexcept override {
    TheForm.SetVisible(control, visible);
  }
  void SetEnabled(Control control, bool enabled) noexcept override {
    TheForm.SetEnabled(control, enabled);
  }

  bool IsTicked(Control checkBox) noexcept override {
    return Send(checkBox, BM_GETCHECK, 0, 0) == BST_CHECKED;
  }

  void SetTicked(Control checkBox, bool ticked) noexcept override {
    Send(checkBox, BM_SETCHECK, ticked ? BST_CHECKED : BST_UNCHECKED, 0);
  }

  void ClearItems(Control list) noexcept override { Send(list, MessagesOf(list).clear, 0, 0); }

  void AddItem(Control list, const std::string& text) noexcept override {
    const FormWindow::Quiet quiet(TheForm);
    TheForm.AddRow(list, text);
  }

  int ItemCount(Control list) noexcept override {
    return static_cast<int>(Send(list, MessagesOf(list).count, 0, 0));
  }

  std::string ItemText(Control list, int row) noexcept override {
    const ListMessages& messages = MessagesOf(list);
    const auto index = static_cast<WPARAM>(row);
    const FormWindow::Quiet quiet(TheForm);
    const HWND window = TheForm.Of(list);
    const LRESULT length = ::SendMessageW(window, messages.textLength, index, 0);
    if (length <= 0) return "";
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    const LRESULT count =
        ::SendMessageW(window, messages.text, index, reinterpret_cast<LPARAM>(text.data()));
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return NarrowText(text);
  }

  int ListIndex(Control list) noexcept override {
    return static_cast<int>(Send(list, MessagesOf(list).selection, 0, 0));
  }

  void SetListIndex(Control list, int row) noexcept override {
    Send(list, MessagesOf(list).select, static_cast<WPARAM>(row), 0);
  }

  void SendMessage(Control control, std::uint32_t message, std::intptr_t wParam) noexcept override {
    Send(control, message, static_cast<WPARAM>(wParam), 0);
  }

  float TwipsPerPixelX() noexcept override { return TwipsOf(1, TheForm.Dpi()); }

  float TextWidth(const std::string& text) noexcept override {
    return TwipsOf(TheForm.TextPixels(text).cx, TheForm.Dpi());
  }

  void DropInput() noexcept override { DropQueuedPresses(); }

  Answer MsgBox(const Box& box, PressFilter& filter) override {
    const FormWindow::Modal modal(TheForm);
    TheForm.ShowRows();
    const PressHook hook(filter);
    switch (::MessageBoxW(Owner(), WideText(box.text).c_str(), WideText(box.title).c_str(),
                          StyleOf(box))) {
      case IDYES:
        return Answer::Yes;
      case IDNO:
        return Answer::No;
      case IDOK:
        return Answer::Ok;
      default:  // Cancel, Escape, a box that couldn't be shown
        return box.buttons == Buttons::Ok ? Answer::Ok : Answer::Cancel;
    }
  }

  std::string InputBox(const InputQuestion& question, PressFilter& filter) override {
    const FormWindow::Modal modal(TheForm);
    TheForm.ShowRows();
    const PressHook hook(filter);
    return AskForText(question, Owner(), TheForm.Font(), TheForm.Dpi());
  }

  void MousePointer(Pointer pointer) noexcept override {
    TheForm.SetBusy(pointer == Pointer::Hourglass);
  }

  void DoEvents() override {
    MSG message;
    TheForm.ShowRows();
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) {
        ::PostQuitMessage(static_cast<int>(message.wParam));
        break;
      }
      TheForm.HandOut(message);
    }
    TheForm.HandOutLateClose();
  }

  void Repaint() noexcept override { DrawOnly(); }

 private:
  static LRESULT Send(Control control, UINT message, WPARAM wParam, LPARAM lParam) {
    const FormWindow::Quiet quiet(TheForm);
    return ::SendMessageW(TheForm.Of(control), message, wParam, lParam);
  }
};

}  // namespace

Toolkit* Win32Toolkit() {
  static RealToolkit toolkit;
  return &toolkit;
}
