#include "shell/log_writer.h"

#include <cstdio>

#include "platform/platform.h"
#include "report/message_box.h"
#include "report/product.h"
#include "report/routine.h"
#include "report/statements.h"
#include "text/text.h"

bool LoggingEnabled = false;
std::int32_t LogLineCount = 0;
std::string TempFolder;

namespace {

constexpr std::int32_t kLinesBeforeRotation = 60000;

std::string LogPath() {
  return TempFolder + "Rotate_TSD.log";
}

std::string Stamp(const char* layout, const DateTime& t) {
  char text[48];
  std::snprintf(text, sizeof text, layout, t.year, t.month, t.day, t.hour, t.minute, t.second);
  return text;
}

// The last three characters of the seconds since midnight, taken in single precision as "0.000".
std::string Milliseconds(const DateTime& t) {
  // Volatile, because the x86 code would keep more digits of it in a register.
  const volatile float seconds = static_cast<float>((t.hour * 60 + t.minute) * 60 + t.second) +
                                 static_cast<float>(t.millisecond) / 1000.0F;
  char text[24];
  const int length = std::snprintf(text, sizeof text, "%.3f", static_cast<double>(seconds));
  return text + length - 3;
}

void RotateLog() {
  // The folder already ends in a backslash; the platform reads two as one.
  const std::string rotated =
      TempFolder + "\\Rotate_TSD_" + Stamp("%04d%02d%02d_%02d%02d%02d", Sys.clock->Now()) + ".log";
  Sys.files->FileCopy(LogPath(), rotated);
  Sys.files->FileDelete(LogPath());
}

// Counts the line, and rotates the log when due. False: the line must not be written.
bool CountLine() {
  if (LogLineCount <= kLinesBeforeRotation) {
    ++LogLineCount;
    return true;
  }
  LogLineCount = 1;
  bool folderMade = false;
  for (;;) {
    try {
      RotateLog();
      return true;
    } catch (const Fault& fault) {
      if (fault.number == kPathNotFound && !folderMade) {
        // Only once: a folder that can't be made would otherwise be tried forever.
        folderMade = true;
        const Routine quietly;
        MakeFolder(TempFolder);
        continue;
      }
      MsgBox({.text = "WriteLog: Error " + Decimal(fault.number) + ":" + fault.description});
      return false;
    }
  }
}

bool LogFileExists() {
  return Sys.files->GetFileAttributes(LogPath()) != kInvalidAttributes;
}

}  // namespace

void WriteLog(const std::string& message) {
  if (!LoggingEnabled) return;
  const DateTime now = Sys.clock->Now();
  const std::string line =
      Stamp("%04d-%02d-%02d %02d:%02d:%02d", now) + "." + Milliseconds(now) + "\t" + message;
  if (!CountLine()) return;
  const Routine quietly;
  AppendLine(LogPath(), line);
}

void Label1_DblClick() {
  const Routine quietly;
  if (LoggingEnabled) {
    WriteLog("Logging is disabled");
    LoggingEnabled = false;
    MsgBox({.text = "Logging to Rotate_TSD.log file is disabled.", .icon = Icon::Information});
    return;
  }
  LoggingEnabled = true;
  if (LogFileExists()) FileDelete(LogPath());
  MsgBox({.text = "Logging to:\r\n\r\n" + TempFolder +
                  "\r\n\r\nRotate_TSD.log\r\n\r\nhas now started.\r\n\r\n"
                  "{Tip: Press Ctrl+C to copy this text to clipboard)",
          .icon = Icon::Information});
  WriteLog("App.path: " + Sys.facts->ProgramFolder());
  WriteLog("App.name: " + Sys.facts->ProgramName() + " v." PRODUCT_VERSION_TEXT);
  WriteLog("TempFolder: " + TempFolder);
}
