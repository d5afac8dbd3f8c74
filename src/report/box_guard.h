// Keeps a box from being answered by a key or click that was meant for something else.
#pragma once

#include <bitset>

#include "platform/box.h"

// So long a box is on the screen before it takes a key or mouse button: nobody has read it sooner.
constexpr std::int32_t kDeafMilliseconds = 400;

// One box's filter. It takes what goes down after the deaf time, and of that the releases, second
// clicks and, into a text field, repeats. A key held since before the box never gets in.
class BoxGuard final : public PressFilter {
 public:
  bool Takes(const Press& press) override;

 private:
  std::bitset<256> taken_;  // by key: the box took its last press
};
