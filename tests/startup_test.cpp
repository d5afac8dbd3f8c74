// Start-up: what it leaves in the program and in its window. tests/cases/startup.txt has the rest.
#include "shell/startup.h"

#include "disk/raw_sector_io.h"
#include "disk/window_sweep.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "restore/mbr_writer.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "tests/support.h"

namespace {

TEST(Startup, SetsTheProgramsStateAndTheWindow) {
  StartedPc p;
  EXPECT_EQ((Texts{TempFolder, GFE_Path, Measured.GFE_File}),
            (Texts{"C:\\Temp\\", "C:\\Temp\\getFileExtents.exe", "C:\\Temp\\GFE_Output.txt"}));
  EXPECT_EQ(SettleDelay, 2000);
  EXPECT_FALSE(WRITES_OK);
  EXPECT_EQ(OSVersionCode, 11);
  const VirtualToolkit& window = p.pc.toolkit;
  EXPECT_TRUE(window.shown);
  EXPECT_TRUE(window.caption.starts_with("ROTATE_TSD  for NTFS TSD drives    v1.1.0  "));
  EXPECT_GT(window.caption.size(), 44U) << "a notice stands at the end";
  EXPECT_EQ(FormHeight, window.height);
  EXPECT_EQ(FormWidth, window.width);
  EXPECT_EQ(window.top * 2 + window.height, 15360);
  EXPECT_EQ(window.left * 2 + window.width, 20480);
}

}  // namespace
