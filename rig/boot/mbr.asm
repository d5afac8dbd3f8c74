; Boot code of the demo stick's MBR, 440 bytes: prints its name on COM1, loads the first sector of
; the active entry (entry 1 if none is active) to 0:7C00 and jumps there with DS:SI at the entry. It
; carries the mark by which the program knows a stick, and a filler that reveals every lost byte.
bits 16
org 0x600

TABLE equ 0x600 + 446

start:
  cli
  xor ax, ax
  mov ds, ax
  mov es, ax
  mov ss, ax
  mov sp, 0x7C00
  mov si, sp
  mov di, 0x600
  mov cx, 256
  cld
  rep movsw
  jmp 0:moved
moved:
  sti
  mov [drive], dl
  mov si, hello
  call say
  mov si, TABLE
  mov cx, 4
.next:
  test byte [si], 0x80
  jnz .load
  add si, 16
  loop .next
  mov si, TABLE
.load:
  mov eax, [si + 8]
  mov [packet.lba], eax
  push si
  mov si, packet
  mov ah, 0x42
  mov dl, [drive]
  int 0x13
  pop si
  jc failed
  mov dl, [drive]
  jmp 0:0x7C00

failed:
  mov si, missing
  call say
.halt:
  hlt
  jmp .halt

%include "say.inc"

align 4
packet:
  db 16, 0
  dw 1
  dw 0x7C00, 0
.lba:
  dd 0, 0
drive db 0

hello db "MBR of the demo stick", 13, 10, 0
missing db "Missing MBR-helper", 13, 10, 0

  times 440 - ($ - $$) db 0xA0 + ($ - $$) % 64
