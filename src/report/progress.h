// Work that takes long, as the title bar shows it. The window keeps being drawn, or Windows would
// call it "Not responding".
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "report/product.h"

// The window's caption while no such work is shown.
constexpr char kWindowCaption[] =
    PRODUCT_TITLE "  for NTFS TSD drives    v" PRODUCT_VERSION_TEXT "  " PRODUCT_NOTICE;

// One piece of such work. One made inside another takes its place until it ends.
class Progress {
 public:
  // words returns what is going on and how far it has got. It is called three times a second, first
  // after a third of a second: quick work shows nothing.
  explicit Progress(std::function<std::string()> words);

  // Puts caption and pointer back. What was pressed meanwhile is discarded.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // To be called as often as possible: every 50 ms it draws the window and discards keys and
  // clicks. No user event runs.
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
