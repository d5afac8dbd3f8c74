// The user's side of the window: what an action changes, and which event it raises.
#include <algorithm>
#include <utility>

#include "platform/virtual/toolkit.h"

UserAction Click(Control control) {
  return {.kind = UserAction::Kind::Click, .control = control};
}

UserAction DoubleClick(Control control) {
  return {.kind = UserAction::Kind::DoubleClick, .control = control};
}

UserAction Pick(Control list, std::string row) {
  return {.kind = UserAction::Kind::PickRow, .control = list, .row = std::move(row)};
}

UserAction Open(std::string row) {
  return {.kind = UserAction::Kind::OpenRow, .control = Control::List1, .row = std::move(row)};
}

UserAction Resize(float height, float width) {
  return {.kind = UserAction::Kind::Resize, .height = height, .width = width};
}

UserAction CloseWindow() {
  return {.kind = UserAction::Kind::Close};
}

void VirtualToolkit::Raise(UserEvent event) {
  if (handler_ != nullptr) handler_(event);
}

bool VirtualToolkit::Make(Control control, Gesture gesture) {
  const auto known =
      std::find_if(design->events.begin(), design->events.end(), [&](const ControlEvent& event) {
        return event.control == control && event.gesture == gesture;
      });
  if (known == design->events.end()) return false;
  Raise(known->event);
  return true;
}

bool VirtualToolkit::CanBeWorked(Control control) {
  return At(control).visible && At(control).enabled;
}

bool VirtualToolkit::SelectRow(Control list, const std::string& start) {
  ControlState& state = At(list);
  for (std::size_t row = 0; row < state.rows.size(); ++row) {
    if (!state.rows[row].starts_with(start)) continue;
    state.selected = static_cast<int>(row);
    return true;
  }
  return false;
}

bool VirtualToolkit::DoClick(Control control) {
  if (!CanBeWorked(control)) return false;
  if (control == Control::chkShowAll || control == Control::Chk_ISO) {
    At(control).ticked = !At(control).ticked;
  }
  return Make(control, Gesture::Click);
}

bool VirtualToolkit::Do(const UserAction& action) {
  if (design == nullptr || unloaded) return false;
  switch (action.kind) {
    case UserAction::Kind::Click:
      return DoClick(action.control);
    case UserAction::Kind::DoubleClick:
      return Make(action.control, Gesture::DoubleClick);
    case UserAction::Kind::PickRow:
      if (!CanBeWorked(action.control) || !SelectRow(action.control, action.row)) return false;
      Make(action.control, Gesture::Select);
      return true;
    case UserAction::Kind::OpenRow:
      if (!CanBeWorked(Control::List1) || !SelectRow(Control::List1, action.row)) return false;
      return Make(Control::List1, Gesture::DoubleClick);
    case UserAction::Kind::Resize:
      height = action.height;
      width = action.width;
      Raise(UserEvent::Form_Resize);
      return true;
    case UserAction::Kind::Close:
      Raise(UserEvent::Form_QueryUnload);
      return true;
  }
  return false;
}

// A key in the queue answers whatever the filter says: some systems never ask the filter.
bool VirtualToolkit::ImpatienceAnswers(const std::string& title, PressFilter& filter) {
  const bool waits = droppedAt_ != journal_.Entries().size();
  droppedAt_ = kNeverDropped;
  constexpr std::uint8_t kEnter = 13;
  using enum Press::Kind;
  static constexpr Press kTooSoon[] = {{Repeat, kEnter, false, -30},  {First, kEnter, false, -20},
                                       {Release, kEnter, false, 0},   {First, kEnter, false, 60},
                                       {Repeat, kEnter, false, 399},  {Release, kEnter, false, 500},
                                       {Repeat, kEnter, false, 60000}};
  bool taken = waits;
  for (const Press& press : kTooSoon) taken = filter.Takes(press) || taken;
  if (taken) impossible_.push_back("a key pressed ahead answered the box " + title);
  if (!filter.Takes({First, kEnter, false, 400}))
    impossible_.push_back("no key answers the box " + title);
  return taken;
}

void VirtualToolkit::RunEventLoop() {
  while (!unloaded) {
    AnswerWindow();
    DoPressedAhead();
    std::optional<UserAction> action;
    if (nextAction) {
      action = nextAction();
    } else if (!actions.empty()) {
      action = actions.front();
      actions.pop_front();
    }
    if (!action) return;
    if (!Do(*action) && !nextAction) {
      impossible_.push_back("could not be done: action on control " +
                            std::to_string(static_cast<int>(action->control)) + " " + action->row);
    }
  }
}

void VirtualToolkit::AnswerWindow() {
  longestSilence = std::max(longestSilence, clock_.Elapsed() - answeredAt_);
  answeredAt_ = clock_.Elapsed();
}

void VirtualToolkit::DoPressedAhead() {
  for (const UserAction& action : std::exchange(pressedAhead, {})) Do(action);
}

void VirtualToolkit::DoEvents() {
  JournalEntry entry;
  entry.op = Op::Events;
  entry.ok = true;
  journal_.Add(entry);
  ++doEventsCalls;
  AnswerWindow();
  DoPressedAhead();
  const auto once = atDoEvents.find(doEventsCalls);
  const std::optional<UserAction>& action =
      once != atDoEvents.end() ? once->second : atEveryDoEvents;
  if (!action || insideInjected_) return;
  insideInjected_ = true;
  Do(*action);
  insideInjected_ = false;
}

void VirtualToolkit::Repaint() noexcept {
  AnswerWindow();
  pressedAhead.clear();
}
