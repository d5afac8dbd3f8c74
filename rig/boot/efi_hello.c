// Our EFI program: prints on COM1 that the FAT32 image was started, then halts.

static void Put(char character) {
  unsigned char ready;
  do {
    __asm__ volatile("inb %1, %0" : "=a"(ready) : "Nd"((unsigned short)0x3FD));
  } while ((ready & 0x20) == 0);
  __asm__ volatile("outb %0, %1" : : "a"(character), "Nd"((unsigned short)0x3F8));
}

unsigned long long efi_main(void* image, void* table) {
  (void)image;
  (void)table;
  for (const char* text = "\r\nEFI program of the FAT32 image\r\n"; *text != 0; ++text) Put(*text);
  for (;;) __asm__ volatile("hlt");
}
