#include "imagefiles/moving_file.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "disk/file_probe.h"
#include "imagefiles/child_process.h"
#include "imagefiles/file_compare.h"
#include "imagefiles/file_order.h"
#include "imagefiles/image_name.h"
#include "imagefiles/interpreter_rules.h"
#include "platform/platform.h"
#include "report/message_box.h"
#include "report/progress.h"
#include "report/routine.h"
#include "report/statements.h"
#include "text/text.h"

namespace {

constexpr std::uint32_t kPause = 100;  // ms
constexpr int kLastTries = 50;         // with a pause each
constexpr int kAsideNames = 40;        // more than there are rounds
constexpr std::uint32_t kErrorFileNotFound = 2, kErrorPathNotFound = 3;

constexpr std::uint64_t kUnknownLength = UINT64_MAX;

enum class Name { Free, Stands, Unknown };

// A name is free only if the system says so. While a deleted file is held open somewhere, its name
// can be neither used nor queried.
Name Ask(const std::string& path) {
  const std::uint32_t attributes = Sys.files->GetFileAttributes(path);
  if (attributes != kInvalidAttributes) {
    return (attributes & kAttributeDirectory) == 0 ? Name::Stands : Name::Unknown;
  }
  const std::uint32_t error = Sys.devices->GetLastError();
  const bool none = error == kErrorFileNotFound || error == kErrorPathNotFound;
  return none ? Name::Free : Name::Unknown;
}

bool IsLike(const std::optional<FindData>& file, const std::optional<FindData>& other) {
  return file && other && file->size == other->size && file->lastWriteTime == other->lastWriteTime;
}

// A file's contents must be on the device before another file is deleted for it.
bool IsFlushed(const std::string& path) {
  const Handle file =
      Sys.devices->CreateFile(path, kGenericReadWrite, kShareRead, kOpenExisting, 0);
  if (file == kInvalidHandle) return false;
  const bool flushed = Sys.devices->FlushFileBuffers(file);
  const bool closed = Sys.devices->CloseHandle(file);
  return flushed && closed;
}

void DeleteQuietly(const std::string& path) {
  const Routine quietly;
  FileDelete(path);
}

void RenameQuietly(const std::string& from, const std::string& to) {
  const Routine quietly;
  FileRename(from, to);
}

// Of a file that grows, as the file itself says: the folder's record lags behind.
std::uint64_t LengthNow(const std::string& path) {
  const Handle file =
      Sys.devices->CreateFile(path, kFileReadAttributes, kShareReadWrite, kOpenExisting, 0);
  if (file == kInvalidHandle) return kUnknownLength;
  std::uint32_t high = 0;
  const std::uint32_t low = Sys.devices->GetFileSize(file, high);
  std::ignore = Sys.devices->CloseHandle(file);
  return low == kInvalidFileSize ? kUnknownLength : static_cast<std::uint64_t>(high) << 32 | low;
}

// Letters outside ASCII all count as equal: their upper case isn't known here, and mistaking two
// names for one costs a repair, not a file.
std::string Folded(const std::string& name) {
  std::string folded = UpperCase(name);
  for (char& c : folded) {
    if ((c & 0x80) != 0) c = '?';
  }
  return folded;
}

}  // namespace

std::string MovingFile::AsideName(int number) const {
  return file_ + "yyy" + (number == 1 ? "" : Decimal(number));
}

bool MovingFile::IsTemporary(const std::string& bareName) const {
  const std::string name = Folded(bareName);
  bool known = name == Folded(BareName(copy_));
  for (int i = 1; i <= kAsideNames; ++i) known = known || name == Folded(BareName(AsideName(i)));
  return known;
}

bool MovingFile::WouldTakeANameOf(const std::string& imageFile) const {
  const ImageName name = ParseImageName(imageFile);
  return IsTemporary(BareName(imageFile)) || IsTemporary(name.base) || IsTemporary(name.fourthName);
}

std::vector<std::string> MovingFile::AsidesThere() const {
  std::vector<std::string> names;
  FindData found;
  const Handle search = Sys.files->FindFirstFile(AsideName(1) + "*", found);
  if (search == kInvalidHandle) return names;
  do {
    if (IsTemporary(found.name)) {
      names.push_back(file_.substr(0, file_.rfind('\\') + 1) + found.name);
    }
  } while (Sys.files->FindNextFile(search, found));
  std::ignore = Sys.files->FindClose(search);
  return names;
}

void MovingFile::GiveBack(const std::string& from) {
  FileRename(from, file_);
  if (Ask(file_) != Name::Stands) holder_ = from;
}

void MovingFile::ClearUp() {
  if (mayMove_) ClearUpAsides();
  ClearUpCopy();
}

void MovingFile::ClearUpAsides() {
  for (const std::string& aside : AsidesThere()) {
    const Name name = Ask(file_);
    if (name == Name::Free) GiveBack(aside);
    if (name == Name::Stands && HoldSameBytes(aside, file_)) FileDelete(aside);
  }
}

void MovingFile::ClearUpCopy() {
  if (!FileExists(copy_) || !mayMove_) return;
  const Name name = Ask(file_);
  if (name == Name::Free) GiveBack(copy_);
  if (name == Name::Stands) FileDelete(copy_);
  Sys.clock->Sleep(kPause);
  if (Ask(copy_) != Name::Free) StayInPlace();
}

bool MovingFile::CanBeCopied() const {
  if (!mayMove_ || InterpreterChangesBare(file_) || Ask(copy_) != Name::Free) return false;
  const std::optional<FindData> original = FindFile(file_);
  return original && (original->attributes & kAttributeReadOnly) == 0;
}

// A copy may have its whole length from the start; the bytes that were written say more then.
std::string MovingFile::CopyingWords(std::uint64_t total, const std::string& which) const {
  const std::uint64_t written = Sys.processes->ChildBytesWritten();
  const Amount amount{written != 0 ? written : LengthNow(copy_), total};
  return "Copying " + BareName(file_) + HowFar(amount) + ", " + which;
}

void MovingFile::Copy(const std::string& which) {
  if (copyIsOurs_) DropCopy();  // left by a round that couldn't
  copyIsProven_ = false;
  copyIsFresh_ = CanBeCopied();
  if (!copyIsFresh_) return;
  copyIsOurs_ = true;
  const std::optional<FindData> original = FindFile(file_);
  const std::uint64_t total = original ? original->size : 0;
  const Progress progress([&] { return CopyingWords(total, which); });
  RunCmd("cmd.exe /c copy " + file_ + " " + copy_, kWindowHidden);
}

bool MovingFile::CopyIsThere() const {
  return FileExists(copy_) && copyIsFresh_;
}

bool MovingFile::KeepWholeCopy() {
  const std::optional<FindData> original = FindFile(file_);
  copyIsProven_ =
      IsLike(FindFile(copy_), original) && IsFlushed(copy_) && HoldSameBytes(copy_, file_);
  if (!copyIsProven_) {
    DropCopy();
    return false;
  }
  original_ = original;
  return true;
}

// A deleted file that somebody holds open keeps its name.
std::string MovingFile::FreeAsideName() const {
  int number = 1;
  while (number < kAsideNames && Ask(AsideName(number)) != Name::Free) ++number;
  return AsideName(number);
}

void MovingFile::SetAside() {
  const std::string aside = FreeAsideName();
  aside_.clear();
  if (!FileRename(file_, aside)) return;
  aside_ = holder_ = aside;
  asides_.push_back(aside);
}

void MovingFile::GiveName() {
  if (!copyIsProven_) return;
  // Another program may have written to the original since it was compared.
  const std::optional<FindData> aside = aside_.empty() ? std::nullopt : FindFile(aside_);
  if (aside && !IsLike(aside, original_)) {
    copyIsProven_ = false;
    original_ = aside;
  }
  if (copyIsProven_ && FileRename(copy_, file_)) {
    holder_.clear();
    copyIsOurs_ = copyIsProven_ = false;
  } else {
    TakeBack();
    DropCopy();
  }
}

// A rename reported as done may be undone when the stick drops out, so what is on the disk counts.
bool MovingFile::IsSuccessorOf(const std::string& aside) const {
  return Ask(file_) == Name::Stands && IsLike(FindFile(aside), FindFile(file_)) && IsFlushed(file_);
}

void MovingFile::DeleteAside() {
  const std::string aside = std::exchange(aside_, "");
  if (aside.empty() || IsNameless() || !IsSuccessorOf(aside)) return;
  FileDelete(aside);
}

void MovingFile::TakeBack() {
  if (!IsNameless()) return;
  RenameQuietly(holder_, file_);
  if (copyIsProven_ && IsNameless()) RenameQuietly(copy_, file_);
}

void MovingFile::DropCopy() {
  // If the original can't be found, the copy may be all that there is.
  if (Ask(file_) == Name::Stands && Ask(copy_) != Name::Free) DeleteQuietly(copy_);
}

bool MovingFile::IsNameless() {
  if (!holder_.empty() && Ask(file_) == Name::Stands &&
      (!original_ || IsLike(FindFile(file_), original_))) {
    holder_.clear();
  }
  return !holder_.empty();
}

void MovingFile::DropLeftOvers() {
  if (copyIsOurs_) DropCopy();
  for (const std::string& aside : asides_) {
    if (IsSuccessorOf(aside)) DeleteQuietly(aside);
  }
}

bool MovingFile::Finish() {
  const bool wasNameless = IsNameless();
  TakeBack();
  for (int i = 0; i < kLastTries && IsNameless(); ++i) {
    Sys.clock->Sleep(kPause);
    Progress::GoOn();
    TakeBack();
  }
  if (!IsNameless()) {
    DropLeftOvers();
  } else {
    MsgBox({.title = "File has another name!",
            .text = "ERROR: File " + file_ + " is called " + holder_ +
                    " now.\r\nClose other programs and rename it before you do anything else.",
            .icon = Icon::Exclamation});
  }
  return wasNameless;
}
