#include "os/clipboard.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "support/heap_hook.h"
#include "support/system_clipboard.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

using namespace std::string_literals;

constexpr uint64_t most_units = 8388608;

// Each has something that conversions may get wrong.
const std::string texts[] = {
    "plain",
    "größe 你好",
    "beyond 16 bits: 😀 𠀀 \U0010FFFF",
    "a\nb\r\nc\rd\te",
    "noncharacters \uFFFE\uFFFF and \u0001",
};

int32_t set_text(const std::string &text) {
    hold_clipboard();
    return os_clipboard_set_text(str_over(text));
}

std::string get_text() {
    hold_clipboard();
    return taken(os_clipboard_get_text());
}

} // namespace

// ---- Setting and getting ----

TEST(Clipboard, ReturnsTheTextThatWasSet) {
    for (const std::string &text : texts) {
        EXPECT_EQ(set_text(text), 0);
        EXPECT_FALSE(close_open_clipboard());
        EXPECT_EQ(get_text(), text);
        EXPECT_FALSE(close_open_clipboard());
    }
}

TEST(Clipboard, BothFormatsAreAlwaysSet) {
    for (const std::string &text : texts) {
        EXPECT_EQ(set_text(text), 0);
        ClipboardFormats formats = clipboard_formats();
        EXPECT_EQ(formats.wide_text, text);
        EXPECT_EQ(formats.byte_text, text);
    }
}

TEST(Clipboard, AnEmptyTextSetsBothFormatsToEmptyTexts) {
    for (Str empty : {Str{}, str_from("")}) {
        EXPECT_EQ(set_text("before"), 0);
        hold_clipboard();
        EXPECT_EQ(os_clipboard_set_text(empty), 0);
        ClipboardFormats formats = clipboard_formats();
        EXPECT_EQ(formats.wide_text, "");
        EXPECT_EQ(formats.byte_text, "");
        EXPECT_EQ(get_text(), ""); // an empty text, not "(none)"
    }
}

TEST(Clipboard, ATextNeedsNoZeroAtItsEnd) {
    std::string text = "fooBARfoo";
    hold_clipboard();
    EXPECT_EQ(os_clipboard_set_text({3, text.data() + 3}), 0);
    ClipboardFormats formats = clipboard_formats();
    EXPECT_EQ(formats.wide_text, "BAR");
    EXPECT_EQ(formats.byte_text, "BAR");
}

TEST(Clipboard, SettingDropsWhatWasThere) {
    offer_on_clipboard({.file_name = "C:\\f", .png = "picture"});
    EXPECT_EQ(set_text("text"), 0);
    ClipboardFormats formats = clipboard_formats();
    EXPECT_EQ(formats.wide_text, "text");
    EXPECT_FALSE(formats.file_name);
    EXPECT_FALSE(formats.png);
}

TEST(Clipboard, InvalidUtf8IsReplacedInTheWideTextOnly) {
    // A replacement character for each piece that starts a character and does not end it, and each stray
    // byte.
    const struct {
        std::string bytes;
        std::string converted;
    } cases[] = {
        {"gr\xf6\xdf"
         "e",
         "gr\uFFFD\uFFFDe"},
        {"\x80", "\uFFFD"},
        {"cut \xf0\x9f\x98", "cut \uFFFD"},
        {"cut \xe4\xbd!", "cut \uFFFD!"},
        {"long form \xc0\xaf", "long form \uFFFD\uFFFD"},
        {"\xff\xfe", "\uFFFD\uFFFD"},
    };
    for (const auto &pair : cases) {
        EXPECT_EQ(set_text(pair.bytes), 0);
        ClipboardFormats formats = clipboard_formats();
        EXPECT_EQ(formats.wide_text, pair.converted);
        EXPECT_EQ(formats.byte_text, pair.bytes);
        EXPECT_EQ(get_text(), pair.converted);
    }
}

TEST(Clipboard, SurrogatesAndCodesBeyondUnicodeAreInvalidUtf8) {
    for (const std::string &bytes : {"<\xed\xa0\x80>"s, "<\xf4\x90\x80\x80>"s, "<\xe0\x80\x80>"s}) {
        EXPECT_EQ(set_text(bytes), 0);
        std::string text = get_text();
        EXPECT_EQ(text.substr(0, 4), "<\uFFFD");
        EXPECT_EQ(text.substr(text.size() - 4), "\uFFFD>");
        EXPECT_EQ(clipboard_formats().byte_text, bytes);
    }
}

TEST(Clipboard, ATextGoesOutWholeAndComesInUpToItsFirstZero) {
    std::string text("ab\0cd", 5);
    EXPECT_EQ(set_text(text), 0);
    ClipboardFormats formats = clipboard_formats();
    EXPECT_EQ(formats.wide_text, text);
    EXPECT_EQ(formats.byte_text, text);
    EXPECT_EQ(get_text(), "ab");
    offer_on_clipboard({.byte_text = text});
    EXPECT_EQ(taken(os_clipboard_get_text()), "ab");
}

TEST(Clipboard, SettingManyTimesLeavesTheLastText) {
    for (int i = 0; i < 300; i++) {
        EXPECT_EQ(set_text("text " + std::to_string(i)), 0);
    }
    EXPECT_EQ(get_text(), "text 299");
}

// ---- What other programs offer ----

TEST(Clipboard, TheWideTextIsPreferred) {
    offer_on_clipboard({.wide_text = "wide", .byte_text = "bytes"});
    EXPECT_EQ(taken(os_clipboard_get_text()), "wide");
    offer_on_clipboard({.wide_text = "", .byte_text = "bytes"});
    EXPECT_EQ(taken(os_clipboard_get_text()), "");
}

TEST(Clipboard, ByteTextAloneArrivesUnchangedThoughItIsInvalidUtf8) {
    for (const std::string &bytes : {"gr\xf6\xdf\x65"s, "\x80\xff"s, "größe"s, ""s}) {
        offer_on_clipboard({.byte_text = bytes});
        EXPECT_EQ(taken(os_clipboard_get_text()), bytes);
        EXPECT_FALSE(close_open_clipboard());
    }
}

TEST(Clipboard, WithoutATextItStaysOpenUntilATextIsFoundOrSet) {
    const ClipboardFormats without_text[] = {{}, {.png = "picture"}};
    for (const ClipboardFormats &formats : without_text) {
        offer_on_clipboard(formats);
        EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());
        hold_clipboard();
        EXPECT_EQ(taken(os_clipboard_get_text()), "(none)");
        EXPECT_EQ(taken(os_clipboard_get_text()), "(none)");
        EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());

        hold_clipboard();
        EXPECT_EQ(taken(os_clipboard_get_text()), "(none)");
        EXPECT_EQ(os_clipboard_set_text(str_from("text")), 0);
        EXPECT_FALSE(close_open_clipboard());
        EXPECT_EQ(get_text(), "text");
    }
    offer_on_clipboard({});
    EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());
    EXPECT_EQ(taken(os_clipboard_get_text()), "(none)"); // opens it itself
    EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());
    offer_on_clipboard({.wide_text = "found"});
    EXPECT_EQ(taken(os_clipboard_get_text()), "found");
    EXPECT_FALSE(close_open_clipboard());
}

#ifdef _WIN32

namespace {

// Offers the units as they are, without a zero after them.
void offer_units(UINT format, std::initializer_list<wchar_t> units) {
    hold_clipboard();
    EmptyClipboard();
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, units.size() * sizeof(wchar_t));
    std::copy(units.begin(), units.end(), static_cast<wchar_t *>(GlobalLock(block)));
    GlobalUnlock(block);
    EXPECT_NE(SetClipboardData(format, block), nullptr);
}

} // namespace

TEST(Clipboard, UnpairedSurrogatesBecomeReplacementCharacters) {
    offer_units(CF_UNICODETEXT, {'a', 0xD83D, 'b', 0xDE00, 0xD83D, 0xDE00, 0});
    EXPECT_EQ(taken(os_clipboard_get_text()), "a\uFFFDb\uFFFD😀");
}

TEST(Clipboard, TheSystemDerivesWideTextFromBytesInItsOwnCodePage) {
    // Once the other program has closed the clipboard there is a wide text, though none was placed.
    const char *bytes = "gr\xf6\xdf\x65";
    DWORD code_page = 0;
    GetLocaleInfoW(GetUserDefaultLCID(), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<wchar_t *>(&code_page), sizeof(code_page) / sizeof(wchar_t));
    wchar_t wide[8] = {};
    MultiByteToWideChar(code_page, 0, bytes, -1, wide, 8);
    char expected[32] = {};
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, expected, sizeof(expected), nullptr, nullptr);

    offer_on_clipboard({.byte_text = bytes});
    EXPECT_TRUE(close_open_clipboard());
    EXPECT_EQ(get_text(), expected);
}

TEST(Clipboard, WhileAnotherProgramHoldsItNothingIsReadAndSettingReturns0) {
    EXPECT_EQ(set_text("before"), 0);
    HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 1, 1, HWND_MESSAGE, nullptr, nullptr, nullptr);
    hold_clipboard(window);
    // The system takes another thread for another program.
    std::thread([] {
        EXPECT_EQ(taken(os_clipboard_get_text()), "(none)");
        // Intentionally 0. Windows drops the text; Wine 8 does not check who has the clipboard open, and
        // places it.
        EXPECT_EQ(os_clipboard_set_text(str_from("after")), 0);
    }).join();
    EXPECT_TRUE(close_open_clipboard());
    DestroyWindow(window);
}

#endif

// ---- Long texts and allocation failures ----

TEST(Clipboard, HalfAMegabyteComesBack) {
    std::string text;
    for (int i = 0; text.size() < 524288; i++) {
        text += "line " + std::to_string(i) + " größe 😀\r\n";
    }
    EXPECT_EQ(set_text(text), 0);
    EXPECT_EQ(get_text(), text);
}

TEST(Clipboard, TheLongestTextComesBackAndOneMoreUnitFails) {
    std::string text(most_units, 'x');
    EXPECT_EQ(set_text(text), 0);
    EXPECT_TRUE(get_text() == text);
    EXPECT_EQ(set_text("before"), 0);
    text += 'x';
    EXPECT_EQ(set_text(text), 1);
    EXPECT_EQ(close_open_clipboard(),
              clipboard_can_be_held()); // held by the test; a failed call does not close it
    EXPECT_EQ(get_text(), "before");
    EXPECT_EQ(clipboard_formats().byte_text, "before");
}

TEST(Clipboard, UnitsAndNotBytesAreCounted) {
    std::string text;
    for (uint64_t units = 0; units < most_units; units += 2) {
        text += "😀"; // four bytes, two units
    }
    EXPECT_EQ(set_text(text), 0);
    EXPECT_TRUE(get_text() == text);
    text += "x";
    EXPECT_EQ(set_text(text), 1);

    text.clear();
    for (uint64_t units = 0; units < most_units; units++) {
        text += "你"; // three bytes, one unit
    }
    EXPECT_EQ(set_text(text), 0);
    EXPECT_TRUE(get_text() == text);
    text += "x";
    EXPECT_EQ(set_text(text), 1);
    EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());
}

TEST(Clipboard, AFailedAllocationIsReportedByItsNumberAndChangesNothing) {
    EXPECT_EQ(set_text("before"), 0);
    for (int failing : {0, 1}) {
        FailingAllocation allocations(static_cast<uint64_t>(failing));
        hold_clipboard();
        EXPECT_EQ(os_clipboard_set_text(str_from("after")), failing + 1);
        EXPECT_EQ(static_cast<int>(allocations.sizes.size()), failing + 1);
    }
    EXPECT_EQ(close_open_clipboard(), clipboard_can_be_held());
    EXPECT_EQ(clipboard_formats().wide_text, "before");
    EXPECT_EQ(clipboard_formats().byte_text, "before");
}

TEST(Clipboard, WithoutMemoryNothingIsReadAndItIsClosedAnyway) {
    offer_on_clipboard({.wide_text = "wide"});
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_EQ(taken(os_clipboard_get_text()), "(none)");
    EXPECT_FALSE(close_open_clipboard());
}
