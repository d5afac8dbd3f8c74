// What the program itself costs: its work on the virtual PC, where the designed pauses take no
// time.
#include <benchmark/benchmark.h>

#include <map>
#include <string>

#include "imagefiles/image_search.h"
#include "platform/virtual/demo_world.h"
#include "platform/virtual/virtual_pc.h"
#include "shell/drive_panel.h"
#include "shell/main_window.h"
#include "shell/program.h"

namespace {

// Start-up over, the stick selected, the journal empty.
struct RunningProgram {
  RunningProgram() : world(demo::Make(pc)) {
    pc.toolkit.defaultsAllowed = true;
    pc.Run([&] { RunProgram(pc.platform()); });
    pc.machine.journal.Clear();
  }
  VirtualPc pc;
  demo::World world;
};

double PausedMilliseconds(const Journal& journal) {
  double sum = 0;
  for (const JournalEntry& entry : journal.Only(MaskOf(Op::Sleep))) {
    sum += std::stod(entry.detail.empty() ? entry.subject : entry.detail);
  }
  return sum;
}

// A whole plain switch, from the double-click to the refreshed list.
void PlainSwitch(benchmark::State& state) {
  double paused = 0;
  std::map<Op, double> counts;
  for (auto _ : state) {
    state.PauseTiming();
    {
      RunningProgram program;
      state.ResumeTiming();
      program.pc.Run([&] { program.pc.toolkit.Do(Open("E:\\_ISO\\Rescue.volPAK")); });
      state.PauseTiming();
      paused = PausedMilliseconds(program.pc.machine.journal);
      counts.clear();
      for (const JournalEntry& entry : program.pc.machine.journal.Entries()) counts[entry.op] += 1;
    }
    state.ResumeTiming();
  }
  state.counters["pauses_ms"] = paused;
  state.counters["opens"] = counts[Op::Open];
  state.counters["reads"] = counts[Op::Read];
  state.counters["writes"] = counts[Op::Write];
  state.counters["queries"] = counts[Op::Query];
  state.counters["tool_runs"] = counts[Op::Shell];
}
BENCHMARK(PlainSwitch)->Unit(benchmark::kMicrosecond)->Iterations(50);

// Neither the system calls nor the time per file may grow with the tree. 20 files per folder, one
// in ten of them an image.
void ImageSearch(benchmark::State& state) {
  RunningProgram program;
  const auto files = state.range(0);
  for (std::int64_t i = 0; i < files; ++i) {
    const std::string folder =
        "\\_ISO\\many" + std::to_string(i / 2000) + "\\f" + std::to_string(i / 20 % 100) + "\\";
    program.world.e.AddText(folder + std::to_string(i) + (i % 10 == 0 ? ".volPAK" : ".txt"), "");
  }
  std::size_t calls = 0;
  for (auto _ : state) {
    ListFiles();
    state.PauseTiming();
    calls = program.pc.machine.journal.Entries().size();
    program.pc.machine.journal.Clear();
    state.ResumeTiming();
  }
  state.counters["calls_per_file"] = static_cast<double>(calls) / static_cast<double>(files);
  state.counters["per_file"] =
      benchmark::Counter(static_cast<double>(files * state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(ImageSearch)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// 20 disks, 24 letters.
void DriveList(benchmark::State& state) {
  RunningProgram program;
  for (int number = 2; number < 20; ++number) {
    VirtualDisk& disk = program.pc.AddDisk(number, demo::kStickBytes);
    VirtualSector table = demo::Grub4dosMbr();
    demo::SetEntry(table, 1, true, 7, 2048, 1'000'000);
    disk.SetSector(0, table);
    program.pc.AddVolume(static_cast<char>('G' + number - 2), disk, 2048, 1'000'000);
  }
  program.pc.AddLetter('Y', kDeviceTypeCd);
  program.pc.AddLetter('Z', 0);
  program.pc.RenewTables();
  for (auto _ : state) {
    Drive1_Change();
    state.PauseTiming();
    program.pc.machine.journal.Clear();
    state.ResumeTiming();
  }
  state.counters["rows"] = program.pc.toolkit.ItemCount(Control::Combo1);
}
BENCHMARK(DriveList)->Unit(benchmark::kMillisecond);

}  // namespace
