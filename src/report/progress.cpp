#include "report/progress.h"

#include <utility>

#include "platform/platform.h"
#include "report/events.h"
#include "text/text.h"

namespace {
constexpr std::uint32_t kDrawEvery = 50, kShowEvery = 333;  // ms
}

Progress::Progress(std::function<std::string()> words)
    : words_(std::move(words)), shownAt_(Sys.clock->GetTickCount()) {
  current_ = this;
  drawnAt_ = shownAt_;
}

Progress::~Progress() {
  current_ = outer_;
  Repaint();
  if (!isShown_ || outer_ != nullptr) return;
  isShown_ = false;
  Sys.toolkit->SetCaption(kWindowCaption);
  Sys.toolkit->MousePointer(Pointer::Default);
}

void Progress::GoOn() {
  const std::uint32_t now = Sys.clock->GetTickCount();
  if (now - drawnAt_ < kDrawEvery) return;
  drawnAt_ = now;
  if (current_ != nullptr) current_->Show(now);
  Repaint();
}

void Progress::Show(std::uint32_t now) {
  if (now - shownAt_ < kShowEvery) return;
  shownAt_ = now;
  isShown_ = true;
  Sys.toolkit->SetCaption(words_());
  Sys.toolkit->MousePointer(Pointer::Hourglass);
}

std::string HowFar(const Amount& amount) {
  if (amount.done >= amount.total) return "";
  return ": " + Decimal(static_cast<std::int64_t>(amount.done * 100 / amount.total)) + " %";
}
