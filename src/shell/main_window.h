// The window's events: which routine each one runs, and that only one action runs at a time.
#pragma once

#include "platform/toolkit.h"

// The window's outer size at load, in twips, to which Form_Resize goes back. Set by start-up.
extern float FormHeight;
extern float FormWidth;

// Hands a user event to its event routine. While an action runs every further event is dropped,
// but for a close or Exit, which is carried out when the action has ended. Nothing escapes.
void OnUserEvent(UserEvent event);

void Form_QueryUnload();
void Form_Resize();
void cmdHelp_Click();
void cmdExit_Click();
void Label2_Click();

// Back to no action under way. For the program's fresh state.
void ForgetActions();
