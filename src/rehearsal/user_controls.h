// The names by which a rehearsal calls what the user clicks, ticks and answers.
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

struct NamedAnswer {
  const char* name;
  Answer answer;
};

constexpr NamedAnswer kAnswers[] = {
    {"ok", Answer::Ok}, {"cancel", Answer::Cancel}, {"yes", Answer::Yes}, {"no", Answer::No}};

}  // namespace rehearsal
