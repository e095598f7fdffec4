// A program for clipboard_test.sh: uses the clipboard as its first argument says.
#include <cstdio>
#include <cstring>
#include <string>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>

#include "os/linux/clipboard.h"
#include "os/linux/x11.h"
#endif

#include "os/clipboard.h"
#include "os/console.h"
#include "os/memory.h"
#include "os/toolkit/clipboard.h"

namespace {

std::string standard_input() {
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    std::string bytes;
    char piece[65536];
    for (size_t count = 0; (count = std::fread(piece, 1, sizeof(piece), stdin)) > 0;) {
        bytes.append(piece, count);
    }
    return bytes;
}

int set(const std::string &text) {
    return os_clipboard_set_text({text.size(), const_cast<char *>(text.data())});
}

#ifdef _WIN32

// Until it is killed, at most five minutes.
int stay() {
    GetDesktopWindow(); // starts the desktop, which runs as long as a program uses it
    Sleep(300000);
    return 0;
}

// The desktop answers for the program when that has ended.
int set_and_leave(const std::string &text) {
    return set(text);
}

// Sets the text as a program without Unicode does.
int offer_bytes(const std::string &text) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, text.size() + 1);
    std::memcpy(GlobalLock(block), text.c_str(), text.size() + 1);
    GlobalUnlock(block);
    return OpenClipboard(nullptr) && EmptyClipboard() && SetClipboardData(CF_TEXT, block) && CloseClipboard()
               ? 0
               : 1;
}

#else

int stay() {
    sleep(300);
    return 0;
}

// A second process answers for the text until another program takes the clipboard.
int set_and_leave(const std::string &text) {
    int ends[2];
    if (pipe(ends) != 0) {
        return 3;
    }
    if (fork() == 0) {
        char result = static_cast<char>(set(text));
        bool is_told = write(ends[1], &result, 1) == 1;
        close(ends[1]);
        for (FILE *file :
             {stdout, stderr}) { // or a program that reads them to the end would wait for this process
            is_told = freopen("/dev/null", "w", file) && is_told;
        }
        alarm(300);
        while (is_told && result == 0) {
            XEvent event;
            XNextEvent(x11_display(), &event);
            clipboard_handle_event(event);
            is_told = event.type != SelectionClear;
        }
        _exit(0);
    }
    char result = 3;
    return read(ends[0], &result, 1) == 1 ? result : 3;
}

#endif

} // namespace

int main(int count, char **arguments) {
    std::string what = count == 2 ? arguments[1] : "";
    if (what == "set") {
        return set_and_leave(standard_input());
    }
#ifdef _WIN32
    if (what == "offer_bytes") {
        return offer_bytes(standard_input());
    }
#endif
    if (what == "get") {
        Str text = os_clipboard_get_text();
        int status = text.data ? 0 : 1;
        os_console_write(text);
        os_free(text.data);
        return status;
    }
    if (what == "list") {
        os_clipboard_list_formats();
        return 0;
    }
    if (what == "stay") {
        return stay();
    }
    std::fprintf(stderr, "clipboard_probe: wrong arguments\n");
    return 2;
}
