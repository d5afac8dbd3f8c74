// The SCSI record: what the program sends, byte for byte, and its 64-bit form as ntddscsi.h lays it
// out.
#include "platform/win32/scsi_record.h"

#include <algorithm>
#include <map>

#include "disk/drive_discovery.h"
#include "platform/platform.h"
#include "tests/support.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// A record of 32-bit form: 44 bytes, 32 for the sense data, 509 for the data.
Bytes Record(std::uint8_t operation) {
  Bytes record(585);
  const std::map<std::size_t, std::uint8_t> fields{{0, 44},          // length
                                                   {4, 1},           // target
                                                   {6, 6},           // length of the command
                                                   {7, 24},          // length of the sense data
                                                   {8, 1},           // reads
                                                   {12, 192},        // length of the data
                                                   {16, 2},          // seconds to wait
                                                   {20, 76},         // offset of the data
                                                   {24, 44},         // offset of the sense data
                                                   {28, operation},  // the command
                                                   {29, 8},         {32, 192}};
  for (const auto& [at, value] : fields) record[at] = value;
  return record;
}

struct Listening : VirtualDevices {
  using VirtualDevices::VirtualDevices;
  bool DeviceIoControl(Handle handle, std::uint32_t code, const void* input,
                       std::uint32_t inputSize, void* output, std::uint32_t outputSize,
                       std::uint32_t& returned) noexcept override {
    const auto* bytes = static_cast<const std::uint8_t*>(input);
    if (code == kIoctlScsiPassThrough) sent.emplace_back(bytes, bytes + inputSize);
    return VirtualDevices::DeviceIoControl(handle, code, input, inputSize, output, outputSize,
                                           returned);
  }
  std::vector<Bytes> sent;
};

TEST(ScsiRecord, AsksForCapacityAndInquiry) {
  PreparedPc program;
  Listening devices(program.pc.machine);
  Sys.devices = &devices;
  GetSCSICapacity(1);
  EXPECT_EQ(devices.sent, (std::vector<Bytes>{Record(0x25), Record(0x12)}));
}

TEST(ScsiRecord, WidenedAndTakenBack) {
  Bytes record(585);
  for (std::size_t i = 0; i < record.size(); ++i) record[i] = static_cast<std::uint8_t>(i + 1);
  for (const std::size_t at : {22U, 23U, 26U, 27U}) record[at] = 0;  // of the offsets
  Bytes expected(record.begin(), record.begin() + 20);
  expected[0] = 56;  // the length
  const auto append = [&](const Bytes& bytes) {
    expected.insert(expected.end(), bytes.begin(), bytes.end());
  };
  append({0, 0, 0, 0, 21 + 12, 22, 0, 0, 0, 0, 0, 0});      // offset of the data, in 64 bits
  append({25 + 12, 26, 0, 0});                              // offset of the sense data
  append(Bytes(record.begin() + 28, record.begin() + 44));  // the command
  append({0, 0, 0, 0});
  append(Bytes(record.begin() + 44, record.end()));
  const Bytes wide = WidenScsiRecord(record.data(), record.size());
  EXPECT_EQ(wide, expected);

  // Back come the status, what was moved, and the data; the offsets are of the narrow form.
  Bytes answer(wide.size(), 0x77), taken = record, back(record.size(), 0x77);
  NarrowScsiAnswer(answer, taken.data(), taken.size());
  std::copy_n(record.begin(), 2, back.begin());
  std::copy_n(record.begin() + 20, 24, back.begin() + 20);
  EXPECT_EQ(taken, back);
  EXPECT_TRUE(WidenScsiRecord(record.data(), 43).empty());
}

}  // namespace
