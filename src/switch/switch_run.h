// The switch: makes an image file partition 1 of its own stick. One run goes through the phases of
// this module in order and ends at the first check that fails.
//
// Disk writes of a whole run, in order: LBA 60, LBA 30 (copies of LBA 0), the image's first sector
// (4 bytes of it), LBA 0.
#pragma once

#include <cstdint>
#include <string>

#include "disk/sector_buffer.h"
#include "imagefiles/image_name.h"
#include "imagefiles/measured_file.h"
#include "report/routine.h"

// Working state of one run.
struct SwitchRun {
  Routine me{ReportLayout::MainWindow, "List1_DblClick()"};

  // The checks of LBA 0 and of the backup sectors.
  Sector Table{};  // LBA 0 as it was judged and saved; the new table must replace just this one
  bool MbrRejected = false;
  bool Lba30Usable = false;
  bool Lba60Usable = false;
  bool SavedTableFound = false;         // LBA 30 or 60 holds a sound saved table
  bool StartsInSavedPartition = false;  // an entry of Table does, as only a switch makes it

  // The three files, full paths; empty where a role isn't filled.
  std::string ImageFile;      // table entry 1
  ImageName Image;            // its parts and marks
  std::string CompanionFile;  // table entry 3
  std::string FourthFile;     // table entry 4
  std::string CompanionName;  // bare name; empty: no companion
  std::string FStart1;        // FStart of the image
  std::string FStart2;        // FStart of the companion, or empty

  // The new table.
  std::uint64_t PTYPE1 = 0, PTYPE3 = 0, PTYPE4 = 0;
  SectorRun Run1, Run3, Run4;                // where the files of entries 1, 3 and 4 lie
  Sector BootRecord{};                       // the first sector of Run1 when entry 1 was built
  std::string Ptn2Text, Ptn3Text, Ptn4Text;  // how the report calls an entry that isn't built
};

// The event of a double-click on a line of List1: the whole run.
void List1_DblClick();

// Writes the log mark "List1_DblClick " + mark.
void Mark(SwitchRun& run, int mark);

// Reads LBA 0 into SectorBuffer. False, with a box: it can't be read, or isn't run.Table any more.
bool ReadPickedTable(const SwitchRun& run);
