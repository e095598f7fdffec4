// A program for clipboard_test.sh: uses the clipboard as its first argument says.
#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "os/clipboard.h"
#include "os/console.h"
#include "os/toolkit/clipboard.h"

namespace {

std::string standard_input() {
    _setmode(_fileno(stdin), _O_BINARY);
    std::string bytes;
    char piece[65536];
    for (size_t count = 0; (count = std::fread(piece, 1, sizeof(piece), stdin)) > 0;) {
        bytes.append(piece, count);
    }
    return bytes;
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

} // namespace

int main(int count, char **arguments) {
    std::string what = count == 2 ? arguments[1] : "";
    if (what == "set") {
        std::string text = standard_input();
        return os_clipboard_set_text({text.size(), text.data()});
    }
    if (what == "offer_bytes") {
        return offer_bytes(standard_input());
    }
    if (what == "get") {
        Str text = os_clipboard_get_text();
        os_console_write(text);
        return text.data ? 0 : 1;
    }
    if (what == "list") {
        os_clipboard_list_formats();
        return 0;
    }
    if (what == "stay") {   // until it is killed, at most five minutes
        GetDesktopWindow(); // starts the desktop, which runs as long as a program uses it
        Sleep(300000);
        return 0;
    }
    std::fprintf(stderr, "clipboard_probe: wrong arguments\n");
    return 2;
}
