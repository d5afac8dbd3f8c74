// The image search and the list box as they ship, on a folder tree under a drive letter:
// search_bench.exe D: prints one line per figure. The caller makes the tree and times the command
// interpreter on it.
#include <cstdio>
#include <cstdlib>

#include "disk/sector_buffer.h"
#include "imagefiles/image_search.h"
#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"
#include "shell/program.h"
#include "shell/window_design.h"

namespace {

double Now() {
  LARGE_INTEGER count, frequency;
  ::QueryPerformanceCounter(&count);
  ::QueryPerformanceFrequency(&frequency);
  return 1000.0 * static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

void IgnoreEvents(UserEvent) {
}

void TimeList() {
  Toolkit& window = *Sys.toolkit;
  window.ClearItems(Control::List1);
  const double start = Now();
  for (int row = 0; row < 10000; ++row) {
    window.AddItem(Control::List1, "E:\\_ISO\\folder\\image number " +
                                       std::to_string(row * 7919 % 10000) + ".volPAK");
  }
  const double added = Now();
  float widest = 0;
  for (int row = 0; row < 10000; ++row) {
    const float width = window.TextWidth(window.ItemText(Control::List1, row));
    widest = width > widest ? width : widest;
  }
  std::printf("rows_added_ms %.0f\nrows_measured_ms %.0f\n", added - start, Now() - added);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 1;
  Sys = Win32Platform();
  ResetProgram();
  Sys.toolkit->CreateForm(kFormDesign, IgnoreEvents);
  Sys.toolkit->SetTicked(Control::Chk_ISO, false);
  MYDRIVE = arguments[1];
  for (int round = 0; round < 3; ++round) {
    const double start = Now();
    ListFiles();
    std::printf("search_ms %.0f\n", Now() - start);
    const double dir = Now();
    const std::string command =
        std::string("cmd.exe /c dir /s /b ") + arguments[1] + "\\ > C:\\dir.txt";
    if (std::system(command.c_str()) != 0) return 1;
    std::printf("dir_ms %.0f\n", Now() - dir);
  }
  std::printf("images %d\n", Sys.toolkit->ItemCount(Control::List1));
  TimeList();
  return 0;
}
