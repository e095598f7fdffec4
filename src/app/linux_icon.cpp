// The icon file as bytes of the program, where src/os/linux/icon.cpp finds them.

asm(".section .rodata\n"
    ".global program_icon, program_icon_end\n"
    "program_icon: .incbin \"" TARNWICK_ICON "\"\n"
    "program_icon_end:\n"
    ".previous\n");
