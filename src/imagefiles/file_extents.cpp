#include "imagefiles/file_extents.h"

#include <algorithm>

#include "disk/file_probe.h"
#include "disk/raw_sector_io.h"
#include "imagefiles/child_process.h"
#include "imagefiles/interpreter_rules.h"
#include "imagefiles/measured_file.h"
#include "platform/platform.h"
#include "report/log.h"
#include "report/message_box.h"
#include "report/progress.h"
#include "report/routine.h"
#include "report/statements.h"
#include "text/text.h"

std::string GFE_Path;
Handle ToolCopyHandle = kNoHandle;

MeasuredFile Measured;

namespace {

constexpr std::string_view kResultBegins = "File offset 0 LBA: ";
constexpr std::string_view kSectors = "Sectors: ";
constexpr std::size_t kLongestHex = 24;  // digits of 96 bits

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

// If the tool didn't start, the output of an earlier run would be taken for this one's.
bool OldOutputIsGone() {
  if (!FileIsThere(Measured.GFE_File)) return true;
  FileDelete(Measured.GFE_File);
  return !FileIsThere(Measured.GFE_File);
}

// Runs the tool; everything that it printed goes into GFE_Text.
void RunTool(const std::string& file) {
  if (!OldOutputIsGone()) return;
  const Progress progress([&] { return "Looking where " + BareName(file) + " lies"; });
  SyncShell(Measured.GFE_Command, kWindowHidden);
  if (LastShellFailure.number != kShellNeverEnded) {
    ReadTextFile(Measured.GFE_File, Measured.GFE_Text);
  }
  if (!LoggingEnabled && FileIsThere(Measured.GFE_File)) {
    FileDelete(Measured.GFE_File);
  }
}

void ShowToolFailure() {
  MsgBox({.title = "getFileExtents failed",
          .text = "ERROR GETTING START SECTOR FROM " + Measured.GFE_File + "\r\n\r\n" +
                  Measured.GFE_Command + kLineEnd,
          .icon = Icon::Exclamation});
}

bool LiesInPieces(const std::string& file) {
  return Contains(Measured.GFE_Text, "\r\nFile") &&
         !Contains(UpperCase(file), "\\GETFILEEXTENTS.EXE");
}

void ShowInPieces(const std::string& file) {
  MsgBox({.title = "More than one extent",
          .text = "ERROR: File is not contiguous.\r\nPlease run \\PACK_FILES_TOGETHER.cmd or use "
                  "Defraggler.\r\n\r\n" +
                  file,
          .icon = Icon::Exclamation});
}

bool IsHex(std::string_view text) {
  return !text.empty() &&
         text.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

// Takes the first LBA from GFE_Text. False: there is none that a table entry could hold.
bool TakeStart() {
  const std::string& text = Measured.GFE_Text;
  const std::size_t blank = text.find(' ', kResultBegins.size());
  if (blank == std::string::npos) return false;
  const std::string start = text.substr(kResultBegins.size(), blank - kResultBegins.size());
  if (!IsHex(start)) return false;
  Measured.FStart = start;
  Measured.FStartSectors = HexToDec(start);
  return true;
}

// Takes the tool's own count for the log; TakeLength then replaces it.
void TakeToolCount() {
  const std::string& text = Measured.GFE_Text;
  const std::size_t sectors = text.find(kSectors, kResultBegins.size());
  if (sectors == std::string::npos) return;
  const std::size_t digits = sectors + kSectors.size();
  const std::size_t end = text.find("\r\n", digits);
  if (end == std::string::npos) return;
  Measured.FLength = text.substr(digits, end - digits);
  Measured.FLengthSectors = HexToDec(Measured.FLength);
}

// A partition's length follows from the file's length in bytes, not from its clusters.
void TakeLength(const std::string& file) {
  const std::uint64_t bytes = FileLenA(file);
  const std::uint64_t sectors = bytes / 512 + (bytes % 512 != 0 ? 1 : 0);
  const auto count = static_cast<std::int64_t>(sectors);
  const std::string hex = HexDigits(static_cast<double>(sectors));
  WriteLog("GFE FileLength=" + Measured.FLengthSectors.ToDecimal() + " " + Measured.FLength +
           "    NEW=" + Decimal(count) + " " + hex);
  Measured.FLengthSectors = count;
  Measured.FLength = hex;
}

void TakeResult(const std::string& file) {
  WriteLog("GetFileStart 205");
  if (!TakeStart()) return;
  TakeToolCount();
  WriteLog("GetFileStart 210");
  TakeLength(file);
  WriteLog("GetFileStart 215");
  WriteLog(file + " Start (sectors)=" + Measured.FStartSectors.ToDecimal() + " (" +
           Measured.FStart + " hex)  Length (sectors)=" + Measured.FLengthSectors.ToDecimal() +
           " (" + Measured.FLength + " hex)");
}

}  // namespace

bool HoldToolCopy(const std::string& original) {
  const Routine quietly;
  ToolCopyHandle = Sys.devices->CreateFile(GFE_Path, kGenericRead, kShareRead, kOpenExisting, 0);
  std::string copy, tool;
  return ToolCopyHandle > kNoHandle && ReadTextFile(GFE_Path, copy) &&
         ReadTextFile(original, tool) && copy == tool;
}

void DeleteToolCopy() {
  const Routine quietly;
  MyCloseHandle(ToolCopyHandle);
  if (!GFE_Path.empty() && FileIsThere(GFE_Path)) FileDelete(GFE_Path);
}

// The quote opens after the drive's colon: the interpreter strips the first and last quote of a
// command text that begins with one.
std::string ToolCommand(const std::string& tool, const std::string& file,
                        const std::string& output) {
  return Quoted(Sys.facts->Environment("COMSPEC").value_or("")) + " /c " + tool.substr(0, 2) +
         Quoted(tool.size() > 2 ? tool.substr(2) : "") + " " + Quoted(file) + " > " +
         Quoted(output);
}

void GetFileStart(const std::string& fFILE) {
  const Routine quietly;
  WriteLog("GetFileStart started: fFILE=" + fFILE);
  Measured.GFE_Text.clear();
  Measured.MoreThanOneExtent = false;
  Measured.FStartSectors = 0;
  if (Measured.GFE_File.empty()) Measured.GFE_File = "GFE.txt";
  Measured.GFE_Command = ToolCommand(GFE_Path, fFILE, Measured.GFE_File);
  if (InterpreterChangesQuoted(fFILE)) {
    // The tool would measure another file than this one.
    Measured.FLengthSectors = 0;
    MsgBox({.title = "getFileExtents failed",
            .text = "ERROR: The command interpreter would change this file name. Rename the "
                    "file:\r\n\r\n" +
                    fFILE,
            .icon = Icon::Exclamation});
    return;
  }
  RunTool(fFILE);
  if (!ContainsIgnoringCase(Measured.GFE_Text, "offset")) Measured.GFE_Text.clear();
  WriteLog("GetFileStart 100");
  if (Measured.GFE_Text.empty()) {
    ShowToolFailure();
    Measured.FLengthSectors = 0;
    WriteLog("GetFileStart 105");
  } else {
    WriteLog("GetFileStart 200");
    if (Measured.GFE_Text.starts_with(kResultBegins)) {
      if (LiesInPieces(fFILE)) {
        Measured.MoreThanOneExtent = true;
        ShowInPieces(fFILE);
        return;
      }
      TakeResult(fFILE);
    }
  }
  WriteLog("GetFileStart ended");
}

ExactInteger HexToDec(std::string sHex) {
  sHex = UpperCase(Trim(sHex));
  ExactInteger value;
  if (sHex.size() > kLongestHex) return value;
  for (const char c : sHex) {
    const int code = static_cast<unsigned char>(c);
    value = value.AppendHexDigit(code < 58 ? code - 48 : code - 55);
  }
  return value;
}
