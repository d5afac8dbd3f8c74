#include "imagefiles/image_name.h"

#include "disk/file_probe.h"
#include "disk/sector_buffer.h"
#include "text/text.h"

namespace {

constexpr const char* kImageFolder = "\\_ISO\\";

// Adds folder + file of each of the drive's volumes but the image's own.
void AddOtherVolumes(std::vector<Place>& places, const ImageName& name, const std::string& folder,
                     const std::string& file) {
  for (const std::string& volume : {vol1, vol2, vol3, vol4}) {
    if (volume.empty() || volume == name.drive) continue;
    const std::string path = volume + folder + file;
    places.push_back({path, path});
  }
}

}  // namespace

ImageName ParseImageName(const std::string& path) {
  ImageName name;
  const std::size_t bare = path.rfind('\\') == std::string::npos ? 0 : path.rfind('\\') + 1;
  const std::size_t dot = path.find('.', bare) == std::string::npos ? path.size() : path.rfind('.');
  name.drive = path.substr(0, 2);
  name.folder = bare > 2 ? path.substr(2, bare - 2) : "";
  if (dot == path.size()) return name;
  name.base = path.substr(bare, dot - bare);
  const std::string extension = path.substr(dot);
  name.extension = UpperCase(extension);
  name.isPlain = name.extension == ".VOLPAK" || name.extension == ".VOLPAKAUTO";
  name.keeps2 = Contains(extension, "2");
  name.keeps23 = Contains(extension, "23");
  const std::size_t x4 = name.extension.find("X4");
  if (x4 != std::string::npos) name.fourthName = extension.substr(x4 + 2);
  return name;
}

std::vector<Place> CompanionPlaces(const ImageName& name) {
  std::vector<Place> places;
  if (name.base.empty()) return places;
  for (const std::string& folder : {name.folder, std::string(kImageFolder), std::string("\\")}) {
    AddOtherVolumes(places, name, folder, name.base);
  }
  places.push_back({name.drive + name.folder + name.base, name.base});
  return places;
}

std::vector<Place> FourthPlaces(const ImageName& name, bool forRow) {
  std::vector<Place> places;
  if (name.fourthName.empty()) return places;
  AddOtherVolumes(places, name, kImageFolder, name.fourthName);
  const std::string inImageFolder = kImageFolder + name.fourthName;
  if (forRow) places.push_back({vol2 + inImageFolder, vol2 + inImageFolder});
  places.push_back({name.drive + name.folder + name.fourthName, name.fourthName});
  places.push_back({name.drive + inImageFolder, inImageFolder});
  return places;
}

Place FirstFileAt(const std::vector<Place>& places) {
  for (const Place& place : places) {
    if (FileIsThere(place.path)) return place;
  }
  return {};
}
