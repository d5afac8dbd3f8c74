// Fills List1 with the partition image files of the selected volume.
#pragma once

#include <cstdint>
#include <string>

// Lists the images of MYDRIVE: below its \_ISO folder with Chk_ISO ticked, else all of it.
void ListFiles();

// Adds the images below path to List1, folder by folder. Adds a closing backslash to path, and the
// images and subfolders found to FileCount and DirCount.
void FindFilesAPI(std::string& path, const std::string& SearchStr, std::int32_t& FileCount,
                  std::int32_t& DirCount);

// SelectedImage returns the image's full path from the line selected in List1, empty if there is
// none. GetList1 also writes its name to the log.
std::string SelectedImage();
std::string GetList1();
