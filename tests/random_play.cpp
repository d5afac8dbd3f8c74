// What a person does with a stick made at random, judged by the rules.
#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "tests/random_inside.h"

RandomWorld::Tally RandomWorld::tally;

namespace {

constexpr std::uint64_t kLargest = 0xFFFFFFFF;  // that an entry can hold

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The number that an answer to the type question means.
unsigned Answered(std::string text) {
  text = Upper(text);
  if (text.rfind("0X", 0) == 0) text.erase(0, 2);
  if (text.rfind("OX", 0) == 0) text.erase(0, 2);
  text = text.substr(0, text.find_first_not_of("0123456789ABCDEF"));
  const unsigned long long value = std::strtoull(text.c_str(), nullptr, 16);
  return value > 0x100 ? 0x100 : static_cast<unsigned>(value);
}

bool HasEntry(const VirtualSector& table, std::size_t at) {
  return (table[at] == 0 || table[at] == 0x80) && table[at + 4] != 0;
}

bool MayBeSwitched(const VirtualSector& table) {
  bool any = false, near = false;
  for (std::size_t at = 446; at < 510; at += 16) {
    any = any || HasEntry(table, at);
    near = near || (table[at + 4] != 0 && table[at + 10] == 0 && table[at + 11] == 0);
  }
  return any && near && CarriesGrub4dos(table) && table[510] == 0x55 && table[511] == 0xAA;
}

bool MayBeSwapped(const VirtualSector& t) {
  return HasEntry(t, 446) && HasEntry(t, 462) && t[450] != 0x21 && t[466] != 0x21 &&
         t[510] == 0x55 && t[511] == 0xAA;
}

}  // namespace

bool RandomWorld::Inside::IsThere(const std::string& path) {
  const VirtualFile* file = File(path);
  return (path[0] == 'E' ? e : f)->present && file != nullptr &&
         (file->attributes & kAttributeDirectory) == 0;
}

std::string RandomWorld::Inside::FindCompanion(const std::string& image) {
  const std::size_t name = image.rfind('\\') + 1;
  const std::string base = image.substr(name, image.rfind('.') - name);
  const std::string other = image[0] == 'E' ? "F:" : "E:";
  for (const std::string& path :
       {other + image.substr(2, name - 2) + base, other + "\\_ISO\\" + base, other + "\\" + base,
        image.substr(0, name) + base}) {
    if (IsThere(path)) return path;
  }
  return "";
}

std::string RandomWorld::Inside::FindFourth(const std::string& image) {
  const std::size_t x4 = Upper(image).find("X4", image.rfind('.'));
  if (x4 == std::string::npos || x4 + 2 == image.size()) return "";
  const std::string name = image.substr(x4 + 2);
  const std::string other = image[0] == 'E' ? "F:" : "E:";
  for (const std::string& path :
       {other + "\\_ISO\\" + name, image.substr(0, image.rfind('\\') + 1) + name,
        image.substr(0, 2) + "\\_ISO\\" + name}) {
    if (IsThere(path)) return path;
  }
  return "";
}

std::optional<Answer> RandomWorld::Inside::Asked(const std::string& title, std::size_t nth) {
  for (const ShownBox& shown : pc.toolkit.boxes) {
    if (shown.box.title == title && nth-- == 0) return shown.answer;
  }
  return std::nullopt;
}

bool RandomWorld::Inside::OnlyTheseChanged(std::initializer_list<std::uint64_t> sectors) const {
  auto was = earlier, is = stick->Contents();
  for (const std::uint64_t lba : sectors) {
    was.erase(lba);
    is.erase(lba);
  }
  const auto isBlank = [](const auto& sector) { return sector.second == VirtualSector{}; };
  std::erase_if(was, isBlank);
  return was == is;
}

std::string RandomWorld::Inside::Switch() {
  const auto& rows = pc.toolkit.At(Control::List1).rows;
  if (rows.empty()) return Restore();
  const std::string row = rows[Number(rows.size())];
  const std::string image = row.substr(0, row.find(" :&"));
  const std::vector<std::string> paths{image, FindCompanion(image), FindFourth(image)};
  pc.toolkit.Do(Open(row));
  return JudgeSwitch(paths);
}

std::string RandomWorld::Inside::JudgeSwitch(const std::vector<std::string>& paths) {
  const VirtualSector old = earlier[0], old30 = earlier[30], old60 = earlier[60];
  const auto takes = [](const VirtualSector& s) { return CarriesGrub4dos(s) || IsOneValue(s); };
  const auto refused = [&](const char* why) -> std::string {
    ++tally.refused;
    if (Asked("Change partition table")) return std::string("asked, though ") + why;
    return stick->Sector(0) == old ? "" : std::string("sector 0 written, though ") + why;
  };
  const bool kept = switched && (IsSound(old30) || IsSound(old60));
  if (!MayBeSwitched(old) || (!takes(old30) && !takes(old60)) || (switched && !kept)) {
    return OnlyTheseChanged({}) ? refused("the drive can't be switched") : "written to a bad drive";
  }
  tally.alreadySwitched += switched ? 1 : 0;
  if (stick->Sector(30) != (kept || !takes(old30) ? old30 : old)) return "LBA 30 is wrong";
  if (stick->Sector(60) != (kept || !takes(old60) ? old60 : old)) return "LBA 60 is wrong";

  // The files by the state before a repair; where one ran the places are those of now.
  const bool repaired = [&] {
    for (std::size_t n = 0; Asked("Run MOVE_VOLPAK? (fix bad file order)", n); ++n) {
      if (*Asked("Run MOVE_VOLPAK? (fix bad file order)", n) == Answer::Yes) return true;
    }
    return false;
  }();
  std::vector<std::optional<Role>> roles(3);
  std::size_t question = 0, input = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    if (paths[i].empty()) continue;
    const VirtualFile* file = File(paths[i]);
    if (file == nullptr) return "a file is gone: " + paths[i];
    const std::uint64_t sectors = (file->size + 511) / 512;
    const bool usable = file->extents.size() == 1 && sectors <= kLargest;
    if (!usable) return repaired ? "" : refused("a file lies in no one place");
    const std::uint64_t start = file->extents[0].lba;
    for (std::size_t before = 0; before < i && !repaired; ++before) {
      if (!roles[before] || start >= roles[before]->start) continue;
      const auto answer = Asked("Run MOVE_VOLPAK? (fix bad file order)", question++);
      if (!answer) return "a wrong order was not asked about";
      if (*answer == Answer::Cancel) return refused("the order was refused");
    }
    if (start > kLargest) return refused("a file lies beyond 2 TB");
    roles[i] = Role{static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(sectors), 0};
  }
  if (!repaired && Asked("Run MOVE_VOLPAK? (fix bad file order)", question))
    return "asked too much";
  for (auto& role : roles) {
    if (!role) continue;
    VirtualSector first = stick->Sector(role->start);
    const auto size = File(paths[static_cast<std::size_t>(&role - roles.data())])->size;
    if (size < 512) std::fill(first.begin() + static_cast<long>(size), first.end(), 0);
    role->type = FormatOf(first);
    if (role->type != 0) continue;
    if (input >= pc.toolkit.inputs.size()) return repaired ? "" : "a type was not asked for";
    role->type = Answered(pc.toolkit.inputs[input++].answer);
  }
  const Role& last = roles[2] ? *roles[2] : roles[1] ? *roles[1] : *roles[0];
  if (last.start < 32 || last.sectors < 32) return refused("the last file is too small");
  const auto answer = Asked("Change partition table");
  if (!answer) return repaired ? "" : "the last question was not asked";
  if (*answer == Answer::Cancel) return OnlyTheseChanged({30, 60}) || repaired ? "" : "written";
  ++tally.switches;
  tally.repaired += repaired ? 1 : 0;
  const std::string extension = paths[0].substr(paths[0].rfind('.'));
  if (stick->Sector(0) != NewTable(old, extension, *roles[0], roles[1], roles[2])) {
    return "the new table is wrong";
  }
  VirtualSector record = repaired ? stick->Sector(roles[0]->start) : earlier[roles[0]->start];
  if (roles[0]->type == 7 || roles[0]->type == 11 || roles[0]->type == 12) {
    std::copy_n(&stick->Sector(0)[454], 4, &record[28]);
  }
  if (stick->Sector(roles[0]->start) != record) return "the boot record is wrong";
  if (!repaired && !OnlyTheseChanged({0, 30, 60, roles[0]->start})) return "more was written";
  if (!switched) unswitched = old;
  switched = true;
  return "";
}

std::string RandomWorld::Inside::Swap() {
  const VirtualSector old = earlier[0];
  VirtualSector expected = old;
  if (!pc.toolkit.Do(Click(Control::cmdSwitchPtns))) {
    const bool listed = !pc.toolkit.At(Control::Combo1).rows.empty();
    return listed && MayBeSwapped(old) ? "the swap is not offered" : "";
  }
  if (pc.toolkit.At(Control::Combo1).rows.empty()) return OnlyTheseChanged({}) ? "" : "swapped";
  if (!MayBeSwapped(old)) return "the swap is offered";
  const auto answer = Asked("Make 2nd partition accessible on Removable drive?");
  if (!answer) return "the swap did not ask";
  if (*answer == Answer::Ok) std::swap_ranges(&expected[446], &expected[462], &expected[462]);
  if (stick->Sector(0) != expected || !OnlyTheseChanged({0})) return "the swap is wrong";
  ++tally.swaps;
  return "";
}

std::string RandomWorld::Inside::Restore() {
  if (!pc.toolkit.Do(Click(Control::cmdRestoreTSD))) return "";
  const VirtualSector first = IsSound(earlier[30]) ? earlier[30] : earlier[60];
  const auto answer = Asked("Restore TSD partition table");
  if (!OnlyTheseChanged({0})) return "the restore wrote more than sector 0";
  if (!answer || *answer == Answer::Cancel) {
    return stick->Sector(0) == earlier[0] ? "" : "restored unasked";
  }
  if (!IsSound(first) || stick->Sector(0) != first) return "restored something else";
  if (switched && first != unswitched) return "restored another table than the one before";
  switched = false;
  ++tally.restores;
  return "";
}

RandomWorld::RandomWorld(std::uint64_t seed) : inside_(std::make_unique<Inside>(seed)) {
}
RandomWorld::~RandomWorld() = default;

std::string RandomWorld::Play() {
  Inside& in = *inside_;
  for (std::uint64_t act = 0, acts = 1 + in.Number(4); act < acts; ++act) {
    in.pc.toolkit.Do(Click(Control::cmdRefreshDrive));
    for (const char* row : {"E:", "F:"}) {
      if (in.Chance(50)) in.pc.toolkit.Do(Pick(Control::Combo1, row));
    }
    in.pc.toolkit.boxes.clear();
    in.pc.toolkit.inputs.clear();
    in.earlier = in.stick->Contents();
    in.earlier.try_emplace(0);
    in.earlier.try_emplace(30);
    in.earlier.try_emplace(60);
    std::string wrong;
    const RunEnd end = in.pc.Run([&] {
      wrong = in.Chance(70) ? in.Switch() : in.Chance(50) ? in.Swap() : in.Restore();
    });
    if (wrong.empty() && end != RunEnd::Returned) wrong = "it came to no end";
    if (wrong.empty() && in.switched && in.stick->Sector(30) != in.unswitched &&
        in.stick->Sector(60) != in.unswitched) {
      wrong = "there is no way back";
    }
    if (!wrong.empty()) return "act " + std::to_string(act + 1) + ": " + wrong;
  }
  return "";
}
