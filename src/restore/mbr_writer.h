// SWITCH: the one routine through which every new MBR reaches the disk.
#pragma once

#include <cstdint>

// The waits around a write take half of it, in milliseconds. Set by start-up.
extern std::int16_t SettleDelay;

// Writes SectorBuffer to LBA 0 of Physical_Drive_no with the drive's volumes dismounted, has the
// system read the table again and refreshes the drive list, keeping the selected drive. False: the
// write failed, a box has reported it, and nothing further was done. Sets no error mode: failed
// steps go to the caller's.
bool SWITCH();

// Waits half of SettleDelay, then lets events run.
void Settle();
