// Embeds the icon file in the program, for os/linux/icon.cpp.

asm(".section .rodata\n"
    ".global program_icon\n"
    "program_icon: .incbin \"" TARNWICK_ICON "\"\n"
    ".previous\n");
