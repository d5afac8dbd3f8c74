#include "disk/drive_discovery.h"

#include <array>
#include <tuple>

#include "disk/file_probe.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "platform/platform.h"
#include "report/log.h"
#include "report/routine.h"
#include "text/text.h"

std::string ScsiProductText;
std::string ScsiRevisionText;
std::string ScsiVendorField;
std::string MediaKind;

namespace {

// SCSI_PASS_THROUGH (ntddscsi.h, 32-bit layout): 44 bytes of header, 32 of sense data, then the
// data area.
constexpr std::size_t kRecordSize = 585;
constexpr std::size_t kSenseOffset = 44;
constexpr std::size_t kDataOffset = 76;
constexpr std::uint8_t kDataLength = 192;
constexpr std::uint8_t kReadCapacity = 0x25;  // SCSI operation codes (SPC, SBC)
constexpr std::uint8_t kInquiry = 0x12;

using Record = std::vector<std::uint8_t>;

Record PassThroughRecord(std::uint8_t operation) {
  Record record(kRecordSize, 0);
  record[0] = 44;                          // Length, 16 bits
  record[3] = 0;                           // PathId, after ScsiStatus
  record[4] = 1;                           // TargetId
  record[5] = 0;                           // Lun
  record[6] = 6;                           // CdbLength
  record[7] = 24;                          // SenseInfoLength
  record[8] = 1;                           // DataIn: SCSI_IOCTL_DATA_IN
  PutNumber32(&record[12], kDataLength);   // DataTransferLength
  PutNumber32(&record[16], 2);             // TimeOutValue, seconds
  PutNumber32(&record[20], kDataOffset);   // DataBufferOffset
  PutNumber32(&record[24], kSenseOffset);  // SenseInfoOffset
  record[28] = operation;                  // Cdb
  record[29] = 0x08;
  record[32] = kDataLength;
  return record;
}

// Sends the record and returns the count of bytes that came back. Only that shows whether the disk
// answered.
std::uint32_t SendRecord(Handle disk, Record& record) {
  std::uint32_t returned = 0;
  const auto size = static_cast<std::uint32_t>(record.size());
  std::ignore = Sys.devices->DeviceIoControl(disk, kIoctlScsiPassThrough, record.data(), size,
                                             record.data(), size, returned);
  return returned;
}

std::uint64_t BigEndian32(const Record& record, std::size_t offset) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | record[offset + i];
  return number;
}

std::uint64_t CapacityReply(Handle disk) {
  Record record = PassThroughRecord(kReadCapacity);
  if (SendRecord(disk, record) == 0) return 0;
  const std::uint64_t size =
      BigEndian32(record, kDataOffset) * BigEndian32(record, kDataOffset + 4);
  return size > 0 ? size + 512 : 0;
}

void TakeInquiryReply(Handle disk) {
  Record record = PassThroughRecord(kInquiry);
  if (SendRecord(disk, record) == 0) return;
  const Record data(record.begin() + kDataOffset, record.end());
  const auto field = [&](std::int32_t first, std::int32_t last) {
    return GetSTRbyBuff(data, first, last, true);
  };
  ScsiVendorField = field(36, 43);
  const std::string vendor = field(8, 15);
  const char* between = vendor == "VBOX HAR" ? "" : " ";  // its one name fills both fields
  ScsiProductText = Trim(vendor + between + field(16, 31));
  ScsiRevisionText = field(32, 35);
  MediaKind = (data[1] & 0x80) != 0 ? kRemovableMedia : kFixedMedia;
}

bool NameHolds(const std::string& path, const char* name) {
  return ContainsIgnoringCase(ProbeFile(path), name);
}

bool HoldsTesseldynFiles(const std::string& volume) {
  return NameHolds(volume + "\\_ISO\\tsd\\grub\\tsd.cfg", "tsd.cfg") ||
         NameHolds(volume + "\\tsd\\unifont.hex.gz", "unifont");
}

}  // namespace

bool Get_Drive_Volumes(std::int32_t driveNo, std::string& volume1, std::string& volume2,
                       std::string& volume3, std::string& volume4) {
  const std::array<std::string*, 4> volumes{&volume1, &volume2, &volume3, &volume4};
  const auto call = [&] {
    return "------- Get_Drive_Volumes(" + Decimal(driveNo) + "," + volume1 + "," + volume2 + "," +
           volume3 + "," + volume4;
  };
  for (std::string* volume : volumes) volume->clear();
  WriteLog(call() + ") Started ----------------");
  std::size_t filled = 0;
  for (char letter = 'C'; letter <= 'Z'; ++letter) {
    const std::string volume{letter, ':'};
    if (GetPhysDriveNo(volume) != driveNo || driveNo == kNoDrive) continue;
    if (filled < volumes.size()) *volumes[filled++] = volume;
  }
  const bool result = !volume1.empty();
  WriteLog(call() + ") Result=" + BooleanText(result) + "  ----------------");
  return result;
}

std::string GetDriveLetter(std::int32_t Dno) {
  WriteLog("------- GetDriveLetter(" + Decimal(Dno) + ") Started ----------------");
  Get_Drive_Volumes(Dno, vol1, vol2, vol3, vol4);
  std::string answer;
  int number = 0;
  for (const std::string* volume : {&vol1, &vol2, &vol3, &vol4}) {
    ++number;
    if (volume->empty() || !answer.empty()) continue;
    WriteLog("v" + Decimal(number) + "=" + *volume);
    if (HoldsTesseldynFiles(*volume)) answer = *volume;
  }
  if (answer.empty()) answer = vol1;
  WriteLog("Finished GetDriveLetter - GetDriveLetter=" + answer);
  return answer;
}

std::uint64_t GetDiskLength(Handle handle) {
  if (handle == kInvalidHandle) return 0;
  std::array<std::uint8_t, 8> answer{};  // little-endian
  std::uint32_t returned = 0;
  const bool answered = Sys.devices->DeviceIoControl(handle, kIoctlDiskGetLengthInfo, nullptr, 0,
                                                     answer.data(), answer.size(), returned);
  std::uint64_t length = 0;
  for (std::size_t i = answer.size(); i-- > 0;) length = length << 8 | answer[i];
  return answered ? length : 0;
}

std::uint64_t GetSCSICapacity(std::int32_t drv) {
  const Routine me(ReportLayout::Module, "GetSCSICapacity");
  WriteLog("------- GetSCSICapacity Started ----------------");
  Handle disk = Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(drv), kGenericReadWrite,
                                        kShareReadWrite, kOpenExisting, 0);
  if (disk == kInvalidHandle) return 0;
  std::uint64_t capacity = CapacityReply(disk);
  const std::uint64_t length = GetDiskLength(disk);
  if (length > capacity) capacity = length;
  TakeInquiryReply(disk);
  MyCloseHandle(disk);
  return capacity;
}

std::string GetSTRbyBuff(const std::vector<std::uint8_t>& bytes, std::int32_t start,
                         std::int32_t& end, bool stopAtNul) {
  const auto upper = static_cast<std::int32_t>(bytes.size()) - 1;
  if (end == -1 || end > upper) end = upper;
  if (start < 0) start = 0;
  if (end < start) return "";
  std::string text(bytes.begin() + start, bytes.begin() + end + 1);
  if (stopAtNul) text = text.substr(0, text.find('\0'));
  return Trim(Sys.facts->TextOfCodePage(text));
}
