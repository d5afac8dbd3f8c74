// Asks the folder windows of a volume to close before it is locked, on Windows XP and older and on
// versions that aren't known.
#pragma once

#include <string>

#include "platform/desktop.h"

// The Windows version as start-up found it: 0 unknown, 7 Windows XP, 11 the newest known one.
extern int OSVersionCode;

// Runs the sweep for the volume (a letter and a colon) where OSVersionCode is 7 or below.
void Close_Volume_Windows(const std::string& vol);

// Posts WM_CLOSE to each task window whose title begins with prefix, compared byte for byte. Does
// not wait. An empty prefix does nothing.
void Close_Windows_By_Title(const std::string& prefix);

// True for the window of an application: titled, visible, without an owner.
bool IsTaskWindow(WindowHandle hwnd);

std::string GetWindowTitle(WindowHandle hwnd);
