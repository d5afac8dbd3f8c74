// Form1 as a window: made from its design, laid out for the screen's density, and translating what
// a person does into user events.
#pragma once

#include <array>
#include <string>

#include "platform/toolkit.h"
#include "platform/win32/win32_headers.h"
// Needs win32_headers.h before it.
#include <commctrl.h>

class FormWindow {
 public:
  void Create(const FormDesign& design, void (*handler)(UserEvent));
  void Destroy();

  [[nodiscard]] bool IsOpen() const { return frame_ != nullptr; }
  [[nodiscard]] HWND Frame() const { return frame_; }
  [[nodiscard]] HWND Of(Control control) const { return parts_[Index(control)].window; }
  [[nodiscard]] static bool IsDropDown(Control control) { return control == Control::Combo1; }
  [[nodiscard]] int Dpi() const { return dpi_; }
  [[nodiscard]] HFONT Font() const { return font_; }
  // The size of a text in the window's font; an empty text has the height of a line.
  [[nodiscard]] SIZE TextPixels(const std::string& text) const;

  // The window's outer size in twips. It is the client area plus the frame as it was at creation,
  // so that a size taken once still fits the controls on a screen with another density.
  [[nodiscard]] float OuterTwips(bool vertical) const;
  void SetOuterTwips(bool vertical, float twips);

  // The hourglass is shown at once; the default pointer, like the rows below, only when events are
  // handed out or a box opens. A search turns it twice in each folder.
  void SetBusy(bool busy);
  // Hides or disables a control; the focus moves on if it stood there.
  void SetVisible(Control control, bool visible);
  void SetEnabled(Control control, bool enabled);

  // Adds a row to a list. The list is drawn anew only when events are handed out or a box opens
  // (ShowRows): drawn row by row, ten thousand rows take minutes.
  void AddRow(Control list, const std::string& text);
  void ShowRows();

  // Hands out one message of the queue, with the keys of a dialog.
  void HandOut(MSG& message);
  // Hands out a close that arrived while a Modal lived.
  void HandOutLateClose();

  // While one lives, nothing that happens to the window raises an event.
  class Quiet {
   public:
    explicit Quiet(FormWindow& form) : form_(form) { ++form_.quiet_; }
    ~Quiet() { --form_.quiet_; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

   private:
    FormWindow& form_;
  };

  // While one lives, a box is open or the window is only drawn: a close waits for its end, anything
  // else is dropped.
  class Modal {
   public:
    explicit Modal(FormWindow& form) : form_(form) { ++form_.modal_; }
    ~Modal() { --form_.modal_; }
    Modal(const Modal&) = delete;
    Modal& operator=(const Modal&) = delete;

   private:
    FormWindow& form_;
  };

 private:
  static constexpr int kButtonIconSize = 16;  // at 96 dpi

  struct Part {
    HWND window = nullptr;  // null: not made yet, or a control without a window
    HFONT font = nullptr;   // null: the window's font
    HBRUSH back = nullptr;  // null: the system's
    bool frozen = false;    // a list that isn't drawn at the moment
    HICON icon = nullptr;   // null: none, the system draws the button
  };

  static std::size_t Index(Control control) { return static_cast<std::size_t>(control); }
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
  void Command(WPARAM wParam, HWND from);
  LRESULT Colour(UINT message, WPARAM wParam, HWND control);
  void DrawRow(const DRAWITEMSTRUCT& item);
  LRESULT DrawButton(const NMCUSTOMDRAW& item);
  bool ShowPointer(HWND under) const;
  void Raise(UserEvent event);
  void KeepFocus();

  void MakeControl(const ControlDesign& design);
  void AddToolTip(HWND control, const char* text);
  void LayOut();
  void LayOutControl(const ControlDesign& design);
  void LoadButtonIcon(Part& part) const;
  void SetClientSize(int width, int height);
  void ChangeDpi(int dpi, const RECT& place);
  void FitHorizontalExtent(HWND list) const;
  void Forget();
  [[nodiscard]] const ControlDesign* DesignOf(HWND control) const;

  const FormDesign* design_ = nullptr;
  void (*handler_)(UserEvent) = nullptr;
  HWND frame_ = nullptr;
  HWND tips_ = nullptr;
  HWND lastFocus_ = nullptr;
  HFONT font_ = nullptr;
  HDC measure_ = nullptr;  // a canvas with the font, kept: made anew for each text it costs most
  std::array<Part, kControlCount> parts_{};
  int dpi_ = 96;
  SIZE frameTwips_{};  // outer minus client size, as it was at creation
  int quiet_ = 0;
  int modal_ = 0;
  bool busy_ = false;
  bool hourglassShown_ = false;
  bool closeWaits_ = false;
};

// The one window.
extern FormWindow TheForm;
