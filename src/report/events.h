// What the shell does for the rooms below it.
#pragma once

// Lets all pending events run. A user event that arrives while an action is under way is dropped;
// what the user moved or ticked meanwhile is put back.
void DoEvents();

// Rebuilds the drive list, as after a write.
void cmdRefreshDrive_Click();

// Selects a row of that list and makes its drive the current one (Combo1_Click).
void SelectDriveRow(int row);
