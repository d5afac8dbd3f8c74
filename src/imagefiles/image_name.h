// What an image file's name means, and where the files that belong to it are looked for.
//
// The extension is the text from the last dot on. A mark may stand anywhere after the dot, even in
// the fourth file's name:
//   "2"        table entry 2 is kept
//   "23"       table entries 2 and 3 are kept
//   "X4" name  (x4 too) that file becomes table entry 4
// The companion, table entry 3, has the image's base name and no extension.
#pragma once

#include <string>
#include <vector>

struct ImageName {
  std::string drive;       // letter and colon
  std::string folder;      // without the drive; begins and ends with a backslash
  std::string base;        // between the folder and the last dot; empty: there is no dot
  std::string extension;   // from the last dot on, upper case
  bool isPlain = false;    // exactly .volPAK or .volPAKauto
  bool keeps2 = false;     // table entry 2
  bool keeps23 = false;    // table entries 2 and 3
  std::string fourthName;  // bare name; empty: none
};

// path is the image's full path.
ImageName ParseImageName(const std::string& path);

// One place to look for a file: its full path, and how a row of List1 names it.
struct Place {
  std::string path, shown;
};

// In search order: the same folder, \_ISO and the root of the drive's other volumes (vol1 to vol4),
// then the image's own folder. None without a base name.
std::vector<Place> CompanionPlaces(const ImageName& name);

// \_ISO of the other volumes, the image's own folder, \_ISO of its volume. None without a fourth
// name. For a row of List1, \_ISO of vol2 comes before the image's own folder even if vol2 is the
// image's volume.
std::vector<Place> FourthPlaces(const ImageName& name, bool forRow);

// The first place that holds a file; empty texts if none does.
Place FirstFileAt(const std::vector<Place>& places);
