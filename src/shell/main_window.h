// The window's events: which routine each one runs, and that only one action runs at a time.
#pragma once

#include "platform/toolkit.h"

// The window's outer size at load, in twips, which Form_Resize restores. Set by start-up.
extern float FormHeight;
extern float FormWidth;

// Passes a user event to its event routine. While an action runs every further event is dropped,
// except for a close or Exit, which is carried out after the action. No failure escapes.
void OnUserEvent(UserEvent event);

void Form_QueryUnload();
void Form_EndSession();
void Form_Resize();
void cmdHelp_Click();
void cmdExit_Click();
void Label2_Click();

// Resets to no action in progress. For the program's fresh state.
void ForgetActions();
