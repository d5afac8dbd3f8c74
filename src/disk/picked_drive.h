// The drive that the user picked, and whether it is still the same. Sticks are swapped, letters
// move and other programs write tables while a question is open; a table is replaced only if the
// drive and its sector 0 are what they were when the new table was prepared.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disk/sector_buffer.h"

// The drive that held MYDRIVE when it was picked; kNoDrive: none, or nothing picked yet.
extern std::int32_t Picked_Drive_no;

// "Drive 1", or "no drive" for a number above kHighestDrive.
std::string DriveText(std::int32_t drive);

// Shows the box "Drive has changed!" with the reason what. Returns false.
bool RefuseChangedDrive(const std::string& what);

// Shows the box "File is on another drive!": the file is on drive, not on the
// picked one. Returns false.
bool RefuseOtherDrive(const std::string& file, std::int32_t drive);

// True: the file's volume is on the picked drive. Otherwise shows that box.
bool IsOnPickedDrive(const std::string& file);

// True: Physical_Drive_no, just read from MYDRIVE, is the picked drive. Otherwise shows a box.
bool IsPickedDrive();

// ReadOrReport for MYDRIVE. Also false, with a box, if MYDRIVE is now on another drive than the
// picked one.
bool ReadPickedDrive(std::int64_t sector);

// True: MYDRIVE is on the picked drive, and sector 0 of that drive equals table (empty: the sector
// can't be read). Otherwise shows a box. Changes neither SectorBuffer nor its verdicts.
bool TableIsStill(const std::optional<Sector>& table);

// True, with a box: the table is that of a GPT disk, whose partition entries include LBA 30.
bool RefuseGpt(const Sector& table);
