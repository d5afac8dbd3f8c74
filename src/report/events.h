// What the shell does for the modules below it.
#pragma once

// Processes all pending events. A user event that arrives during an action is dropped, and what the
// user selected or ticked in that time is restored.
void DoEvents();

// Draws the window where that is due. Keys and clicks in the queue are discarded and no user event
// runs; what another program ticked or picked is put back.
void Repaint();

// Rebuilds the drive list, as after a write.
void cmdRefreshDrive_Click();

// Selects a row of that list and makes its drive the current one (Combo1_Click).
void SelectDriveRow(int row);
