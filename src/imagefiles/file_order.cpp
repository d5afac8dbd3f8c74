#include "imagefiles/file_order.h"

#include <optional>

#include "disk/file_probe.h"
#include "imagefiles/child_process.h"
#include "imagefiles/file_extents.h"
#include "platform/platform.h"
#include "shell/events.h"
#include "shell/failure.h"
#include "shell/form1.h"
#include "shell/log_writer.h"
#include "shell/message_box.h"
#include "text/text.h"

namespace {

constexpr std::uint32_t kPause = 100;  // ms
constexpr int kFirstLoopRounds = 21;
constexpr int kSecondLoopRounds = 11;

int StepNo = 0;  // how far the repair has come; for its error box

void ReportMoveFault(const Fault& fault) {
  MsgBox({.title = "Error in MOVE loop - make a note of this message!",
          .text = "@Line" + Decimal(StepNo) + " - Error # " + Decimal(fault.number) + " - " +
                  fault.description,
          .icon = Icon::Stop});
}

std::optional<FindData> Look(const std::string& path) {
  ErrorMode quietly;
  std::optional<FindData> found;
  quietly([&] {
    FindData data;
    const Handle search = Sys.files->FindFirstFileA(path, data);
    if (search == kInvalidHandle) return;
    if ((data.attributes & kAttributeDirectory) == 0) found = data;
    Sys.files->FindClose(search);
  });
  return found;
}

bool IsTaken(const std::string& path) {
  ErrorMode quietly;
  return quietly(kInvalidAttributes, [&] { return Sys.files->GetFileAttributesA(path); }) !=
         kInvalidAttributes;
}

// What the copy consists of must be on the device before the original goes.
bool IsFlushed(const std::string& path) {
  ErrorMode quietly;
  const Handle file = quietly(kInvalidHandle, [&] {
    return Sys.devices->CreateFileA(path, kGenericReadWrite, kShareRead, kOpenExisting, 0);
  });
  if (file == kInvalidHandle) return false;
  const bool flushed = quietly(false, [&] { return Sys.devices->FlushFileBuffers(file); });
  const bool closed = quietly(false, [&] { return Sys.devices->CloseHandle(file); });
  return flushed && closed;
}

// A file on its way to a new place: copied to a temporary name, deleted, renamed back.
class MovingFile {
 public:
  MovingFile(const std::string& file, const char* tempEnding)
      : file_(file), temp_(file + tempEnding) {}

  // Deletes what an earlier run left under the temporary name, unless it is all that is left of
  // the file: then it gets its name back.
  void RemoveLeftOver() {
    if (!FileExists(temp_)) return;
    if (FileIsThere(file_)) {
      on_([&] { Sys.files->FileDelete(temp_); });
    } else {
      on_([&] { Sys.files->FileRename(temp_, file_); });
    }
    Sys.clock->Sleep(kPause);
  }

  // Not started where the interpreter would do something else with the line than copy, would wait
  // for an answer that nobody can give (the target exists), would copy into a folder of the
  // target's name, or the original couldn't be deleted.
  void Copy() const {
    if (InterpreterChangesBare(file_) || IsTaken(temp_)) return;
    const std::optional<FindData> original = Look(file_);
    if (original && (original->attributes & kAttributeReadOnly) != 0) return;
    RunCmd("cmd.exe /c copy " + file_ + " " + temp_, kWindowHidden);
  }

  [[nodiscard]] bool CopyIsThere() const { return FileExists(temp_); }

  // True for a whole copy; deletes any other.
  bool KeepWholeCopy() {
    const std::optional<FindData> original = Look(file_);
    const std::optional<FindData> copy = Look(temp_);
    if (original && copy && original->size == copy->size &&
        original->lastWriteTime == copy->lastWriteTime && IsFlushed(temp_)) {
      return true;
    }
    DropCopy();
    return false;
  }

  void DeleteOriginal() {
    on_([&] { Sys.files->FileDelete(file_); });
  }

  // Gives the copy the file's name, trying twice. Where the original is still there the copy goes.
  void RenameCopy() {
    bool renamed = false;
    on_([&] {
      Sys.files->FileRename(temp_, file_);
      renamed = true;
    });
    if (renamed) return;
    if (FileIsThere(file_)) {
      DropCopy();
    } else {
      RenameQuietly();
    }
  }

  // True while only the copy stands.
  [[nodiscard]] bool IsNameless() const { return !FileIsThere(file_) && FileIsThere(temp_); }

  // The last try before the repair ends.
  void RenameAtEnd() {
    if (IsNameless()) RenameQuietly();
  }

  [[nodiscard]] const std::string& Path() const { return file_; }

 private:
  void DropCopy() {
    ErrorMode quietly;
    quietly([&] { Sys.files->FileDelete(temp_); });
  }
  void RenameQuietly() {
    ErrorMode quietly;
    quietly([&] { Sys.files->FileRename(temp_, file_); });
  }

  ErrorMode on_{ReportMoveFault};
  std::string file_;
  std::string temp_;
};

// What tells the two loops apart: their lengths, the pause, and the values of StepNo.
struct LoopPlan {
  int rounds;
  bool pauses;
  int atStart, beforeCopy, behindCopy, behindPause, beforeRename, behindRename;
};
constexpr LoopPlan kFirstLoop{kFirstLoopRounds, true, 1, 2, 3, 4, 7, 8};
constexpr LoopPlan kSecondLoop{kSecondLoopRounds, false, 21, 22, 23, 24, 27, 28};

// Moves last until it lies behind first. True: it does.
bool RunLoop(const LoopPlan& plan, const std::string& first, MovingFile& last) {
  RoundPositions Positions;
  for (int n = 1; n <= plan.rounds; ++n) {
    StepNo = plan.atStart;
    const bool inOrder = ComparePos(first, last.Path());
    if (inOrder || Form1.MoreThanOneExtent) return !Form1.MoreThanOneExtent;
    Positions[static_cast<std::size_t>(n)] = Form1.LastStart;
    if (RepeatPos(Positions)) return false;
    StepNo = plan.beforeCopy;
    last.Copy();
    DoEvents();
    StepNo = plan.behindCopy;
    if (plan.pauses) Sys.clock->Sleep(kPause);
    StepNo = plan.behindPause;
    if (!last.CopyIsThere() || !last.KeepWholeCopy()) continue;
    last.DeleteOriginal();
    StepNo = plan.beforeRename;
    last.RenameCopy();
    StepNo = plan.behindRename;
    if (last.IsNameless()) return false;
  }
  return false;
}

void MoveFirstOnce(MovingFile& first) {
  StepNo = 12;
  first.Copy();
  StepNo = 13;
  DoEvents();
  if (first.CopyIsThere() && first.KeepWholeCopy()) {
    Sys.clock->Sleep(kPause);
    DoEvents();
    StepNo = 15;
    first.DeleteOriginal();
    DoEvents();
  }
  StepNo = 17;
  DoEvents();
  if (first.CopyIsThere()) first.RenameCopy();
  StepNo = 18;
}

void ShowOutcome(bool inOrder, const std::string& last) {
  if (inOrder) {
    MsgBox({.title = last + " is now last", .text = "OK - Files are now in correct order."});
  } else {
    MsgBox({.title = "ERROR:" + last + " is first!",
            .text = "Sorry - failed to change the order. Run Defraggler to consolidate free "
                    "space.\r\n\r\nClick 'Cancel' on next question to try again."});
  }
}

}  // namespace

void MoveFiles(const std::string& FirstFile, const std::string& LastFile) {
  WriteLog("MoveFiles started");
  StepNo = 0;
  Form1.MoreThanOneExtent = false;
  MovingFile last(LastFile, "xxx");
  MovingFile first(FirstFile, "zzz");
  last.RemoveLeftOver();
  first.RemoveLeftOver();
  bool inOrder = RunLoop(kFirstLoop, FirstFile, last);
  if (!inOrder && !Form1.MoreThanOneExtent && !last.IsNameless()) {
    MoveFirstOnce(first);
    if (!first.IsNameless()) inOrder = RunLoop(kSecondLoop, FirstFile, last);
  }
  if (last.IsNameless() || first.IsNameless()) {
    last.RenameAtEnd();
    first.RenameAtEnd();
    GetFileStart(LastFile);
  }
  if (!Form1.MoreThanOneExtent) ShowOutcome(inOrder, LastFile);
}

bool ComparePos(const std::string& File1, const std::string& File2) {
  WriteLog("ComparePos");
  GetFileStart(File1);
  if (Form1.MoreThanOneExtent) return false;
  const ExactInteger start1 = HexToDec(Form1.FStart);
  GetFileStart(File2);
  if (Form1.MoreThanOneExtent) return false;
  Form1.LastStart = HexToDec(Form1.FStart);
  return Form1.LastStart > start1;
}

bool RepeatPos(const RoundPositions& Positions) {
  WriteLog("RepeatPos");
  for (std::size_t n = 3; n <= Positions.size() - 1 - 3; ++n) {
    if (Positions[n] == ExactInteger(0)) return false;
    if (Positions[n] == Positions[1]) return true;
  }
  return false;
}

bool FileExists(const std::string& FileName) {
  WriteLog("FileExists " + FileName);
  const std::optional<FindData> found = Look(FileName);
  return found && (found->attributes & (kAttributeHidden | kAttributeSystem)) == 0;
}
