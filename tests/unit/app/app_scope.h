// The program's state before start-up, for one test, cleaned up afterwards.
#pragma once

#include "app/scratch.h"
#include "app/settings.h"
#include "os/files.h"
#include "os/memory.h"
#include "render/font.h"
#include "render/text.h"
#include "ui/saved_lists_scope.h"

// Empty fields and lists, a scratch arena, the settings' defaults, no font, no folder.
class AppScope : SavedListsScope {
public:
    AppScope() : first_settings(settings) {
        scratch_create();
    }
    ~AppScope() {
        os_free(scratch->data);
        os_free(scratch);
        scratch = nullptr;
        forget_font();
        os_file_free(&settings.file);
        settings = first_settings;
    }
    AppScope(const AppScope &) = delete;
    AppScope &operator=(const AppScope &) = delete;

    // Unloads the fonts.
    static void forget_font() {
        os_free(font.sizes.data);
        os_file_free(&font.file);
        font = {};
        text_is_utf8 = false;
        os_free(fallback_font.sizes.data);
        os_file_free(&fallback_font.file);
        fallback_font = {};
    }

    // The settings as before any file.
    void reset_settings() const {
        settings = first_settings;
    }

private:
    Settings first_settings;
};
