// When preloaded, makes reads of files with "broken" in their names fail like a broken disk.

#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

extern "C" ssize_t pread(int file, void *bytes, size_t count, off_t offset) {
    using Read = ssize_t(int, void *, size_t, off_t);
    static Read *const real = reinterpret_cast<Read *>(dlsym(RTLD_NEXT, "pread"));
    char link[64], name[4096];
    snprintf(link, sizeof(link), "/proc/self/fd/%d", file);
    ssize_t length = readlink(link, name, sizeof(name) - 1);
    if (length > 0) {
        name[length] = 0;
        // With "late" after it in the name, the first 4096 bytes can be read.
        const char *broken = strstr(name, "broken");
        if (broken && (offset > 0 || !strstr(broken, "late"))) {
            errno = EIO;
            return -1;
        }
        if (broken && count > 4096) {
            return real(file, bytes, 4096, offset);
        }
    }
    return real(file, bytes, count, offset);
}
