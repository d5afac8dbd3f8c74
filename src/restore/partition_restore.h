// Restores the saved MBR over the switched one. Looks at LBA 30, LBA 60 and the file \tsd\MBR.BIN
// in this order; an old grub4dos backup at LBA 1 is only reported.
#pragma once

void cmdRestoreTSD_Click();

// Restores from \tsd\MBR.BIN of MYDRIVE if it holds a sound table and the user agrees. True: it was
// written.
bool Restore_from_MBR_bin_file();
