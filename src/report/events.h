// What the shell does for the rooms below it.
#pragma once

// Lets all pending events run. A user event that arrives while an action is under way is dropped;
// what the user moved or ticked meanwhile is put back.
void DoEvents();

// Builds the list of drives anew, as after a write.
void cmdRefreshDrive_Click();

// Selects a row of that list and makes its drive the one under work (Combo1_Click).
void SelectDriveRow(int row);
