#include "imagefiles/file_order.h"

#include <optional>

#include "disk/file_probe.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "imagefiles/moving_file.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"
#include "report/message_box.h"
#include "report/routine.h"
#include "text/text.h"

ExactInteger LastStart;

namespace {

constexpr std::uint32_t kPause = 100;  // ms
constexpr int kFirstLoopRounds = 21;
constexpr int kSecondLoopRounds = 11;
constexpr int kMostCopies = kFirstLoopRounds + 1 + kSecondLoopRounds;

int StepNo = 0;  // how far the repair has come; for its error box
int CopyNo = 0;  // which copy it is; for the title bar

std::string NextCopy() {
  return "copy " + Decimal(++CopyNo) + " of at most " + Decimal(kMostCopies);
}

void ReportMoveFault(const Fault& fault) {
  MsgBox({.title = "Error in MOVE loop - make a note of this message!",
          .text = "@Line" + Decimal(StepNo) + " - Error # " + Decimal(fault.number) + " - " +
                  fault.description,
          .icon = Icon::Stop});
}

// How the two loops differ: length, pause, and the values of StepNo.
struct LoopPlan {
  int rounds;
  bool pauses;
  int atStart, beforeCopy, afterCopy, afterPause, beforeRename, afterRename;
};
constexpr LoopPlan kFirstLoop{kFirstLoopRounds, true, 1, 2, 3, 4, 7, 8};
constexpr LoopPlan kSecondLoop{kSecondLoopRounds, false, 21, 22, 23, 24, 27, 28};

// Moves last until it lies after first. True: it does.
bool RunLoop(const LoopPlan& plan, const std::string& first, MovingFile& last) {
  RoundPositions Positions;
  for (int n = 1; n <= plan.rounds; ++n) {
    StepNo = plan.atStart;
    const bool inOrder = ComparePos(first, last.Path());
    if (inOrder || Measured.MoreThanOneExtent) return !Measured.MoreThanOneExtent;
    Positions[static_cast<std::size_t>(n)] = LastStart;
    if (RepeatPos(Positions)) return false;
    StepNo = plan.beforeCopy;
    last.Copy(NextCopy());
    DoEvents();
    StepNo = plan.afterCopy;
    if (plan.pauses) Sys.clock->Sleep(kPause);
    StepNo = plan.afterPause;
    if (!last.CopyIsThere() || !last.KeepWholeCopy()) continue;
    last.SetAside();
    StepNo = plan.beforeRename;
    last.GiveName();
    StepNo = plan.afterPause;
    last.DeleteAside();
    StepNo = plan.afterRename;
    if (last.IsNameless()) return false;
  }
  return false;
}

void MoveFirstOnce(MovingFile& first) {
  StepNo = 12;
  first.Copy(NextCopy());
  StepNo = 13;
  DoEvents();
  if (first.CopyIsThere() && first.KeepWholeCopy()) {
    Sys.clock->Sleep(kPause);
    DoEvents();
    if (FileExists(first.Path())) {
      StepNo = 15;
      first.SetAside();
    }
    DoEvents();
  }
  StepNo = 17;
  DoEvents();
  if (first.CopyIsThere()) first.GiveName();
  StepNo = 15;
  first.DeleteAside();
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

void MoveFiles(const std::string& FirstFile, const std::string& LastFile,
               const std::string& ImageFile) {
  WriteLog("MoveFiles started");
  StepNo = CopyNo = 0;
  Measured.MoreThanOneExtent = false;
  const Routine me(ReportMoveFault);
  MovingFile last(LastFile, "xxx");
  MovingFile first(FirstFile, "zzz");
  if (last.WouldTakeANameOf(ImageFile) || first.WouldTakeANameOf(ImageFile)) {
    last.StayInPlace();
    first.StayInPlace();
  }
  last.ClearUp();
  first.ClearUp();
  bool inOrder = RunLoop(kFirstLoop, FirstFile, last);
  if (!inOrder && !Measured.MoreThanOneExtent && !last.IsNameless()) {
    MoveFirstOnce(first);
    if (!first.IsNameless()) inOrder = RunLoop(kSecondLoop, FirstFile, last);
  }
  const bool lastWasNameless = last.Finish();
  if (first.Finish() || lastWasNameless) {
    inOrder = ComparePos(FirstFile, LastFile) && !first.IsNameless() && !last.IsNameless();
  }
  if (!Measured.MoreThanOneExtent) ShowOutcome(inOrder, LastFile);
}

bool ComparePos(const std::string& File1, const std::string& File2) {
  WriteLog("ComparePos");
  GetFileStart(File1);
  if (Measured.MoreThanOneExtent) return false;
  const ExactInteger start1 = HexToDec(Measured.FStart);
  GetFileStart(File2);
  if (Measured.MoreThanOneExtent) return false;
  LastStart = HexToDec(Measured.FStart);
  return LastStart > start1;
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
  const std::optional<FindData> found = FindFile(FileName);
  return found && (found->attributes & (kAttributeHidden | kAttributeSystem)) == 0;
}
