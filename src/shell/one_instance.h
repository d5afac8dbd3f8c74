// One running program per logon: a second one would share its files in the temp folder.
#pragma once

// True: no other instance runs, or it can't be determined. False: this one must end; the other one
// has been brought to the front, or a box has reported that it doesn't answer.
bool IsOnlyInstance();
