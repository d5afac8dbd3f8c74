// Exchanges the first two table entries of a removable drive, of which Windows may show only the
// first.
#pragma once

void cmdSwitchPtns_Click();
