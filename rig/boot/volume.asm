; Boot code of a volume: prints its name, its hidden-sectors field and the start in the partition
; entry on COM1. Assembled with -DCODE=offset (after the parameter block), -DHIDDEN=offset (of that
; field) and -DNAME='"text"'; the file system keeps the bytes before CODE and the last two of the
; sector.
bits 16
org 0x7C00 + CODE

start:
  push si
  mov si, name
  call say
  mov eax, [0x7C00 + HIDDEN]
  call hex
  mov si, entry
  call say
  pop si
  mov eax, [si + 8]
  call hex
  mov si, done
  call say
.halt:
  hlt
  jmp .halt

; hex: prints EAX as eight digits.
hex:
  mov ecx, eax
  mov di, 8
.digit:
  rol ecx, 4
  mov al, cl
  and al, 15
  add al, '0'
  cmp al, '9'
  jbe .put
  add al, 'A' - '0' - 10
.put:
  call put
  dec di
  jnz .digit
  ret

%include "say.inc"

name db NAME, " hidden=", 0
entry db " entry=", 0
done db 13, 10, 0

  times 510 - CODE - ($ - $$) db 0
