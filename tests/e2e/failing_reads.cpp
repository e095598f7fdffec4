// Preloaded, it makes reading a file fail as a broken disk does, if "broken" is part of the file's name.

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
        // The second block of such a file cannot be read, or the first one when there is no other.
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
