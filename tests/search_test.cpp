// Image files of a volume, what is shown beside them, and the path back out of a line.
#include <algorithm>

#include "disk/drive_discovery.h"
#include "disk/file_probe.h"
#include "disk/sector_buffer.h"
#include "imagefiles/image_search.h"
#include "platform/platform.h"
#include "tests/support.h"

namespace {

// A stick without images on E:, F: and G:, with E: selected.
struct Searching : ProgramOnPc {
  Searching() {
    for (const demo::Place& place : {demo::kNtfsImage, demo::kFatImage, demo::kLinuxImage,
                                     demo::kMarkedImage, demo::kCompanion, demo::kFourth}) {
      world.e.Remove(place.path);
    }
    pc.AddVolume('G', world.stick, 25'000'000, 1'000).tiedToTable = false;
    pc.RenewTables();
    Prepare();
    Select('E');
    GetDriveLetter(1);
  }
  void Select(char letter) {
    MYDRIVE = {letter, ':'};
    Physical_Drive_no = 1;
  }
  VirtualFile& Add(const std::string& path) {
    return pc.machine.VolumeAt(path[0])->AddText(path.substr(2), "x");
  }
  Texts Found() {
    ListFiles();
    return Rows(Control::List1);
  }
};

TEST(Search, FoldersAndNames) {
  enum Found { kAlways, kEverywhere, kNever };
  const std::pair<Found, Texts> rows[] = {
      {kAlways,
       {"E:\\_ISO\\a.volPAK", "E:\\_ISO\\deep\\er\\a.VOLPAKAUTO", "E:\\_ISO\\a.volPAK.txt",
        "E:\\_ISO\\windows\\x\\a.volPAK", "E:\\_ISO\\folder.volPAK\\a.volPAK"}},
      {kEverywhere, {"E:\\a.volPAK", "E:\\other\\a.volPAK"}},
      {kNever,
       {"E:\\_ISO\\a.volPA", "F:\\_ISO\\a.volPAK", "E:\\_ISO\\tsd\\a.volPAK",
        "E:\\_ISO\\TSD\\deep\\a.volPAK", "E:\\_ISO\\docs\\a.volPAK", "E:\\_ISO\\docs2\\a.volPAK",
        "E:\\_ISO\\windows\\installs\\x\\a.volPAK", "E:\\_ISO\\$Recycle.bin\\a.volPAK"}}};
  for (const auto& [found, paths] : rows) {
    for (const std::string& path : paths) {
      SCOPED_TRACE(path);
      Searching s;
      s.Add(path).attributes = kAttributeHidden | kAttributeSystem;
      EXPECT_EQ(s.Found(), found == kAlways ? Texts{path} : Texts());
      s.pc.toolkit.SetTicked(Control::Chk_ISO, false);
      EXPECT_EQ(s.Found(), found != kNever ? Texts{path} : Texts());
      EXPECT_EQ(s.pc.toolkit.pointer, Pointer::Default);
    }
  }
}

// What was found by then is kept, and the folders found are entered.
TEST(Search, FolderThatBreaksOff) {
  for (const std::size_t nth : {2U, 3U}) {  // behind the folder itself and the one above it
    SCOPED_TRACE(nth);
    Searching s;
    for (const char* path : {"E:\\_ISO\\0\\deep\\a.volPAK", "E:\\_ISO\\a.volPAK"}) s.Add(path);
    s.TurnLoggingOn();
    s.pc.machine.plan = {.kind = FaultKind::Refusal, .nth = nth, .mask = MaskOf(Op::FindNext)};
    EXPECT_EQ(s.Found(), nth == 2 ? Texts{"E:\\_ISO\\a.volPAK"}
                                  : (Texts{"E:\\_ISO\\0\\deep\\a.volPAK", "E:\\_ISO\\a.volPAK"}));
    const Texts log = s.TakeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "FindFilesAPI: E:\\_ISO\\* can't be searched to its end, error 1117"),
              1);
  }
}

TEST(Search, RowsTellWhatBelongsToAnImage) {
  const struct {
    const char* name;
    char selected;
    Texts files, rows;
  } rows[] = {{"the second volume's _ISO, also of an image on it; the first X4 counts",
               'F',
               {"F:\\_ISO\\WIN\\a.volpakx4x4q", "F:\\_ISO\\WIN\\x4q", "F:\\_ISO\\X4q"},
               {"F:\\_ISO\\WIN\\a.volpakx4x4q :&X4: F:\\_ISO\\x4q"}},
              {"sorted, though the walk comes to the folder last; one without a stem",
               'E',
               {"E:\\_ISO\\b.volPAK", "E:\\_ISO\\.volPAK", "E:\\_ISO\\0\\z.volPAK"},
               {"E:\\_ISO\\.volPAK", "E:\\_ISO\\0\\z.volPAK", "E:\\_ISO\\b.volPAK"}},
              {"volumes are looked up anew after the companion",
               'E',
               {"E:\\_ISO\\a.volPAKX4b", "F:\\_ISO\\a", "F:\\_ISO\\b"},
               {"E:\\_ISO\\a.volPAKX4b :&X4: F:\\_ISO\\b"}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Searching s;
    s.Select(row.selected);
    for (const std::string& file : row.files) s.Add(file);
    if (row.rows.size() == 1) vol1 = vol2 = vol3 = vol4 = "";
    EXPECT_EQ(s.Found(), row.rows);
  }
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
