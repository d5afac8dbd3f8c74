// What the commands that change a rehearsed PC share.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "rehearsal/world_commands.h"

namespace rehearsal {

// Words and numbers by their place in the command; each throws a std::exception where there is
// none.
struct Arguments {
  World& world;
  VirtualDisk& disk;
  const Words& words;  // the command first

  const std::string& At(std::size_t index) const { return words.at(index); }
  std::uint64_t Number(std::size_t index) const { return std::stoull(words.at(index)); }
  std::uint32_t Short(std::size_t index) const { return static_cast<std::uint32_t>(Number(index)); }
  int Int(std::size_t index) const { return static_cast<int>(Number(index)); }
  std::uint8_t Byte(std::size_t index) const {
    return static_cast<std::uint8_t>(std::stoul(words.at(index), nullptr, 16));
  }
  bool Has(std::size_t index) const { return index < words.size(); }
  // The volume and the path on it, of a path with a letter.
  VirtualVolume& Volume(std::size_t index) const { return VolumeOf(words.at(index).at(0)); }
  std::string Path(std::size_t index) const { return words.at(index).substr(2); }
  VirtualFile& File(std::size_t index) const {
    VirtualFile* file = Volume(index).Find(Path(index));
    if (file == nullptr) throw std::invalid_argument("no file " + words.at(index));
    return *file;
  }
  VirtualVolume& VolumeOf(char letter) const {
    VirtualVolume* volume = world.pc.machine.VolumeAt(letter);
    if (volume == nullptr) throw std::invalid_argument(std::string("no volume ") + letter);
    return *volume;
  }
};

template <class T>
T Choose(const std::string& name, const std::vector<std::pair<std::string, T>>& choices) {
  for (const auto& [known, value] : choices) {
    if (known == name) return value;
  }
  throw std::invalid_argument("not known: " + name);
}

struct NamedCommand {
  const char* name;
  void (*run)(const Arguments& arguments);
};

// Those that change what the system, its programs and its windows do.
std::span<const NamedCommand> PcCommands();

}  // namespace rehearsal
