// Boxes: what they say and ask, and which keys and mouse buttons they take.
#pragma once

#include <cstdint>
#include <string>

enum class Buttons : std::uint8_t { Ok, OkCancel, YesNoCancel };  // the first one is the default
enum class Icon : std::uint8_t { None, Stop, Exclamation, Information };
enum class Answer : std::uint8_t { Ok, Cancel, Yes, No };

struct Box {
  std::string title = {};
  std::string text = {};
  Buttons buttons = Buttons::Ok;
  Icon icon = Icon::None;
};

// A box with a text field, OK and Cancel.
struct InputQuestion {
  std::string title, prompt, initial;
};

// One press or release of a key or mouse button that is on its way to a box.
struct Press {
  enum class Kind : std::uint8_t {
    First,   // a key or button goes down
    Second,  // the second click of a double-click
    Repeat,  // a held key repeats itself
    Release
  };
  Kind kind = Kind::First;
  std::uint8_t key = 0;       // virtual-key code, mouse buttons included; 0: a character
  bool intoField = false;     // goes to a text field
  std::int32_t shownFor = 0;  // milliseconds from when the box was on the screen to the press;
                              // negative: pressed before that
};

class PressFilter {
 public:
  virtual ~PressFilter() = default;
  // False: the box doesn't get it. May be asked more than once for the same press.
  virtual bool Takes(const Press& press) = 0;
};
