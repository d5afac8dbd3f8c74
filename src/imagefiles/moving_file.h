// A file on its way to a new place on the disk: copied to a temporary name, set aside under
// another one, replaced by its copy, and only then deleted. At every moment there is a whole file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"

class MovingFile {
 public:
  // The copy has the file's name with copyEnding appended. The original is set aside under its name
  // with "yyy" appended, or "yyy2" to "yyy40" if that is taken. The calling routine reports
  // failures.
  MovingFile(const std::string& file, const char* copyEnding)
      : file_(file), copy_(file + copyEnding) {}

  [[nodiscard]] const std::string& Path() const { return file_; }

  // True if the bare name of the image, its companion or its fourth file is a temporary name of
  // this file. The names of all three follow from the image's; where they lie doesn't matter.
  [[nodiscard]] bool WouldTakeANameOf(const std::string& imageFile) const;

  // Nothing is copied, renamed or deleted from now on.
  void StayInPlace() { mayMove_ = false; }

  // Clears up after an interrupted run. A file that is missing gets its name back. Otherwise
  // deletes a copy, and an original that was set aside if it holds the file's bytes. If the copy's
  // name is still taken afterwards, the file stays in its place.
  void ClearUp();

  // Does nothing if the interpreter would change the command line, the copy's name isn't free, or
  // the original isn't found or couldn't be deleted. The title bar shows the progress, and which
  // copy it is: "copy 2 of at most 33".
  void Copy(const std::string& which);

  // Writes the log line of FileExists. True only for a file that the last Copy made.
  [[nodiscard]] bool CopyIsThere() const;

  // True for a copy with the original's length, last-write time and, on the device, bytes. Any
  // other is dropped.
  bool KeepWholeCopy();

  // The exchange, in this order. GiveName is tried even after a failed SetAside: if its rename
  // fails, the original gets its name back. DeleteAside does nothing if a step before it failed.
  void SetAside();
  void GiveName();
  void DeleteAside();

  // True while the file stands under a temporary name only, as far as is known.
  [[nodiscard]] bool IsNameless();

  // At the end: tries for some seconds more to name a nameless file, and shows in a box where it is
  // if that fails; else deletes the leftovers. True if the file was nameless.
  bool Finish();

 private:
  std::string AsideName(int number) const;
  bool IsTemporary(const std::string& bareName) const;
  std::vector<std::string> AsidesThere() const;
  std::string FreeAsideName() const;
  bool CanBeCopied() const;
  std::string CopyingWords(std::uint64_t total, const std::string& which) const;
  bool IsSuccessorOf(const std::string& aside) const;
  void ClearUpAsides();
  void ClearUpCopy();
  void GiveBack(const std::string& from);
  void TakeBack();
  void DropCopy();
  void DropLeftOvers();

  std::string file_, copy_;
  bool mayMove_ = true;
  bool copyIsOurs_ = false;           // any file with the copy's name was made here
  bool copyIsFresh_ = false;          // by the last Copy
  bool copyIsProven_ = false;         // to be as the original
  std::optional<FindData> original_;  // as it was then
  std::string aside_;                 // where it was set aside to in this round
  std::vector<std::string> asides_;   // in all rounds
  std::string holder_;                // the temporary name that holds the file; empty: none
};
