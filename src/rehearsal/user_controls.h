// The names by which a rehearsal calls what the user clicks and ticks.
#pragma once

#include "platform/toolkit.h"

namespace rehearsal {

struct NamedControl {
  const char* name;
  Control control;
};

constexpr NamedControl kButtons[] = {
    {"refresh", Control::cmdRefreshDrive},
    {"restore", Control::cmdRestoreTSD},
    {"swap", Control::cmdSwitchPtns},
    {"help", Control::cmdHelp},
    {"exit", Control::cmdExit},
    {"reboot", Control::cmd_rebootPE},
    {"link", Control::Label2},
};
constexpr NamedControl kTickBoxes[] = {{"iso", Control::Chk_ISO}, {"all", Control::chkShowAll}};

}  // namespace rehearsal
