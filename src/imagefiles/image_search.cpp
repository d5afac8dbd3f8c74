#include "imagefiles/image_search.h"

#include <tuple>
#include <vector>

#include "disk/drive_discovery.h"
#include "disk/sector_buffer.h"
#include "imagefiles/image_name.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"
#include "report/progress.h"
#include "text/text.h"

namespace {

constexpr std::string_view kCompanionMark = " :&: ";
constexpr std::string_view kFourthMark = " :&X4: ";
constexpr std::uint32_t kErrorNoMoreFiles = 18;  // winerror.h

// Calls visit with each entry of the search except "." and "..". False: the search broke off, and
// entries are missing.
template <class Visit>
bool ForEachEntry(const std::string& pattern, Visit visit) {
  FindData found;
  const Handle search = Sys.files->FindFirstFile(pattern, found);
  if (search == kInvalidHandle) return false;
  do {
    found.name = found.name.substr(0, found.name.find('\0'));
    if (found.name != "." && found.name != "..") visit(found);
    Progress::GoOn();
  } while (Sys.files->FindNextFile(search, found));
  const std::uint32_t error = Sys.devices->GetLastError();
  if (error != kErrorNoMoreFiles) {
    WriteLog("FindFilesAPI: " + pattern + " can't be searched to its end, error " + Decimal(error));
  }
  std::ignore = Sys.files->FindClose(search);
  return error == kErrorNoMoreFiles;
}

// False: the mask can't match the name. True: it may; the system decides.
bool MayMatch(const std::string& name, const std::string& mask) {
  const bool hasStars = mask.size() > 2 && mask.front() == '*' && mask.back() == '*';
  const std::string middle = hasStars ? mask.substr(1, mask.size() - 2) : "";
  return middle.find_first_of("*?") != std::string::npos || ContainsIgnoringCase(name, middle);
}

bool IsFolder(const std::string& path, bool ifUnknown) {
  const std::uint32_t attributes = Sys.files->GetFileAttributes(path);
  if (attributes == kInvalidAttributes) return ifUnknown;
  return (attributes & kAttributeDirectory) != 0;
}

std::string ImageLine(const std::string& path, const std::string& bareName) {
  const ImageName name = ParseImageName(path + bareName);
  const std::string companion = FirstFileAt(CompanionPlaces(name)).shown;
  GetDriveLetter(Physical_Drive_no);  // sets vol1 to vol4 to this drive's
  const std::string fourth = FirstFileAt(FourthPlaces(name, true)).shown;
  std::string line = path + bareName;
  if (!companion.empty()) line.append(kCompanionMark).append(companion);
  if (!fourth.empty()) line.append(kFourthMark).append(fourth);
  return line;
}

bool MayHoldImages(const std::string& path) {
  return !ContainsIgnoringCase(path, "\\_ISO\\tsd\\") &&
         !ContainsIgnoringCase(path, "\\_ISO\\docs\\");
}

bool MayBeEntered(const std::string& folder) {
  return !ContainsIgnoringCase(folder, "\\_ISO\\tsd") &&
         !ContainsIgnoringCase(folder, "\\_ISO\\docs") &&
         !ContainsIgnoringCase(folder, "\\_ISO\\WINDOWS\\installs");
}

std::string Counted(std::int32_t count, const std::string& what) {
  return Decimal(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

void ListFiles() {
  WriteLog("ListFiles started");
  Sys.toolkit->ClearItems(Control::List1);
  std::string root = MYDRIVE;
  if (root.size() < 2) return;
  if (root.back() == ':') root += Sys.toolkit->IsTicked(Control::Chk_ISO) ? "\\_ISO" : "\\";
  Sys.toolkit->MousePointer(Pointer::Hourglass);
  DoEvents();
  std::int32_t files = 0;
  std::int32_t folders = 0;
  const Progress progress([&, where = root] {
    return "Searching " + where + ": " + Counted(folders, "folder") + ", " +
           Counted(files, "image");
  });
  FindFilesAPI(root, "*.volpak*", files, folders);
  Sys.toolkit->MousePointer(Pointer::Default);
}

void FindFilesAPI(std::string& path, const std::string& SearchStr, std::int32_t& FileCount,
                  std::int32_t& DirCount) {
  WriteLog("FindFilesAPI started: path=" + path + " SearchStr=" + SearchStr +
           " FileCount=" + Decimal(FileCount) + " DirCount=" + Decimal(DirCount));
  Sys.toolkit->MousePointer(Pointer::Hourglass);
  if (!path.ends_with('\\')) path += '\\';
  std::vector<std::string> folders;
  bool mayHoldMatches = false;
  const bool sawAll = ForEachEntry(path + "*", [&](const FindData& entry) {
    mayHoldMatches = mayHoldMatches || MayMatch(entry.name, SearchStr);
    // A call per entry would cost more than the search itself, so only possible folders are asked.
    if ((entry.attributes & kAttributeDirectory) == 0) return;
    if (!IsFolder(path + entry.name, false)) return;
    folders.push_back(entry.name);
    ++DirCount;
  });
  const auto list = [&](const FindData& entry) {
    if (IsFolder(path + entry.name, true) || !MayHoldImages(path)) return;
    ++FileCount;
    const std::string line = ImageLine(path, entry.name);
    if (!ContainsIgnoringCase(path, "$RECYCLE.BIN")) Sys.toolkit->AddItem(Control::List1, line);
  };
  // Most folders hold no image, and a second search of each would double the time.
  if (mayHoldMatches || !sawAll) ForEachEntry(path + SearchStr, list);
  for (const std::string& name : folders) {
    std::string folder = path + name;
    if (!MayBeEntered(folder)) continue;
    folder += '\\';
    FindFilesAPI(folder, SearchStr, FileCount, DirCount);
  }
  Sys.toolkit->MousePointer(Pointer::Default);
}

std::string SelectedImage() {
  const std::string line =
      Sys.toolkit->ItemText(Control::List1, Sys.toolkit->ListIndex(Control::List1));
  // A path holds no " :", so the first " :&" ends it.
  return line.substr(0, line.find(" :&"));
}

std::string GetList1() {
  WriteLog("GetList1");
  return SelectedImage();
}
