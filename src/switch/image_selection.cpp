#include "switch/image_selection.h"

#include "disk/drive_discovery.h"
#include "disk/file_probe.h"
#include "disk/picked_drive.h"
#include "disk/sector_buffer.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/file_order.h"
#include "imagefiles/image_search.h"
#include "imagefiles/measured_file.h"
#include "report/log.h"
#include "report/message_box.h"
#include "switch/file_limits.h"
#include "text/text.h"

namespace {

bool Refuse(const std::string& title, const std::string& text) {
  MsgBox({.title = title, .text = text, .icon = Icon::Exclamation});
  return false;
}

bool StopInvalid(const std::string& file) {
  return Refuse(
      "File invalid",
      "ERROR: File " + file + " is too small, not accessible/contiguous or not an NTFS drive!");
}

// Asked: the question was put, and the run goes on, repaired or not.
enum class Order { Right, Asked, Stopped };

// Asks about a file that lies below one that must come before it, and repairs if the user agrees.
Order CheckOrder(const SwitchRun& run, const std::string& later, const std::string& laterStart,
                 const std::string& earlier, const std::string& earlierStart) {
  if (!(HexToDec(laterStart) < HexToDec(earlierStart))) return Order::Right;
  const Answer answer = MsgBox({.title = "Run MOVE_VOLPAK? (fix bad file order)",
                                .text = "WARNING: File " + later +
                                        " is in wrong order for UEFI booting.\r\n\r\n"
                                        "Re-order files? (it may take some time - PLEASE WAIT!)",
                                .buttons = Buttons::YesNoCancel});
  if (answer == Answer::Cancel) return Order::Stopped;
  if (answer == Answer::Yes) MoveFiles(earlier, later, run.ImageFile);
  if (Measured.FStartSectors == 0) {
    Refuse("File invalid", "ERROR: File " + later + " file is before " + earlier + " on the disk!");
    return Order::Stopped;
  }
  return Measured.MoreThanOneExtent ? Order::Stopped : Order::Asked;
}

bool MeasureImage(SwitchRun& run) {
  if (!IsOnPickedDrive(run.ImageFile)) return false;
  GetFileStart(run.ImageFile);
  run.FStart1 = Measured.FStart;
  if (Measured.FStartSectors == 0) return StopInvalid(run.ImageFile);
  if (Measured.FStart.size() > kHexDigitsOf32Bits) {
    return Refuse("File beyond 2TB", "ERROR: File is beyond 2TB on disk!");
  }
  if (Measured.FLength.size() > kHexDigitsOf32Bits) {
    return Refuse("File too large", "ERROR: File is larger than 2TB!");
  }
  return true;
}

// The companion or the fourth file: the boxes are the same.
bool MeasureFurther(const std::string& file) {
  if (!IsOnPickedDrive(file)) return false;
  GetFileStart(file);
  if (!IsShorterThan2TB(file)) return false;
  return Measured.FStartSectors == 0 ? StopInvalid(file) : true;
}

bool TakeCompanion(SwitchRun& run) {
  if (!MeasureFurther(run.CompanionFile)) return false;
  run.FStart2 = Measured.FStart;
  const Order order = CheckOrder(run, run.CompanionFile, run.FStart2, run.ImageFile, run.FStart1);
  if (order == Order::Stopped) return false;
  if (order == Order::Asked) run.FStart2 = Measured.FStart;
  return LiesWithin2TB(run.CompanionFile, run.FStart2);
}

bool TakeFourth(SwitchRun& run) {
  if (!MeasureFurther(run.FourthFile)) return false;
  if (CheckOrder(run, run.FourthFile, Measured.FStart, run.ImageFile, run.FStart1) ==
      Order::Stopped) {
    return false;
  }
  if (!run.FStart2.empty() && CheckOrder(run, run.FourthFile, Measured.FStart, run.CompanionFile,
                                         run.FStart2) == Order::Stopped) {
    return false;
  }
  return LiesWithin2TB(run.FourthFile, Measured.FStart);
}

}  // namespace

bool SelectFiles(SwitchRun& run) {
  Mark(run, 300);
  run.ImageFile = GetList1();
  if (!MeasureImage(run)) return false;
  Mark(run, 400);
  run.Image = ParseImageName(run.ImageFile);
  run.CompanionFile = FirstFileAt(CompanionPlaces(run.Image)).path;
  if (!run.CompanionFile.empty()) run.CompanionName = ProbeFile(run.CompanionFile);
  Mark(run, 410);
  if (!run.CompanionName.empty() && !TakeCompanion(run)) return false;
  Mark(run, 500);
  GetDriveLetter(Physical_Drive_no);  // sets vol1 to vol4 to this drive's
  run.FourthFile = FirstFileAt(FourthPlaces(run.Image, false)).path;
  return run.FourthFile.empty() || TakeFourth(run);
}
