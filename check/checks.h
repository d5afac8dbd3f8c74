// The parts of the check. Each adds its rows to the findings. None writes outside the workplace.
#pragma once

#include "check/findings.h"
#include "check/workplace.h"

// The contract of the platform, on this system.
void CheckContract(Findings& findings, const Workplace& place);

// What the system says of disks, volumes and letters; printed as well.
void CheckFacts(Findings& findings);

// Files that were just written lie on the disk where the extents tool says.
void CheckExtents(Findings& findings, const Workplace& place);

// Every caption fits its control, with two fonts at three densities.
void CheckCaptions(Findings& findings);

// The program's window, worked as a person would.
void CheckWindow(Findings& findings, const Workplace& place);

// What a hidden child of the contract does: `windows_check ask`. Returns its exit code.
int AskAsChild();
