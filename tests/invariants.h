// What no failed operation, power cut, other program or hostile name may break. Numbered; a test
// names the ones it defends, and a breach begins with its number.
//
//    1 Only the chosen disk is written, and of it only LBA 0, 30, 60 and the first sector of the
//      image as it was measured last. (What the file system writes for a copy, a delete or a rename
//      is its own matter: invariant 4.) No byte of the second stick changes.
//    2 Sector 0 is the old or a new one, whole. A new one is what the rules make of the old one,
//      with the companion and the fourth file found or not, each with its own type or the one
//      answered.
//    3 While sector 0 isn't the unswitched one, the unswitched one stands whole on LBA 30 or 60, or
//      in \tsd\MBR.BIN where it stood before. (Not for a swap, which undoes itself.)
//    4 Every file is there with its contents. Only where power was cut between the two renames of a
//      repair, or failures went on, one may stand under a temporary name (its own with xxx, yyy or
//      zzz after it), which then a box has said unless power was cut.
//    5 No handle and no lock is left, but for the temp copy of the extents tool and, where the
//      boot record could not be worked on, the disk handle that the next open closes.
//    6 Nothing ran but the extents tool and the copy command.
//    7 A foreign LBA 30 or 60 stays as it is.
//    8 The image's first sector changes only in bytes 28 to 31, which then hold its own number; and
//      they hold it where sector 0 is a new table and no box says otherwise.
//    9 The table that a switch replaces was saved, or is itself a switched one. What a restore or a
//      swap replaces is what was read before the question.
//   10 Where the last question was answered with OK and no box reports a failure, sector 0 is new.
//
// Between the program's last look at sector 0 and its write another program can't be seen: what it
// does there is excused (see Stage::Interfere).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/virtual/demo_world.h"
#include "tests/oracle.h"

using Breaches = std::vector<std::string>;

// One action on a demo stick.
struct Act {
  enum class Kind { Switch, Restore, Swap, StartUp };
  const char* name;
  Kind kind;
  void (*prepare)(VirtualPc& pc, demo::World& world);
  UserAction action;
  const char* image = nullptr;  // of a switch, from the root of E:
};
extern const std::vector<Act> kActs;
void PrintTo(const Act& act, std::ostream* out);
std::string NameOf(const Act& act);  // without blanks

// What another program does.
enum class Other {
  WritesTable,  // onto the stick
  SwapsSticks,  // the second stick takes the number and the letters of the first
  MovesLetter,  // E: and G: change places
  MovesImage,   // as a defragmenter does
  GrowsImage,
};

// The program, started, on a stick that the act is prepared on, with a second stick beside it.
class Stage {
 public:
  explicit Stage(const Act& act);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // Takes what stands on the stick now as what the act begins with.
  void BeginWithThis();
  RunEnd Start();    // also after a Reboot
  RunEnd Perform();  // the act; questions get their default answer
  // Another program acts once, before the n-th operation of the act.
  void Interfere(Other what, std::size_t nth);
  // Refreshes, selects the stick and performs the act, or its way back where the act is done.
  // Then sector 0 must have changed as it should: returns what is wrong.
  std::string PerformAgain();
  // Gives files that stand under their temporary names only their names back, as a person would.
  void RenameByHand();

  // nameless: a file may stand under a temporary name.
  [[nodiscard]] Breaches OnDisk(bool nameless);  // all but 5, 6 and 10
  // lasting: failures went on, so a file may, if a box says so.
  [[nodiscard]] Breaches Everything(RunEnd end, bool lasting = false);
  [[nodiscard]] bool SectorIs(std::uint64_t lba, const VirtualSector& data) const;
  [[nodiscard]] bool Agreed() const;  // to the last question
  [[nodiscard]] bool HasActed() const { return actedAt_ != 0; }
  // Did the act what it is for?
  [[nodiscard]] bool IsDone();

  VirtualPc pc;
  demo::World world;
  demo::SecondStick other;
  VirtualSector unswitched;  // the table to go back to
  VirtualSector before;      // sector 0 when the act began
  // What a switch can make of a table; last the one without a failure.
  std::vector<VirtualSector> NewTables(const VirtualSector& old);

 private:
  using Contents = std::map<std::uint64_t, VirtualSector>;
  struct Kept {
    std::uint64_t size;
    Contents sectors;
    std::string resident;
    bool operator==(const Kept&) const = default;
  };
  // A sector that the program wrote, and the last operations before which what others did to the
  // stick could be known: by a question or a look at sector 0, and by what the question rests on.
  struct Write {
    const VirtualDisk* disk;
    VirtualDisk::SectorWrite sector;
    std::size_t known, read;
  };
  Kept Look(VirtualVolume& volume, const VirtualFile& file) const;
  void Remember(VirtualVolume& volume, const std::string& folder);
  void ShowImageVolume();  // the volume in the image, wherever entry 1 says that it lies
  void Watch(std::size_t operation);
  void ActAsOther();
  VirtualVolume& ImageVolume();
  [[nodiscard]] bool Excused(const Write& write) const { return actedAt_ > write.known; }
  [[nodiscard]] bool IsAnothersStickByNow() const;  // the act began after the exchange
  [[nodiscard]] bool IsSaved(const VirtualDisk& disk, const VirtualSector& table);
  [[nodiscard]] bool Said(const std::string& text) const;
  std::vector<std::optional<Role>> Choices(const std::vector<std::string>& paths);
  void CheckWrites(Breaches& breaches);
  void CheckTables(Breaches& breaches);
  void CheckBootRecord(Breaches& breaches);
  void CheckFiles(Breaches& breaches, bool nameless);
  void CheckNames(Breaches& breaches);
  void CheckProgram(Breaches& breaches, RunEnd end);
  // What holds a file's contents under a name that begins with its own.
  std::vector<VirtualFile*> StandIns(VirtualVolume& volume, const std::string& path,
                                     const Kept& kept);

  const Act& act_;
  std::map<VirtualVolume*, std::map<std::string, Kept>> files_;
  Contents systemDisk_, second_;
  VirtualSector old30_, old60_;
  std::vector<VirtualSector> olds_;  // what stood on LBA 0 and the program didn't write

  Other what_ = Other::WritesTable;
  std::size_t actAt_ = 0, actedAt_ = 0;   // operations; 0: not to act, hasn't acted
  std::optional<VirtualFile> imageThen_;  // before another program moved it or let it grow
  std::size_t measuredAt_ = 0;            // when the image was measured last
  std::size_t known_ = 0, lastRead_ = 0, boxesSeen_ = 0, journalSeen_ = 0;
  std::optional<std::size_t> readBeforeQuestion_;
  std::vector<Write> writes_;
  std::size_t taken_[2] = {0, 0};  // writes taken over from each stick
};
