// One running program for each logon: a second one would share its files in the temp folder.
#pragma once

// True: no other one runs, or nothing can be learned of it. False: this one has to end. The other
// one has been brought to the front then, or a box has said that it doesn't answer.
bool IsOnlyInstance();
