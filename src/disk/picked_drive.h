// The drive that the user picked, and whether it is still that one. Sticks are swapped, letters
// move and other programs write tables while a question is open; a table is replaced only where
// the drive and its sector 0 are what they were when the new one was prepared.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disk/sector_buffer.h"

// The drive on which MYDRIVE lay when it was picked; kNoDrive: on none, or nothing was picked yet.
extern std::int32_t Picked_Drive_no;

// "Drive 1", or "no drive" for a number above kHighestDrive.
std::string DriveText(std::int32_t drive);

// A box "Drive has changed!" that says what. Returns false.
bool RefuseChangedDrive(const std::string& what);

// A box "File is on another drive!": the file lies on the drive, and not on the picked one.
// Returns false.
bool RefuseOtherDrive(const std::string& file, std::int32_t drive);

// True: the file's volume lies on the picked drive. Else that box.
bool IsOnPickedDrive(const std::string& file);

// True: Physical_Drive_no, as MYDRIVE has just given it, is the picked drive. Else a box.
bool IsPickedDrive();

// ReadOrTell of MYDRIVE, and false with a box where MYDRIVE lies on another drive than the picked
// one by now.
bool ReadPickedDrive(std::int64_t sector);

// True: MYDRIVE lies on the picked drive, and sector 0 of that drive is table; an empty one stands
// for a sector 0 that can't be read. Else a box. Leaves SectorBuffer and its verdicts alone.
bool TableIsStill(const std::optional<Sector>& table);

// True, with a box: the table belongs to a GPT disk, whose own entries lie where LBA 30 is.
bool RefuseGpt(const Sector& table);
