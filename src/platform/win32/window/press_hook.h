// Asks a box's filter of every key and mouse button that its message loop takes from the queue.
#pragma once

#include "platform/box.h"
#include "platform/win32/win32_headers.h"

// While one lives, the box of this thread gets only what the filter takes. One at a time.
class PressHook {
 public:
  explicit PressHook(PressFilter& filter);
  ~PressHook();
  PressHook(const PressHook&) = delete;
  PressHook& operator=(const PressHook&) = delete;

 private:
  static LRESULT CALLBACK Procedure(int code, WPARAM wParam, LPARAM lParam);
  static void CALLBACK OnTimer(HWND window, UINT message, UINT_PTR timer, DWORD time);
  bool Drops(const MSG& message);
  void LookWhetherShown();

  PressFilter& filter_;
  HHOOK hook_;
  UINT_PTR timer_;
  bool shown_ = false;
  DWORD shownAt_ = 0;  // GetTickCount, as in the messages
};

// Takes the keys and mouse buttons out of the thread's queue.
void DropQueuedPresses();
