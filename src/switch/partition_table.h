// Composes the new MBR in SectorBuffer from a fresh copy of LBA 0. Nothing is written here; all
// bytes but the table and the disk signature stay as they are on the drive.
#pragma once

#include <cstdint>
#include <string>

#include "switch/place_proof.h"
#include "switch/switch_run.h"

constexpr std::uint8_t kTypeNtfs = 0x07;
constexpr std::uint8_t kTypeFat32Chs = 0x0B;
constexpr std::uint8_t kTypeFat32 = 0x0C;

// False: the run stops, after a box.
bool ComposeTable(SwitchRun& run);

// Returns the partition type for an image, from its first sector: 7 (NTFS), 12 (FAT32) or 0
// (unknown, or the file can't be read, which is reported). Stores in first what was read.
std::uint8_t Get_Format_Type(const std::string& fname, FirstBytes& first);

// Asks for the type of the "1st", "2nd" or "4th" file, hexadecimal with or without 0x. Returns 0
// for Cancel and for anything but a number; may return more than 0xFF.
std::uint64_t Ask_User_What_Type(std::uint64_t typ, const std::string& pos);

// FStart and FLength of Measured as numbers. Both must have passed file_limits.h.
SectorRun Get_start_length_bytes();

// Writes one built entry into SectorBuffer at EntryOffset. A PType above 0xFF leaves the type byte
// as it is.
void Patch_PTN_Table(std::size_t EntryOffset, const SectorRun& run, std::uint64_t PType);

void Show_Ptns();
