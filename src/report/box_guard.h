// Keeps a box from being answered by a key or click that was meant for something else.
#pragma once

#include <bitset>

#include "platform/box.h"

// How long a box is on the screen before it takes a key or mouse button: nobody reads faster.
constexpr std::int32_t kDeafMilliseconds = 400;

// The filter of one box. It takes presses after that time, and of those the releases, second clicks
// and, in a text field, repeats. A key held since before the box opened is never taken.
class BoxGuard final : public PressFilter {
 public:
  bool Takes(const Press& press) override;

 private:
  std::bitset<256> taken_;  // by key: the box took its last press
};
