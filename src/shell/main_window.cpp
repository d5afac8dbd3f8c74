#include "shell/main_window.h"

#include <exception>
#include <optional>
#include <tuple>

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "imagefiles/file_extents.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/message_box.h"
#include "report/product.h"
#include "report/routine.h"
#include "shell/log_writer.h"
#include "shell/window_events.h"

float FormHeight = 0;
float FormWidth = 0;

namespace {

bool ActionRuns = false;
std::optional<UserEvent> PendingEnd;  // a close or Exit that arrived during an action

bool EndsProgram(UserEvent event) {
  return event == UserEvent::cmdExit_Click || event == UserEvent::Form_QueryUnload;
}

// A failure that reaches the top of an event routine is reported like any other.
void RunRoutine(UserEvent event) {
  const EventRoutine& routine = RoutineOf(event);
  const Routine me(ReportLayout::MainWindow, routine.name);
  try {
    routine.run();
  } catch (const std::exception& error) {
    Routine::Failed({51, std::string("Internal error: ") + error.what()});
  }
  if (event == UserEvent::Form_QueryUnload) Sys.toolkit->UnloadForm();
}

// True while one of these lives, also when the process is ended by an exception.
struct ActionGuard {
  ActionGuard() { ActionRuns = true; }
  ~ActionGuard() { ActionRuns = false; }
  ActionGuard(const ActionGuard&) = delete;
  ActionGuard& operator=(const ActionGuard&) = delete;
};

// What a person can change with the mouse or the keyboard while no event routine may run.
struct Selections {
  int drive = Sys.toolkit->ListIndex(Control::Combo1);
  int image = Sys.toolkit->ListIndex(Control::List1);
  bool showAll = Sys.toolkit->IsTicked(Control::chkShowAll);
  bool onlyIso = Sys.toolkit->IsTicked(Control::Chk_ISO);

  void PutBack() const {
    const Selections now;
    if (now.drive != drive) Sys.toolkit->SetListIndex(Control::Combo1, drive);
    if (now.image != image) Sys.toolkit->SetListIndex(Control::List1, image);
    if (now.showAll != showAll) Sys.toolkit->SetTicked(Control::chkShowAll, showAll);
    if (now.onlyIso != onlyIso) Sys.toolkit->SetTicked(Control::Chk_ISO, onlyIso);
  }
};

}  // namespace

void OnUserEvent(UserEvent event) {
  // These two wait for no action: the session's end won't either.
  if (event == UserEvent::Form_Resize || event == UserEvent::Form_EndSession) {
    RoutineOf(event).run();
    return;
  }
  if (ActionRuns) {
    if (EndsProgram(event)) PendingEnd = event;
    return;
  }
  if (event == UserEvent::List1_DblClick && Sys.toolkit->ListIndex(Control::List1) < 0) return;
  {
    const ActionGuard guard;
    RunRoutine(event);
    // Clicks queued while the thread was blocked were made during this action: they are dropped.
    if (!EndsProgram(event)) DoEvents();
  }
  if (PendingEnd) {
    const UserEvent end = *PendingEnd;
    PendingEnd.reset();
    OnUserEvent(end);
  }
}

void DoEvents() {
  if (!ActionRuns) {
    Sys.toolkit->DoEvents();
    return;
  }
  const Selections before;
  Sys.toolkit->DoEvents();
  before.PutBack();
}

void Repaint() {
  const Selections before;
  Sys.toolkit->Repaint();
  before.PutBack();
}

void Form_QueryUnload() {
  DeleteToolCopy();
}

void Form_EndSession() {
  DeleteToolCopy();
}

void Form_Resize() {
  if (FormHeight <= 0 || Sys.toolkit->IsMinimised()) return;
  Sys.toolkit->SetFormHeight(FormHeight);
  Sys.toolkit->SetFormWidth(FormWidth);
}

void cmdHelp_Click() {
  MsgBox({.title = "Rotate_TSD for .volPAK files",
          .text = "This 32-bit Windows utility can be used to replace the TSD partition with "
                  "different partitions or switch back to the TSD partition without needing to "
                  "boot to the TSD menu.\r\n\r\n"
                  "Double-click on a .volPAK file to replace the TSD partition with the .volPAK "
                  "partition image. The USB drive will then boot to the CSM Menu instead of the "
                  "TSD Menu.\r\n\r\n"
                  "To restore the TSD partition, click on the 'Restore TSD Partitions' button."});
}

void cmdExit_Click() {
  MyCloseHandle(hDrive);
  DeleteToolCopy();
  Sys.processes->EndProcess();
}

void Label2_Click() {
  std::ignore = Sys.processes->ShellExecute("open", PRODUCT_HOME_URL, "0", "0", 1);
}

void ForgetActions() {
  ActionRuns = false;
  PendingEnd.reset();
}
