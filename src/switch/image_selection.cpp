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

// Position from 1 of a search result, 0 for none.
std::size_t Position(std::size_t found) {
  return found == std::string::npos ? 0 : found + 1;
}

void FindCompanion(SwitchRun& run) {
  if (!run.ImageBase.empty()) {
    run.CompanionFile = FindCompanionElsewhere(run.ImageDrive, run.ImageFolder, run.ImageBase);
  }
  if (run.CompanionFile.empty() && FileIsThere(run.ImageStem)) run.CompanionFile = run.ImageStem;
  if (!run.CompanionFile.empty()) run.CompanionName = ProbeFile(run.CompanionFile);
}

void FindFourth(SwitchRun& run) {
  const std::string inImageFolder = "\\_ISO\\" + run.FourthName;
  run.FourthFile = FindOnOtherVolume(run.ImageDrive, inImageFolder);
  for (const std::string& path : {run.ImageDir + run.FourthName, run.ImageDrive + inImageFolder}) {
    if (run.FourthFile.empty() && FileIsThere(path)) run.FourthFile = path;
  }
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

// The parts of ImageFile, but for FourthName and the X4 mark.
void TakeNameApart(SwitchRun& run) {
  const std::string& file = run.ImageFile;
  run.ImageDrive = file.substr(0, 2);
  run.ExtPos = Position(file.rfind('.'));
  const std::size_t ext = run.ExtPos == 0 ? file.size() : run.ExtPos - 1;
  const std::size_t name = file.rfind('\\') == std::string::npos ? 0 : file.rfind('\\') + 1;
  run.ImageStem = file.substr(0, ext);
  run.ImageBase = ext > name ? file.substr(name, ext - name) : "";
  run.ImageDir = file.substr(0, name);
  run.ImageFolder = run.ImageDir.size() > 2 ? run.ImageDir.substr(2) : "";
  run.ImageExt = UpperCase(file.substr(ext));
  run.Mark23Pos = Position(file.find("23", ext));
  run.FStart2.clear();
}

}  // namespace

bool SelectFiles(SwitchRun& run) {
  Mark(run, 300);
  run.ImageFile = GetList1();
  if (!MeasureImage(run)) return false;
  Mark(run, 400);
  TakeNameApart(run);
  FindCompanion(run);
  Mark(run, 410);
  if (!run.CompanionName.empty() && !TakeCompanion(run)) return false;
  Mark(run, 500);
  if (run.ExtPos != 0) {
    run.MarkX4Pos = Position(FindIgnoringCase(run.ImageFile, "X4", run.ExtPos - 1));
  }
  GetDriveLetter(Physical_Drive_no);  // for its effect: vol1 to vol4 are those of this drive
  if (run.MarkX4Pos == 0) return true;
  run.FourthName = run.ImageFile.substr(run.MarkX4Pos + 1);
  if (run.FourthName.empty()) return true;
  FindFourth(run);
  return run.FourthFile.empty() || TakeFourth(run);
}
