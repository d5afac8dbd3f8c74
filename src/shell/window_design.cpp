#include "shell/window_design.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "report/product.h"
#include "shell/window_events.h"

namespace {

constexpr Rgb kPaleYellow{255, 255, 192};
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kRed{255, 0, 0};

constexpr std::array<ControlDesign, kControlCount> kControls{{
    {.id = Control::Combo1,
     .name = "Combo1",
     .kind = ControlKind::DropDownList,
     .left = 75,
     .top = 150,
     .width = 6345,
     .height = 315,
     .toolTip = "Select the drive you want to test (only grub4dos drives are listed)",
     .spokenName = "Drive",
     .visible = true,
     .sorted = true,
     .backColour = &kPaleYellow},
    {.id = Control::Drive1,
     .name = "Drive1",
     .kind = ControlKind::DriveSelector,
     .left = 4185,
     .top = 4425,
     .width = 3390,
     .height = 315},
    {.id = Control::chkShowAll,
     .name = "chkShowAll",
     .kind = ControlKind::CheckBox,
     .left = 6510,
     .top = 150,
     .width = 1530,
     .height = 315,
     .caption = "&List all drives",
     .toolTip = "Display all drives in selection box that have grub4dos boot code in MBR",
     .visible = true},
    {.id = Control::cmdRefreshDrive,
     .name = "cmdRefreshDrive",
     .kind = ControlKind::Button,
     .left = 8235,
     .top = 135,
     .width = 1470,
     .height = 360,
     .caption = "&Refresh",
     .toolTip = "Use if you have inserted or removed a drive",
     .visible = true},
    {.id = Control::cmdRestoreTSD,
     .name = "cmdRestoreTSD",
     .kind = ControlKind::Button,
     .left = 8235,
     .top = 855,
     .width = 1470,
     .height = 690,
     .caption = "Restore &TSD partitions",
     .toolTip = "Restore TSD partitions (if drive is in CSM mode)",
     .visible = true,
     .hasIcon = true},
    {.id = Control::cmdSwitchPtns,
     .name = "cmdSwitchPtns",
     .kind = ControlKind::Button,
     .left = 8220,
     .top = 1815,
     .width = 1470,
     .height = 690,
     .caption = "Access &Partition 2 on a Removable drive",
     .toolTip = "Only the first partition is accessible in Windows on removable USB drives",
     .visible = true},
    {.id = Control::cmdHelp,
     .name = "cmdHelp",
     .kind = ControlKind::Button,
     .left = 8235,
     .top = 4635,
     .width = 1470,
     .height = 360,
     .caption = "&Help",
     .toolTip = "Help",
     .visible = true},
    {.id = Control::cmdExit,
     .name = "cmdExit",
     .kind = ControlKind::Button,
     .left = 8235,
     .top = 5190,
     .width = 1470,
     .height = 360,
     .caption = "E&xit",
     .toolTip = "Quit",
     .visible = true},
    {.id = Control::Label2,
     .name = "Label2",
     .kind = ControlKind::Label,
     .left = 6060,
     .top = 555,
     .width = 2280,
     .height = 285,
     .caption = PRODUCT_HOME_HOST,
     .visible = true,
     .centred = true,
     .textColour = &kBlue,
     .fontName = "Arial",
     .bold = true,
     .italic = true,
     .underlined = true},
    {.id = Control::List1,
     .name = "List1",
     .kind = ControlKind::ListBox,
     .left = 60,
     .top = 840,
     .width = 8010,
     .height = 4755,
     .toolTip = "Double-click to replace TSD partition with the partition image file(s)",
     .spokenName = "Partition image files",
     .visible = true,
     .sorted = true},
    {.id = Control::Label1,
     .name = "Label1",
     .kind = ControlKind::Label,
     .left = 75,
     .top = 600,
     .width = 4965,
     .height = 195,
     .caption = "Double-click on a .volPAK file to switch to the CSM Menu",
     .visible = true,
     .textColour = &kRed,
     .fontName = "MS Sans Serif",
     .bold = true},
    {.id = Control::Chk_ISO,
     .name = "Chk_ISO",
     .kind = ControlKind::CheckBox,
     .left = 8310,
     .top = 3180,
     .width = 1500,
     .height = 525,
     .caption = "Only search \\_ISO folder",
     .toolTip = "Untick to search for .volPAK files in all folders",
     .visible = true,
     .ticked = true},
    {.id = Control::cmd_rebootPE,
     .name = "cmd_rebootPE",
     .kind = ControlKind::Button,
     .left = 8330,
     .top = 2640,
     .width = 1230,
     .height = 360,
     .caption = "&Reboot",
     .toolTip = "Help",
     .visible = true},
}};

constexpr int kClientWidth = 9900;
constexpr int kClientHeight = 5655;

constexpr bool IsSound() {
  for (std::size_t tab = 0; tab < kControls.size(); ++tab) {
    const ControlDesign& c = kControls[tab];
    if (static_cast<std::size_t>(c.id) != tab || c.name == nullptr) return false;
    if (c.left < 0 || c.top < 0 || c.left + c.width > kClientWidth) return false;
    if (c.top + c.height > kClientHeight) return false;
    if (c.visible && c.caption == nullptr && c.spokenName == nullptr) return false;
    for (std::size_t other = 0; other < tab; ++other) {
      if (std::string_view(kControls[other].name) == c.name) return false;
    }
  }
  return true;
}
static_assert(IsSound(),
              "each control once, in tab order, inside the window, with something to call it by");

constexpr bool EventsFit() {
  if (kControlRows.size() + kFormRows.size() != kUserEventCount) return false;
  for (std::size_t i = 0; i < kUserEventCount; ++i) {
    const auto event = static_cast<UserEvent>(i);
    if (RoutineOf(event).event != event) return false;
  }
  return std::all_of(kControls.begin(), kControls.end(), [](const ControlDesign& control) {
    return std::count_if(kControlRows.begin(), kControlRows.end(), [&](const ControlRow& row) {
             return row.control == control.id;
           }) == (control.visible ? 1 : 0);
  });
}
static_assert(EventsFit(),
              "each event has a routine, and each control that can be worked an event");

}  // namespace

constexpr FormDesign kFormDesign{.className = "Rotate_TSD_Form",
                                 .caption = PRODUCT_TITLE,
                                 .clientWidth = kClientWidth,
                                 .clientHeight = kClientHeight,
                                 .controls = kControls.data(),
                                 .events = kControlEvents};

const ControlDesign& DesignOf(Control control) {
  return kControls[static_cast<std::size_t>(control)];
}
