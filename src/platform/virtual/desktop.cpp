#include "platform/virtual/desktop.h"

#include <algorithm>

#include "text/wide_text.h"

namespace {
constexpr WindowHandle kDesktop = 1;
constexpr WindowHandle kFirst = 100;
constexpr WindowHandle kSomeOwner = 50;
}  // namespace

VirtualWindow* VirtualDesktop::At(WindowHandle window) {
  const auto index = static_cast<std::size_t>(window - kFirst);
  if (window < kFirst || index >= windows.size() || windows[index].closed) return nullptr;
  return &windows[index];
}

WindowHandle VirtualDesktop::From(std::size_t index) const {
  for (; index < windows.size(); ++index) {
    if (!windows[index].closed) return kFirst + static_cast<WindowHandle>(index);
  }
  return 0;
}

WindowHandle VirtualDesktop::GetDesktopWindow() noexcept {
  const Step step = machine_.Begin(Op::Desktop, "desktop");
  return machine_.End(step, !step.Refused(), machine_.plan.error) ? kDesktop : 0;
}

WindowHandle VirtualDesktop::GetWindow(WindowHandle window, std::uint32_t relation) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "window", std::to_string(relation));
  if (!machine_.End(step, !step.Refused(), machine_.plan.error)) return 0;
  if (window == kDesktop) return relation == kGwChild ? From(0) : 0;
  const VirtualWindow* found = At(window);
  if (relation == kGwHwndNext && found != nullptr) {
    return From(static_cast<std::size_t>(window - kFirst) + 1);
  }
  return relation == kGwOwner && found != nullptr && found->owned ? kSomeOwner : 0;
}

int VirtualDesktop::GetWindowTextLength(WindowHandle window) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "title-length");
  const VirtualWindow* found = At(window);
  const bool ok = machine_.End(step, !step.Refused() && found != nullptr, 1400);
  return ok ? static_cast<int>(WideText(found->title).size()) : 0;
}

std::string VirtualDesktop::GetWindowText(WindowHandle window, int size) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "title");
  const VirtualWindow* found = At(window);
  if (!machine_.End(step, !step.Refused() && found != nullptr && size > 0, 1400)) return "";
  return NarrowText(WideText(found->title).substr(0, static_cast<std::size_t>(size) - 1));
}

bool VirtualDesktop::IsWindowVisible(WindowHandle window) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "visible");
  const VirtualWindow* found = At(window);
  return machine_.End(step, !step.Refused(), machine_.plan.error) && found != nullptr &&
         found->visible && found->visibleFrom <= machine_.clock.Elapsed();
}

bool VirtualDesktop::PostMessage(WindowHandle window, std::uint32_t message) noexcept {
  VirtualWindow* found = At(window);
  const Step step = machine_.Begin(Op::Post, found != nullptr ? found->title : "no window",
                                   std::to_string(message));
  if (!machine_.End(step, !step.Refused() && found != nullptr, 1400)) return false;
  if (message != kWmClose) return true;
  found->asked = true;
  found->closed = found->agrees;
  return true;
}

WindowHandle VirtualDesktop::FindWindow(const std::string& className) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "find-window", className);
  const auto found = std::find_if(windows.begin(), windows.end(), [&](const VirtualWindow& window) {
    return !window.closed && window.className == className;
  });
  if (!machine_.End(step, !step.Refused() && found != windows.end(), 2)) return 0;
  return kFirst + (found - windows.begin());
}

std::uint32_t VirtualDesktop::GetWindowThreadProcessId(WindowHandle window) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "process");
  const VirtualWindow* found = At(window);
  return machine_.End(step, !step.Refused() && found != nullptr, 1400) ? found->process : 0;
}

WindowHandle VirtualDesktop::GetLastActivePopup(WindowHandle owner) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "popup");
  const VirtualWindow* found = At(owner);
  const bool has = found != nullptr && found->popup != 0;
  machine_.End(step, found != nullptr);
  return has ? kFirst + static_cast<WindowHandle>(found->popup) : owner;
}

bool VirtualDesktop::SendMessageTimeout(WindowHandle window, std::uint32_t message,
                                        std::uint32_t milliseconds) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "send", std::to_string(message));
  const VirtualWindow* found = At(window);
  if (found != nullptr && found->hangs) machine_.clock.Advance(milliseconds);
  return machine_.End(step, !step.Refused() && found != nullptr && !found->hangs, 1460);
}

bool VirtualDesktop::IsIconic(WindowHandle window) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "minimised");
  const VirtualWindow* found = At(window);
  return machine_.End(step, !step.Refused() && found != nullptr, 1400) && found->minimised;
}

void VirtualDesktop::ShowWindow(WindowHandle window, int command) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "show", std::to_string(command));
  VirtualWindow* found = At(window);
  if (!machine_.End(step, !step.Refused() && found != nullptr, 1400)) return;
  if (command == kShowRestored) found->minimised = false;
}

bool VirtualDesktop::SetForegroundWindow(WindowHandle window) noexcept {
  const Step step = machine_.Begin(Op::Desktop, "to-front");
  const VirtualWindow* found = At(window);
  if (!machine_.End(step, !step.Refused() && found != nullptr, 1400)) return false;
  inFront = found->title;
  return true;
}
