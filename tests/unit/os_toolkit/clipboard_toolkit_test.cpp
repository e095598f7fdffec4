#include "os/toolkit/clipboard.h"

#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "os/clipboard.h"
#include "support/heap_hook.h"
#include "support/system_clipboard.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <string.h>
#include <windows.h>
#endif

namespace {

#ifdef _WIN32
const std::string copied_file = "C:\\größe 😀\\f.txt";
const char *const file_name_line = " = FileNameW\n";
#else
const std::string copied_file = "/größe 😀/f.txt";
const char *const file_name_line = " = text/uri-list\n";
#endif

std::string listed_formats() {
    testing::internal::CaptureStdout();
    os_clipboard_list_formats();
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(ClipboardContent, FormatsAreListedWithTheirNumbersAndNames) {
    hold_clipboard();
    EXPECT_EQ(os_clipboard_set_text(str_from("text")), 0);
    hold_clipboard();
    std::string lines = listed_formats();
    EXPECT_FALSE(close_open_clipboard());
#ifdef _WIN32
    std::string wide_first = "CLIP 13 = CF_UNICODETEXT\nCLIP 1 = CF_TEXT\n"; // others are derived from them
    EXPECT_EQ(lines.substr(0, wide_first.size()), wide_first);
#else
    EXPECT_NE(lines.find(" = UTF8_STRING\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("CLIP 31 = STRING\n"), std::string::npos) << lines;
#endif

    offer_on_clipboard({.file_name = copied_file, .png = "picture"});
    lines = listed_formats();
    size_t file_name = lines.find(file_name_line);
    size_t png = lines.find(" = image/png\n");
    ASSERT_NE(file_name, std::string::npos);
    ASSERT_NE(png, std::string::npos);
    EXPECT_LT(file_name, png);
#ifdef _WIN32
    EXPECT_EQ(lines.find("CLIP 49"), 0u); // registered formats have numbers from 49152 to 65535
#endif

    offer_on_clipboard({});
    EXPECT_EQ(listed_formats(), "");
}

TEST(ClipboardContent, AFileNameAndAPictureAreFoundWhereTheyAre) {
    const std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    offer_on_clipboard({.file_name = copied_file});
    ClipboardContent content = os_clipboard_get_content();
    EXPECT_EQ(taken(content.file_name), copied_file);
    EXPECT_EQ(taken(content.png), "(none)");
    EXPECT_FALSE(close_open_clipboard());

    offer_on_clipboard({.png = png});
    content = os_clipboard_get_content();
    EXPECT_EQ(taken(content.file_name), "(none)");
    EXPECT_EQ(taken(content.png), png);

    offer_on_clipboard({.wide_text = "text", .file_name = copied_file, .png = png});
    content = os_clipboard_get_content();
    EXPECT_EQ(taken(content.file_name), copied_file);
    EXPECT_EQ(taken(content.png), png);

    offer_on_clipboard({.wide_text = "text"});
    content = os_clipboard_get_content();
    EXPECT_EQ(taken(content.file_name), "(none)");
    EXPECT_EQ(taken(content.png), "(none)");
    EXPECT_FALSE(close_open_clipboard());
}

TEST(ClipboardContent, WithoutMemoryNothingIsFoundAndItIsClosedAnyway) {
    offer_on_clipboard({.file_name = copied_file, .png = "picture"});
    HeapHookScope hook([](uint64_t) { return false; });
    ClipboardContent content = os_clipboard_get_content();
    EXPECT_EQ(content.file_name.data, nullptr);
    EXPECT_EQ(content.png.data, nullptr);
    EXPECT_FALSE(close_open_clipboard());
}

#ifdef _WIN32
TEST(ClipboardContent, ATextWithoutAZeroEndsWithItsBlock) {
    hold_clipboard();
    EmptyClipboard();
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 3 * sizeof(wchar_t));
    memcpy(GlobalLock(block), L"abc", 3 * sizeof(wchar_t));
    GlobalUnlock(block);
    EXPECT_NE(SetClipboardData(RegisterClipboardFormatW(L"FileNameW"), block), nullptr);
    EXPECT_EQ(taken(os_clipboard_get_content().file_name), "abc");
}

TEST(ClipboardContent, WhileAnotherProgramHoldsItNothingIsFound) {
    offer_on_clipboard({.png = "picture"});
    EXPECT_TRUE(close_open_clipboard());
    HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 1, 1, HWND_MESSAGE, nullptr, nullptr, nullptr);
    hold_clipboard(window);
    // The system takes another thread for another program.
    std::thread([] {
        EXPECT_EQ(listed_formats(), "");
        EXPECT_EQ(os_clipboard_get_content().png.data, nullptr);
    }).join();
    EXPECT_TRUE(close_open_clipboard());
    DestroyWindow(window);
}
#endif
