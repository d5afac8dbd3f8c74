#include "platform/win32/scsi_record.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kGrowth = kWideScsiHeader - kNarrowScsiHeader;

// Offsets of the fields from the data offset on; the fields before it are the same.
constexpr std::size_t kSameFields = 20;  // Length to TimeOutValue
constexpr std::size_t kNarrowDataOffset = 20, kWideDataOffset = 24;
constexpr std::size_t kNarrowSenseOffset = 24, kWideSenseOffset = 32;
constexpr std::size_t kNarrowCdb = 28, kWideCdb = 36;
constexpr std::size_t kCdbSize = 16;

std::uint32_t Get32(const std::uint8_t* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

void Put32(std::uint8_t* bytes, std::size_t value) {
  const auto number = static_cast<std::uint32_t>(value);
  std::memcpy(bytes, &number, sizeof number);
}

}  // namespace

std::vector<std::uint8_t> WidenScsiRecord(const std::uint8_t* record, std::size_t size) {
  if (size < kNarrowScsiHeader) return {};
  std::vector<std::uint8_t> wide(kWideScsiHeader, 0);
  std::copy_n(record, kSameFields, wide.begin());
  wide[0] = kWideScsiHeader;
  Put32(&wide[kWideDataOffset], Get32(record + kNarrowDataOffset) + kGrowth);
  Put32(&wide[kWideSenseOffset], Get32(record + kNarrowSenseOffset) + kGrowth);
  std::copy_n(record + kNarrowCdb, kCdbSize, wide.begin() + kWideCdb);
  wide.insert(wide.end(), record + kNarrowScsiHeader, record + size);
  return wide;
}

void NarrowScsiAnswer(const std::vector<std::uint8_t>& wide, std::uint8_t* record,
                      std::size_t size) {
  if (wide.size() != size + kGrowth || size < kNarrowScsiHeader) return;
  std::copy_n(wide.begin() + 2, kSameFields - 2, record + 2);
  std::copy(wide.begin() + kWideScsiHeader, wide.end(), record + kNarrowScsiHeader);
}
