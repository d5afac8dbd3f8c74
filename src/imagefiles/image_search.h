// Fills List1 with the partition image files of the selected volume.
#pragma once

#include <cstdint>
#include <string>

// Lists the images of MYDRIVE: below its \_ISO folder with Chk_ISO ticked, else all of it.
void ListFiles();

// Adds the images below path to List1, folder by folder. Adds a closing backslash to path; counts
// images and subfolders on in FileCount and DirCount.
void FindFilesAPI(std::string& path, const std::string& SearchStr, std::int32_t& FileCount,
                  std::int32_t& DirCount);

// The image's full path out of the selected line of List1, empty when none is selected. GetList1
// writes its line to the log.
std::string SelectedImage();
std::string GetList1();
