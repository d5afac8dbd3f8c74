// A failed statement. Operations that report by their result never throw; the statements of the
// platform (copy, delete, rename, make a folder, read, append, start a command line) throw this.
#pragma once

#include <string>

struct Fault {
  int number;               // one of the classic numbers below
  std::string description;  // the text that belongs to the number
};

// The classic run-time numbers that the statements use.
constexpr int kInvalidCall = 5;
constexpr int kFileNotFound = 53;
constexpr int kDeviceIoError = 57;
constexpr int kFileAlreadyExists = 58;
constexpr int kDiskFull = 61;
constexpr int kPermissionDenied = 70;
constexpr int kDiskNotReady = 71;
constexpr int kPathFileAccessError = 75;
constexpr int kPathNotFound = 76;

// The fault with its classic description ("File not found" for 53, and so on).
Fault MakeFault(int number);
