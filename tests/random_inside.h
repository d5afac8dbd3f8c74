// The inside of a world made at random: the stick and its user (random_stick.cpp), and what judges
// what the program makes of them (random_play.cpp).
#pragma once

#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/virtual/demo_world.h"
#include "tests/random_world.h"

struct RandomWorld::Inside {
  explicit Inside(std::uint64_t seed) : random(seed) { Make(); }

  std::uint64_t Number(std::uint64_t below) { return random() % below; }
  bool Chance(unsigned percent) { return Number(100) < percent; }
  template <class T>
  T OneOf(std::initializer_list<T> choices) {
    return *(choices.begin() + Number(choices.size()));
  }

  void Make();
  void MakeTable();
  void MakeFile(VirtualVolume& volume, const std::string& path);
  VirtualSector SomeBackup();
  void LetTheUserAnswer();

  std::string Switch();
  std::string JudgeSwitch(const std::vector<std::string>& paths);
  std::string Swap();
  std::string Restore();
  VirtualFile* File(const std::string& path) {
    return (path[0] == 'E' ? e : f)->Find(path.substr(2));
  }
  bool IsThere(const std::string& path);
  std::string FindCompanion(const std::string& image);
  std::string FindFourth(const std::string& image);
  std::optional<Answer> Asked(const std::string& title, std::size_t nth = 0);
  bool OnlyTheseChanged(std::initializer_list<std::uint64_t> sectors) const;

  std::mt19937_64 random;
  VirtualPc pc;
  VirtualDisk* stick = nullptr;
  VirtualVolume *e = nullptr, *f = nullptr;
  std::uint64_t slot = 0;
  bool switched = false;
  VirtualSector unswitched{};  // while switched: the table from before
  std::map<std::uint64_t, VirtualSector> earlier;
};
