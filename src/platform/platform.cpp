#include "platform/platform.h"

Platform Sys;

Fault MakeFault(int number) {
  switch (number) {
    case kInvalidCall:
      return {number, "Invalid procedure call or argument"};
    case kFileNotFound:
      return {number, "File not found"};
    case kDeviceIoError:
      return {number, "Device I/O error"};
    case kFileAlreadyExists:
      return {number, "File already exists"};
    case kDiskFull:
      return {number, "Disk full"};
    case kPermissionDenied:
      return {number, "Permission denied"};
    case kDiskNotReady:
      return {number, "Disk not ready"};
    case kPathFileAccessError:
      return {number, "Path/File access error"};
    case kPathNotFound:
      return {number, "Path not found"};
    default:
      return {number, "Application-defined or object-defined error"};
  }
}
