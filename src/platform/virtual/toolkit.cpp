#include "platform/virtual/toolkit.h"

#include <algorithm>
#include <new>
#include <utility>

#include "text/text.h"

namespace {

// The outer size of a fixed window around its client area, in twips.
constexpr float kFrameWidth = 90, kCaptionHeight = 435;

Answer DefaultOf(Buttons buttons) {
  return buttons == Buttons::YesNoCancel ? Answer::Yes : Answer::Ok;
}

}  // namespace

bool Offers(Buttons buttons, Answer answer) {
  switch (buttons) {
    case Buttons::Ok:
      return answer == Answer::Ok;
    case Buttons::OkCancel:
      return answer == Answer::Ok || answer == Answer::Cancel;
    case Buttons::YesNoCancel:
      return answer != Answer::Ok;
  }
  return false;
}

void VirtualToolkit::CreateForm(const FormDesign& formDesign, void (*handler)(UserEvent)) noexcept {
  design = &formDesign;
  handler_ = handler;
  caption = formDesign.caption;
  width = static_cast<float>(formDesign.clientWidth) + kFrameWidth;
  height = static_cast<float>(formDesign.clientHeight) + kCaptionHeight;
  shown = unloaded = minimised = false;
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const ControlDesign& control = formDesign.controls[i];
    At(control.id) = {
        .visible = control.visible, .ticked = control.ticked, .sorted = control.sorted, .rows = {}};
  }
}

void VirtualToolkit::MoveForm(float toLeft, float toTop) noexcept {
  left = toLeft;
  top = toTop;
}

void VirtualToolkit::ClearItems(Control list) noexcept {
  At(list).rows.clear();
  At(list).selected = -1;
}

void VirtualToolkit::AddItem(Control list, const std::string& text) noexcept {
  ControlState& state = At(list);
  auto place = state.rows.end();
  if (state.sorted) {
    place = std::upper_bound(
        state.rows.begin(), state.rows.end(), text,
        [](const std::string& a, const std::string& b) { return UpperCase(a) < UpperCase(b); });
  }
  if (static_cast<int>(place - state.rows.begin()) <= state.selected) ++state.selected;
  state.rows.insert(place, text);
}

std::string VirtualToolkit::ItemText(Control list, int row) noexcept {
  const ControlState& state = At(list);
  if (row < 0 || row >= static_cast<int>(state.rows.size())) return "";
  return state.rows[static_cast<std::size_t>(row)];
}

void VirtualToolkit::SetListIndex(Control list, int row) noexcept {
  if (row >= -1 && row < ItemCount(list)) At(list).selected = row;
}

void VirtualToolkit::SendMessage(Control control, std::uint32_t message,
                                 std::intptr_t wParam) noexcept {
  sent.push_back({control, message, wParam});
}

void VirtualToolkit::MousePointer(Pointer shape) noexcept {
  pointer = shape;
  if (!journal_.HasPower()) return;
  JournalEntry entry;
  entry.op = Op::PointerChange;
  entry.subject = shape == Pointer::Hourglass ? "hourglass" : "default";
  entry.ok = true;
  journal_.Add(entry);
}

void VirtualToolkit::DropInput() noexcept {
  pressedAhead.clear();
  droppedAt_ = journal_.Entries().size();
}

void VirtualToolkit::AnswerNext(Answer answer, const std::string& title) {
  answers_.push_back({title, answer});
}

Answer VirtualToolkit::MsgBox(const Box& box, PressFilter& filter) {
  journal_.NeedsPower();
  AnswerWindow();
  if (ImpatienceAnswers(box.title, filter)) {
    boxes.push_back({box, DefaultOf(box.buttons), true});
    return boxes.back().answer;
  }
  if (onBox) {
    boxes.push_back({box, DefaultOf(box.buttons), true});
    const Answer given = onBox(box);
    boxes.back().answer = given;
    return given;
  }
  const auto fits = [&](const ScriptedAnswer& scripted) {
    return scripted.title.empty() ? box.buttons != Buttons::Ok
                                  : box.title.starts_with(scripted.title);
  };
  const auto found = std::find_if(answers_.begin(), answers_.end(), fits);
  ShownBox shownBox{box, DefaultOf(box.buttons), box.buttons == Buttons::Ok};
  if (found != answers_.end()) {
    shownBox.scripted = true;
    if (Offers(box.buttons, found->answer)) {
      shownBox.answer = found->answer;
    } else {
      impossible_.push_back("the scripted button is not on the box " + box.title);
    }
    answers_.erase(found);
  }
  boxes.push_back(shownBox);
  return shownBox.answer;
}

std::string VirtualToolkit::InputBox(const InputQuestion& question, PressFilter& filter) {
  journal_.NeedsPower();
  AnswerWindow();
  const std::string& title = question.title;
  ShownInput input{question.prompt, title, question.initial, question.initial};
  if (ImpatienceAnswers(title, filter)) {
    // The default button answers.
  } else if (onInput) {
    input.answer = onInput(input);
  } else if (!inputAnswers_.empty()) {
    input.answer = inputAnswers_.front();
    inputAnswers_.pop_front();
  } else if (!defaultsAllowed) {
    impossible_.push_back("no answer for the input box " + title);
  }
  inputs.push_back(input);
  return input.answer;
}

std::vector<std::string> VirtualToolkit::ScriptFailures() const {
  std::vector<std::string> failures = impossible_;
  for (const ShownBox& shownBox : boxes) {
    if (!shownBox.scripted && !defaultsAllowed) {
      failures.push_back("no answer for the box " + shownBox.box.title);
    }
  }
  for (const ScriptedAnswer& unused : answers_) failures.push_back("never asked: " + unused.title);
  for (const std::string& unused : inputAnswers_) failures.push_back("never asked for: " + unused);
  return failures;
}

void VirtualToolkit::Reset() {
  Journal& journal = journal_;
  const VirtualClock& clock = clock_;
  this->~VirtualToolkit();
  new (this) VirtualToolkit(journal, clock);
  answeredAt_ = clock.Elapsed();
}
