#include <gtest/gtest.h>
#include <windows.h>

#include <string.h>

#include "support/system_clipboard.h"

namespace {

UINT file_name_format() {
    return RegisterClipboardFormatW(L"FileNameW");
}

UINT png_format() {
    return RegisterClipboardFormatW(L"image/png");
}

void offer(UINT format, const void *bytes, size_t size) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
    memcpy(GlobalLock(block), bytes, size);
    GlobalUnlock(block);
    EXPECT_NE(SetClipboardData(format, block), nullptr);
}

void offer_wide(UINT format, const std::optional<std::string> &text) {
    if (text) {
        int count = static_cast<int>(text->size());
        std::wstring wide(text->size(), 0);
        if (count > 0) {
            wide.resize(static_cast<size_t>(
                MultiByteToWideChar(CP_UTF8, 0, text->data(), count, wide.data(), count)));
        }
        offer(format, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    }
}

// The whole block of a format; the handle is the clipboard's.
std::optional<std::string> block_of(UINT format) {
    HANDLE handle = GetClipboardData(format);
    const char *bytes = handle ? static_cast<const char *>(GlobalLock(handle)) : nullptr;
    if (!bytes) {
        return std::nullopt;
    }
    std::string block(bytes, GlobalSize(handle));
    GlobalUnlock(handle);
    return block;
}

std::optional<std::string> wide_block_of(UINT format) {
    std::optional<std::string> block = block_of(format);
    if (!block) {
        return std::nullopt;
    }
    std::wstring wide(block->size() / sizeof(wchar_t), 0);
    memcpy(wide.data(), block->data(), wide.size() * sizeof(wchar_t));
    EXPECT_TRUE(!wide.empty() && wide.back() == 0) << "no zero at the end";
    std::string text(wide.size() * 3, 0);
    int units = static_cast<int>(wide.size()) - 1;
    text.resize(
        units > 0 ? static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, text.data(),
                                                            static_cast<int>(text.size()), nullptr, nullptr))
                  : 0);
    return text;
}

std::optional<std::string> byte_text() {
    std::optional<std::string> block = block_of(CF_TEXT);
    if (block) {
        EXPECT_TRUE(!block->empty() && block->back() == 0) << "no zero at the end";
        block->resize(block->empty() ? 0 : block->size() - 1);
    }
    return block;
}

} // namespace

bool clipboard_can_be_held() {
    return true;
}

void hold_clipboard(void *window) {
    for (int tries = 0; tries < 3000; tries++) {
        if (OpenClipboard(static_cast<HWND>(window))) {
            return;
        }
        Sleep(10);
    }
    FAIL() << "another program holds the clipboard";
}

void offer_on_clipboard(const ClipboardFormats &formats) {
    hold_clipboard();
    EmptyClipboard();
    offer_wide(CF_UNICODETEXT, formats.wide_text);
    if (formats.byte_text) {
        offer(CF_TEXT, formats.byte_text->c_str(), formats.byte_text->size() + 1);
    }
    offer_wide(file_name_format(), formats.file_name);
    if (formats.png) {
        offer(png_format(), formats.png->data(), formats.png->size());
    }
}

ClipboardFormats clipboard_formats() {
    hold_clipboard();
    ClipboardFormats formats = {wide_block_of(CF_UNICODETEXT), byte_text(), wide_block_of(file_name_format()),
                                block_of(png_format())};
    CloseClipboard();
    return formats;
}

bool close_open_clipboard() {
    return CloseClipboard();
}
