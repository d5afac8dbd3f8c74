// The window's events: what a person can do, and the routine that it runs.
#pragma once

#include <algorithm>
#include <array>

#include "platform/toolkit.h"
#include "report/events.h"
#include "restore/partition_restore.h"
#include "restore/partition_swap.h"
#include "shell/drive_panel.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "shell/startup.h"
#include "switch/switch_run.h"

struct EventRoutine {
  UserEvent event;
  const char* name;  // in a report
  void (*run)();
};

// One row per control that can be worked.
struct ControlRow {
  Control control;
  Gesture gesture;
  EventRoutine routine;
};

constexpr std::array kControlRows = std::to_array<ControlRow>({
    {Control::Combo1, Gesture::Select, {UserEvent::Combo1_Click, "Combo1_Click", Combo1_Click}},
    {Control::chkShowAll,
     Gesture::Click,
     {UserEvent::chkShowAll_Click, "chkShowAll_Click", chkShowAll_Click}},
    {Control::cmdRefreshDrive,
     Gesture::Click,
     {UserEvent::cmdRefreshDrive_Click, "cmdRefreshDrive_Click", cmdRefreshDrive_Click}},
    {Control::cmdRestoreTSD,
     Gesture::Click,
     {UserEvent::cmdRestoreTSD_Click, "cmdRestoreTSD_Click", cmdRestoreTSD_Click}},
    {Control::cmdSwitchPtns,
     Gesture::Click,
     {UserEvent::cmdSwitchPtns_Click, "cmdSwitchPtns_Click", cmdSwitchPtns_Click}},
    {Control::cmdHelp, Gesture::Click, {UserEvent::cmdHelp_Click, "cmdHelp_Click", cmdHelp_Click}},
    {Control::cmdExit, Gesture::Click, {UserEvent::cmdExit_Click, "cmdExit_Click", cmdExit_Click}},
    {Control::Label2, Gesture::Click, {UserEvent::Label2_Click, "Label2_Click", Label2_Click}},
    {Control::List1,
     Gesture::DoubleClick,
     {UserEvent::List1_DblClick, "List1_DblClick()", List1_DblClick}},
    {Control::Label1,
     Gesture::DoubleClick,
     {UserEvent::Label1_DblClick, "Label1_DblClick", Label1_DblClick}},
    {Control::Chk_ISO, Gesture::Click, {UserEvent::Chk_ISO_Click, "Chk_ISO_Click", Chk_ISO_Click}},
    {Control::cmd_rebootPE,
     Gesture::Click,
     {UserEvent::cmd_rebootPE_Click, "cmd_rebootPE_Click", cmd_rebootPE_Click}},
});

// What happens to the window itself.
constexpr std::array kFormRows = std::to_array<EventRoutine>({
    {UserEvent::Form_Load, "Form_Load", Form_Load},
    {UserEvent::Form_QueryUnload, "Form_QueryUnload", Form_QueryUnload},
    {UserEvent::Form_EndSession, "Form_EndSession", Form_EndSession},
    {UserEvent::Form_Resize, "Form_Resize", Form_Resize},
});

// What the toolkit raises.
constexpr std::array<ControlEvent, kControlRows.size()> kControlEvents = [] {
  std::array<ControlEvent, kControlRows.size()> events{};
  std::transform(kControlRows.begin(), kControlRows.end(), events.begin(), [](const auto& row) {
    return ControlEvent{row.control, row.gesture, row.routine.event};
  });
  return events;
}();

constexpr const EventRoutine& RoutineOf(UserEvent event) {
  for (const EventRoutine& routine : kFormRows) {
    if (routine.event == event) return routine;
  }
  return std::find_if(kControlRows.begin(), kControlRows.end(),
                      [&](const auto& row) { return row.routine.event == event; })
      ->routine;
}
