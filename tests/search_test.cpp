// The search for image files, called with what no whole run has. tests/cases/search.txt has the
// rest.
#include "disk/drive_discovery.h"
#include "disk/file_probe.h"
#include "disk/sector_buffer.h"
#include "imagefiles/image_search.h"
#include "platform/platform.h"
#include "tests/support.h"

namespace {

// A stick with E: selected and without images.
struct Searching : PreparedPc {
  Searching() {
    for (const demo::Place& place : {demo::kNtfsImage, demo::kFatImage, demo::kLinuxImage,
                                     demo::kMarkedImage, demo::kCompanion, demo::kFourth}) {
      world.e.Remove(place.path);
    }
    MYDRIVE = "E:";
    Physical_Drive_no = 1;
    GetDriveLetter(1);
  }
  void Add(const std::string& path) { pc.machine.VolumeAt(path[0])->AddText(path.substr(2), "x"); }
  Texts Found() {
    ListFiles();
    return Rows(Control::List1);
  }
};

TEST(Search, LooksAtTheVolumesAnewAfterTheCompanion) {
  Searching s;
  for (const char* path : {"E:\\_ISO\\a.volPAKX4b", "F:\\_ISO\\a", "F:\\_ISO\\b"}) s.Add(path);
  vol1 = vol2 = vol3 = vol4 = "";
  EXPECT_EQ(s.Found(), Texts{"E:\\_ISO\\a.volPAKX4b :&X4: F:\\_ISO\\b"});
  EXPECT_EQ(s.pc.toolkit.pointer, Pointer::Default);
}

TEST(Search, FileInUseIsThereThoughItTellsNoAttributes) {
  Searching s;
  s.Add("E:\\_ISO\\a");
  s.pc.machine.plan = {.kind = FaultKind::Refusal, .mask = MaskOf(Op::Attributes), .error = 32};
  EXPECT_TRUE(FileIsThere("E:\\_ISO\\a"));
}

TEST(Search, CountsAndRoots) {
  Searching s;
  s.Add("E:\\$RECYCLE.BIN\\a.volPAK");
  s.Add("E:\\other\\b.volPAK");
  std::string path = "E:";
  std::int32_t files = 5, folders = 0;
  FindFilesAPI(path, "*.volpak*", files, folders);
  EXPECT_EQ(path, "E:\\");
  EXPECT_EQ(files, 7) << "an image in the recycle bin is counted, not listed";
  EXPECT_EQ(folders, 5) << "$RECYCLE.BIN, _ISO, its tsd isn't entered, other, tsd";
  EXPECT_EQ(s.Rows(Control::List1), Texts{"E:\\other\\b.volPAK"});
  for (const char* root : {"", "E", "Q:"}) {
    MYDRIVE = root;
    EXPECT_EQ(s.Found(), Texts()) << root;
  }
  s.Add("E:\\_ISO\\tsd\\c.volPAK");
  MYDRIVE = "E:\\_ISO\\tsd";
  EXPECT_EQ(s.Found(), Texts()) << "also where the walk begins there";
  MYDRIVE = "E:\\other";
  EXPECT_EQ(s.Found(), Texts{"E:\\other\\b.volPAK"}) << "nothing is appended";
}

}  // namespace
