// SCSI_PASS_THROUGH (ntddscsi.h) in its two layouts. The program composes the 32-bit one, which
// 64-bit Windows refuses from a 64-bit program: there the data offset takes 8 bytes and moves what
// follows it. Pure, so that any host can compile it.
#pragma once

#include <cstdint>
#include <vector>

constexpr std::size_t kNarrowScsiHeader = 44;  // sizeof(SCSI_PASS_THROUGH) for 32-bit programs
constexpr std::size_t kWideScsiHeader = 56;    // and for 64-bit ones

// The 64-bit form of a 32-bit record, including everything after the header; both offsets are
// adjusted. Empty if the record is shorter than its header.
std::vector<std::uint8_t> WidenScsiRecord(const std::uint8_t* record, std::size_t size);

// Copies the answer back: status, lengths, and everything after the header, up to size.
void NarrowScsiAnswer(const std::vector<std::uint8_t>& wide, std::uint8_t* record,
                      std::size_t size);
