#include "shell/program.h"

#include "disk/drive_discovery.h"
#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "disk/volume_lock.h"
#include "disk/window_sweep.h"
#include "imagefiles/child_process.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/file_order.h"
#include "imagefiles/measured_file.h"
#include "restore/mbr_writer.h"
#include "shell/drive_inventory.h"
#include "shell/drive_panel.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "shell/one_instance.h"
#include "shell/window_design.h"

void RunProgram(const Platform& platform) {
  Sys = platform;
  ResetProgram();
  if (!IsOnlyInstance()) return;
  Sys.toolkit->CreateForm(kFormDesign, OnUserEvent);
  OnUserEvent(UserEvent::Form_Load);
  Sys.toolkit->RunEventLoop();
}

void ResetProgram() {
  SectorBuffer.clear();
  SectorFlags = {};
  for (std::string* text :
       {&MYDRIVE, &vol1, &vol2, &vol3, &vol4, &ScsiProductText, &ScsiRevisionText, &ScsiVendorField,
        &MediaKind, &VolumeLabel, &VolumeSerial, &GFE_Path, &TempFolder}) {
    text->clear();
  }
  Physical_Drive_no = 0;
  Picked_Drive_no = kNoDrive;
  hDrive = kNoHandle;
  lngHandle = kNoHandle;
  ToolCopyHandle = kNoHandle;
  ShowAllDrives = false;
  DriveBytes = 0;
  OSVersionCode = 0;
  Measured = {};
  LastStart = 0;
  SettleDelay = 0;
  WRITES_OK = false;
  FormHeight = 0;
  FormWidth = 0;
  LoggingEnabled = false;
  LogLineCount = 0;
  LastShellFailure = {};
  ForgetHeldVolumes();
  ForgetActions();
}
