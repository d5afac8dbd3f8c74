// The window toolkit: one window with a fixed set of controls, boxes, the pointer, pending events.
// Nothing here throws a Fault; what dispatches events lets their exceptions through. Places and
// sizes are in twips (1440 to the inch).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/box.h"

// The 13 controls, in tab order.
enum class Control : std::uint8_t {
  Combo1,
  Drive1,
  chkShowAll,
  cmdRefreshDrive,
  cmdRestoreTSD,
  cmdSwitchPtns,
  cmdHelp,
  cmdExit,
  Label2,
  List1,
  Label1,
  Chk_ISO,
  cmd_rebootPE,
};
constexpr std::size_t kControlCount = 13;

enum class ControlKind : std::uint8_t {
  DropDownList,
  DriveSelector,
  CheckBox,
  Button,
  Label,
  ListBox
};

struct Rgb {
  std::uint8_t red, green, blue;
};

// The design of one control. A null text means none.
struct ControlDesign {
  Control id = {};
  const char* name = nullptr;
  ControlKind kind = {};
  int left = 0, top = 0, width = 0, height = 0;  // twips, relative to the client area
  const char* caption = nullptr;                 // "&" before the accelerator letter
  const char* toolTip = nullptr;
  const char* spokenName = nullptr;  // what a screen reader calls a control without a caption
  bool visible = false;
  bool ticked = false;              // check boxes
  bool sorted = false;              // lists
  bool centred = false;             // labels
  bool hasIcon = false;             // buttons: a small icon beside the caption
  const Rgb* textColour = nullptr;  // null: the system's colour
  const Rgb* backColour = nullptr;  // null: the system's colour
  const char* fontName = nullptr;   // null: the window's font
  bool bold = false, italic = false, underlined = false;
};

// What a person can do to the window. Each value is the name of its event routine.
enum class UserEvent : std::uint8_t {
  Form_Load,
  Form_QueryUnload,  // the window's frame, Alt+F4
  Form_EndSession,   // also while a box is open; the process ends after it
  Form_Resize,
  Combo1_Click,
  chkShowAll_Click,
  cmdRefreshDrive_Click,
  cmdRestoreTSD_Click,
  cmdSwitchPtns_Click,
  cmdHelp_Click,
  cmdExit_Click,
  Label2_Click,
  List1_DblClick,  // also Enter on a selected row
  Label1_DblClick,
  Chk_ISO_Click,
  cmd_rebootPE_Click,
};
constexpr std::size_t kUserEventCount = 16;

enum class Gesture : std::uint8_t {
  Click,  // also its key
  DoubleClick,
  Select  // of another row
};

// The one gesture of a control that is an event.
struct ControlEvent {
  Control control;
  Gesture gesture;
  UserEvent event;
};

struct FormDesign {
  const char* className;  // by which a second instance finds the window
  const char* caption;
  int clientWidth, clientHeight;  // twips
  const ControlDesign* controls;  // kControlCount of them, in tab order
  std::span<const ControlEvent> events;
};

enum class Pointer : std::uint8_t { Default, Hourglass };

constexpr std::uint32_t kLbSetHorizontalExtent = 0x194;  // winuser.h, LB_SETHORIZONTALEXTENT

class Toolkit {
 public:
  virtual ~Toolkit() = default;

  // The window. CreateForm makes it, hidden, and passes user events to handler from then on: from
  // inside RunEventLoop and DoEvents, and at the end of the session. A change that the program
  // makes to a control raises none.
  virtual void CreateForm(const FormDesign& design, void (*handler)(UserEvent)) noexcept = 0;
  virtual void ShowForm() noexcept = 0;
  virtual void UnloadForm() noexcept = 0;  // destroys the window; RunEventLoop then returns
  virtual void RunEventLoop() = 0;         // dispatches events until the window is unloaded
  virtual void SetCaption(const std::string& caption) noexcept = 0;

  // The outer size and place of the window and the size of its screen, in twips.
  [[nodiscard]] virtual float FormHeight() noexcept = 0;
  [[nodiscard]] virtual float FormWidth() noexcept = 0;
  virtual void SetFormHeight(float twips) noexcept = 0;
  virtual void SetFormWidth(float twips) noexcept = 0;
  virtual void MoveForm(float left, float top) noexcept = 0;
  [[nodiscard]] virtual float ScreenHeight() noexcept = 0;
  [[nodiscard]] virtual float ScreenWidth() noexcept = 0;
  [[nodiscard]] virtual bool IsMinimised() noexcept = 0;

  // Controls.
  virtual void SetVisible(Control control, bool visible) noexcept = 0;
  virtual void SetEnabled(Control control, bool enabled) noexcept = 0;
  [[nodiscard]] virtual bool IsTicked(Control checkBox) noexcept = 0;
  virtual void SetTicked(Control checkBox, bool ticked) noexcept = 0;

  // Combo1 and List1. Rows count from 0; both lists are sorted. ListIndex is -1 while no row is
  // selected. ItemText returns the empty text for a row that doesn't exist.
  virtual void ClearItems(Control list) noexcept = 0;
  virtual void AddItem(Control list, const std::string& text) noexcept = 0;
  [[nodiscard]] virtual int ItemCount(Control list) noexcept = 0;
  [[nodiscard]] virtual std::string ItemText(Control list, int row) noexcept = 0;
  [[nodiscard]] virtual int ListIndex(Control list) noexcept = 0;
  virtual void SetListIndex(Control list, int row) noexcept = 0;

  // Sends message with wParam and lParam 0 to the control's window.
  virtual void SendMessage(Control control, std::uint32_t message,
                           std::intptr_t wParam) noexcept = 0;

  [[nodiscard]] virtual float TwipsPerPixelX() noexcept = 0;
  // In the window's font, twips.
  [[nodiscard]] virtual float TextWidth(const std::string& text) noexcept = 0;

  // Discards the keys and mouse buttons in the queue. To be called before each box: they would go
  // to the box that opens next.
  virtual void DropInput() noexcept = 0;
  // Modal, owned by the window if that exists; takes the keys and mouse buttons that the filter
  // takes. Escape returns Cancel if there is one, and so does a box that can't be shown.
  [[nodiscard]] virtual Answer MsgBox(const Box& box, PressFilter& filter) = 0;
  // The same with a text field. Cancel returns the empty text.
  [[nodiscard]] virtual std::string InputBox(const InputQuestion& question,
                                             PressFilter& filter) = 0;

  virtual void MousePointer(Pointer pointer) noexcept = 0;

  // Lets all pending events run.
  virtual void DoEvents() = 0;

  // Lets the window be drawn, moved, minimised and restored, and answer other programs. The keys,
  // mouse buttons and frame commands in its queue are discarded, its close button among them.
  // Raises no user event; a close that another program asks for waits for DoEvents or RunEventLoop.
  virtual void Repaint() noexcept = 0;
};
