// The window, and the scripted user, who is impatient: whatever the program does, Enter is pressed
// again and again, and held. A press that waits when a box opens, or that the box takes before it
// could be read, answers the box with its default button, and the test fails.
//
// Does not model: other keys (Enter on a row is a double-click), tab order, drawing, tool tips,
// scroll bars.
#pragma once

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/toolkit.h"
#include "platform/virtual/clock.h"
#include "platform/virtual/journal.h"

// One thing that the user does.
struct UserAction {
  enum class Kind : std::uint8_t { Click, DoubleClick, PickRow, OpenRow, Resize, Close };
  Kind kind;
  Control control = Control::cmdExit;
  std::string row = "";  // PickRow, OpenRow: the row's text or its beginning
  float height = 0, width = 0;
};

UserAction Click(Control control);               // toggles a check box first
UserAction DoubleClick(Control control);         // a label
UserAction Pick(Control list, std::string row);  // Combo1 raises its click, List1 no event
UserAction Open(std::string row);                // double-click on a row of List1
UserAction Resize(float height, float width);
UserAction CloseWindow();

bool Offers(Buttons buttons, Answer answer);  // does a box with these buttons have that one?

struct ShownBox {
  Box box;
  Answer answer;
  bool scripted;  // false: no answer was scripted, and the default button was pressed
};

struct ShownInput {
  std::string prompt, title, initial, answer;
};

class VirtualToolkit : public Toolkit {
 public:
  VirtualToolkit(Journal& journal, const VirtualClock& clock) : journal_(journal), clock_(clock) {}

  void CreateForm(const FormDesign& design, void (*handler)(UserEvent)) noexcept override;
  void ShowForm() noexcept override { shown = true; }
  void UnloadForm() noexcept override { unloaded = true; }
  void RunEventLoop() override;
  void SetCaption(const std::string& text) noexcept override {
    captions.push_back(text);
    caption = text;
  }
  float FormHeight() noexcept override { return height; }
  float FormWidth() noexcept override { return width; }
  void SetFormHeight(float twips) noexcept override { height = twips; }
  void SetFormWidth(float twips) noexcept override { width = twips; }
  void MoveForm(float toLeft, float toTop) noexcept override;
  float ScreenHeight() noexcept override { return 15360; }
  float ScreenWidth() noexcept override { return 20480; }
  bool IsMinimised() noexcept override { return minimised; }
  void SetVisible(Control control, bool visible) noexcept override {
    At(control).visible = visible;
  }
  void SetEnabled(Control control, bool enabled) noexcept override {
    At(control).enabled = enabled;
  }
  bool IsTicked(Control checkBox) noexcept override { return At(checkBox).ticked; }
  void SetTicked(Control checkBox, bool ticked) noexcept override { At(checkBox).ticked = ticked; }
  void ClearItems(Control list) noexcept override;
  void AddItem(Control list, const std::string& text) noexcept override;
  int ItemCount(Control list) noexcept override { return static_cast<int>(At(list).rows.size()); }
  std::string ItemText(Control list, int row) noexcept override;
  int ListIndex(Control list) noexcept override { return At(list).selected; }
  void SetListIndex(Control list, int row) noexcept override;
  void SendMessage(Control control, std::uint32_t message, std::intptr_t wParam) noexcept override;
  float TwipsPerPixelX() noexcept override { return 15; }
  float TextWidth(const std::string& text) noexcept override {
    return 90.0F * static_cast<float>(text.size());
  }
  void DropInput() noexcept override;
  Answer MsgBox(const Box& box, PressFilter& filter) override;
  std::string InputBox(const InputQuestion& question, PressFilter& filter) override;
  void MousePointer(Pointer shape) noexcept override;
  void DoEvents() override;
  void Repaint() noexcept override;

  // The state of the window, for checks.
  struct ControlState {
    bool visible = true, enabled = true, ticked = false, sorted = false;
    std::vector<std::string> rows;
    int selected = -1;
  };
  struct SentMessage {
    Control control;
    std::uint32_t message;
    std::intptr_t wParam;
  };
  ControlState& At(Control control) { return controls_[static_cast<std::size_t>(control)]; }
  const FormDesign* design = nullptr;
  std::string caption;
  float height = 0, width = 0, left = 0, top = 0;
  bool shown = false, unloaded = false, minimised = false;
  Pointer pointer = Pointer::Default;
  std::vector<SentMessage> sent;
  std::vector<ShownBox> boxes;
  std::vector<ShownInput> inputs;
  std::size_t doEventsCalls = 0;
  std::vector<std::string> captions;  // all that were set
  std::uint64_t longestSilence = 0;   // ms; a window that answers nothing for 5 s is greyed

  // The script. An answer for a title is used once, in the order given; one without a title answers
  // the next box of any title that has more than one button.
  void AnswerNext(Answer answer, const std::string& title = "");
  void AnswerInput(const std::string& text) { inputAnswers_.push_back(text); }
  std::deque<UserAction> actions;                // for RunEventLoop
  std::deque<UserAction> pressedAhead;           // done by the next DoEvents or RunEventLoop
  std::map<std::size_t, UserAction> atDoEvents;  // by the number of the call, from 1
  std::optional<UserAction> atEveryDoEvents;     // not within its own events
  bool defaultsAllowed = false;                  // questions without an answer are no failure

  // A live user in place of the script. nextAction returns none at the end of the input.
  std::function<std::optional<UserAction>()> nextAction;
  std::function<Answer(const Box&)> onBox;
  std::function<std::string(const ShownInput&)> onInput;

  // Does one action now. False: a person could not have done it (disabled, invisible, no such row).
  bool Do(const UserAction& action);

  // Questions without an answer, and answers to questions that were never asked.
  std::vector<std::string> ScriptFailures() const;
  void Reset();

 private:
  static constexpr std::size_t kNeverDropped = static_cast<std::size_t>(-1);

  struct ScriptedAnswer {
    std::string title;
    Answer answer;
  };
  bool CanBeWorked(Control control);
  bool ImpatienceAnswers(const std::string& title, PressFilter& filter);
  bool SelectRow(Control list, const std::string& start);
  bool DoClick(Control control);
  void Raise(UserEvent event);
  bool Make(Control control, Gesture gesture);  // false: it is no event
  void AnswerWindow();
  void DoPressedAhead();

  Journal& journal_;
  const VirtualClock& clock_;
  std::uint64_t answeredAt_ = 0;  // on the clock
  void (*handler_)(UserEvent) = nullptr;
  std::array<ControlState, kControlCount> controls_;
  std::vector<ScriptedAnswer> answers_;
  std::deque<std::string> inputAnswers_;
  std::vector<std::string> impossible_;
  bool insideInjected_ = false;
  std::size_t droppedAt_ = kNeverDropped;  // the journal's length at DropInput
};
