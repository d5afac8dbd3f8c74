// getFileExtents.exe of the run under Wine, whose own answer to the question is a stub: asks the
// supervisor, which takes the file's place from the mounted file system at this moment. The text is
// printed by the code that the real tool prints it with.
#include <sstream>
#include <string>

#include "imagefiles/extents_text.h"
#include "supervisor_line.h"

namespace {

std::string FirstArgument() {
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (arguments == nullptr || count < 2) return "";
  char text[2048] = "";
  WideCharToMultiByte(CP_UTF8, 0, arguments[1], -1, text, sizeof text, nullptr, nullptr);
  return text;
}

}  // namespace

// The answer is "extents OFFSET LBA SECTORS ..." in decimal, or "words TEXT" to be printed as is.
int main() {
  std::istringstream answer(AskSupervisor(ConnectToSupervisor(), "extents " + FirstArgument()));
  std::string kind;
  answer >> kind;
  std::vector<Extent> extents;
  for (Extent next; answer >> next.fileOffset >> next.lba >> next.sectors;) extents.push_back(next);
  std::string text = ExtentsText(extents);
  if (kind != "extents") {
    answer.clear();
    std::getline(answer >> std::ws, text);
    text += "\r\n";
  }
  DWORD written;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
            nullptr);
  return extents.empty() ? 1 : 0;
}
