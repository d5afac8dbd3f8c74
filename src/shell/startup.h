// Start-up: what happens before the window is on the screen, and the button shown only in Windows
// PE.
#pragma once

// Sets the program's state, finds, copies and tries the extents tool, shows the window and fills
// the drive list. Ends the process if the tool is missing or can't be copied.
void Form_Load();

void cmd_rebootPE_Click();

// The code of a Windows version (see OSVersionCode): 0 for one not in the table.
int VersionCode(unsigned platformId, unsigned major, unsigned minor);
