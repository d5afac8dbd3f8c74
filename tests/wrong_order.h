// A stick whose files lie in the wrong order, for the tests of the repair.
#pragma once

#include "imagefiles/file_order.h"
#include "platform/fault.h"
#include "platform/platform.h"
#include "tests/support.h"
#include "text/text.h"

constexpr const char *kFirst = "\\P\\A.volPAK", *kLast = "\\P\\A";
constexpr std::uint64_t kBytes = 5000;  // 10 sectors, the last one not full

// Where copies come to lie, in order.
using Copies = std::vector<std::uint64_t>;

// A rename or a delete that fails a number of times with a path/file access error.
struct FailingStatement {
  std::string from, to;  // "*": any; a delete is a rename to ""
  int times = 1;
  int after = 0;  // so many that succeed
};

class FailingFiles : public VirtualFiles {
 public:
  using VirtualFiles::VirtualFiles;
  void FileDelete(const std::string& path) override {
    Fail(path, "");
    VirtualFiles::FileDelete(path);
  }
  void FileRename(const std::string& from, const std::string& to) override {
    Fail(from, to);
    VirtualFiles::FileRename(from, to);
  }
  std::vector<FailingStatement> failing;

 private:
  void Fail(const std::string& from, const std::string& to) {
    for (FailingStatement& row : failing) {
      const bool hit = (row.from == "*" || row.from == from) && (row.to == "*" || row.to == to);
      if (hit && row.after-- <= 0 && row.times-- > 0) throw MakeFault(kPathFileAccessError);
    }
  }
};

// The file that is to be last lies at 100000 and the first one at 150000.
struct WrongOrder : ProgramOnPc {
  explicit WrongOrder(const Copies& copies, const std::string& path = kLast) : last(path) {
    for (const std::uint64_t place : copies) world.e.placements.push_back({.lba = place});
    Add(kFirst, 150'000);
    Add(last, 100'000);
    Start();
    pc.machine.journal.Clear();
    Sys.files = &files;
  }

  void Add(const std::string& path, std::uint64_t lba) {
    world.e.AddFile(path, kBytes, lba, "begin " + path).lastWriteTime = 77;
    world.stick.Put(lba + 9, 0, "end " + path);
  }

  BoxRows Repair(const std::string& image = kFirst) {
    EXPECT_EQ(Call([&] { MoveFiles("E:" + std::string(kFirst), "E:" + last, "E:" + image); }),
              RunEnd::Returned);
    return TakeBoxes();
  }

  // The first sector of the file that was made as path and is now called name; "" where it isn't
  // whole or isn't there.
  std::string Whole(const std::string& path, const std::string& name) {
    const VirtualFile* file = world.e.Find(name);
    if (file == nullptr || file->size != kBytes || file->lastWriteTime != 77) return "";
    const std::string text = world.e.Read(*file, 0, kBytes);
    const bool whole = text.starts_with("begin " + path + std::string(1, '\0')) &&
                       text.substr(9 * 512).starts_with("end " + path + std::string(1, '\0'));
    return whole ? std::to_string(file->extents[0].lba) : "";
  }

  // Where both files lie, "lost" for one that isn't there, and the names of what else is there.
  std::string Places() {
    std::string text;
    for (const std::string& path : {std::string(kFirst), last}) {
      const std::string place = Whole(path, path);
      text += (text.empty() ? "" : " ") + (place.empty() ? "lost" : place);
    }
    for (const VirtualFile* file : world.e.List(ParentOf(last))) {
      if (file->path != kFirst && file->path != last) text += " " + NameOf(file->path);
    }
    return text;
  }
  bool NothingIsLost() { return !Contains(Places(), "lost"); }

  std::size_t Copied() const { return Lines(MaskOf(Op::ChildCopy)).size(); }

  std::string last;
  FailingFiles files{pc.machine};
};

inline const BoxRow kDone{"E:\\P\\A is now last", "OK - Files are now in correct order."};
inline const BoxRow kFailed{"ERROR:E:\\P\\A is first!",
                            "Sorry - failed to change the order. Run Defraggler to consolidate "
                            "free space.\r\n\r\nClick 'Cancel' on next question to try again."};
