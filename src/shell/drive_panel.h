// The upper part of the window: which drives are offered, and which one is current.
#pragma once

#include <cstdint>
#include <string>

#include "platform/toolkit.h"
#include "report/events.h"  // cmdRefreshDrive_Click, SelectDriveRow

extern std::string VolumeLabel;   // of the volume last asked about
extern std::string VolumeSerial;  // its serial number, "HHHH-LLLL"

// Rebuilds the list of drives and selects its first row.
void Drive1_Change();

// Makes the selected row's drive the current one; fills List1 and sets the two buttons.
void Combo1_Click();

void Chk_ISO_Click();
void chkShowAll_Click();

// Label and serial number of a volume (a letter and a colon); both empty if there is none.
void rgbGetVolume(const std::string& Drive, std::string& label, std::string& serial);

// Sets the width in twips that the list can scroll.
void SetHorizontalExtent(Control list, std::int16_t width);
