// Work that takes long, as the title bar shows it. The window is drawn meanwhile, or Windows would
// call it "Not responding".
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "report/product.h"

// The window's caption while no such work is shown.
constexpr char kWindowCaption[] =
    PRODUCT_TITLE "  for NTFS TSD drives    v" PRODUCT_VERSION_TEXT "  " PRODUCT_NOTICE;

// One piece of such work. One made meanwhile comes first for as long as it lives.
class Progress {
 public:
  // words returns what goes on and how far it is. It is asked three times a second, and not before
  // the work has taken a third of one: quick work shows nothing.
  explicit Progress(std::function<std::string()> words);

  // Brings caption and pointer back. What was pressed meanwhile is thrown away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // For whatever takes long to call as often as it can: every 50 ms it draws the window and throws
  // away keys and clicks. No user event runs.
  static void GoOn();

 private:
  void Show(std::uint32_t now);

  static inline Progress* current_ = nullptr;
  static inline std::uint32_t drawnAt_ = 0;  // GetTickCount
  static inline bool isShown_ = false;       // the caption is that of a Progress

  Progress* outer_ = current_;
  std::function<std::string()> words_;
  std::uint32_t shownAt_;  // GetTickCount
};

struct Amount {
  std::uint64_t done = 0, total = 0;
};

// ": 41 %". Empty where done isn't below total: a copy may have its whole length from the start.
std::string HowFar(const Amount& amount);
