// Letting pending window events run, for the rooms below the shell.
#pragma once

// Lets all pending events run. A user event that arrives while an action is under way is dropped;
// what the user moved or ticked meanwhile is put back.
void DoEvents();
