// Which disk accesses the interface thread makes while it is used. The worker does not run here.
//
// Not for Windows: the linker redirects the C library's functions that take a path.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "os/files.h"
#include "support/picture.h"

static std::vector<std::string> *asked; // the paths in the calls below, while a test looks

static void note(const char *path) {
    if (asked) {
        asked->push_back(path);
    }
}

extern "C" {
int __real_open(const char *path, int flags, mode_t mode);
int __wrap_open(const char *path, int flags, mode_t mode) {
    note(path);
    return __real_open(path, flags, mode);
}
int __real_stat(const char *path, struct stat *info);
int __wrap_stat(const char *path, struct stat *info) {
    note(path);
    return __real_stat(path, info);
}
int __real_lstat(const char *path, struct stat *info);
int __wrap_lstat(const char *path, struct stat *info) {
    note(path);
    return __real_lstat(path, info);
}
int __real_unlink(const char *path);
int __wrap_unlink(const char *path) {
    note(path);
    return __real_unlink(path);
}
}

namespace {

class AskedScope {
public:
    AskedScope() {
        asked = &paths;
    }
    ~AskedScope() {
        asked = nullptr;
    }
    AskedScope(const AskedScope &) = delete;
    AskedScope &operator=(const AskedScope &) = delete;

    std::vector<std::string> paths;
};

} // namespace

TEST(DiskUse, EachCallOfThePlatformLayerIsSeen) {
    const std::vector<std::function<void()>> calls = {
        [] { os_path_exists(str_from("/mount/x")); },
        [] { os_path_is_folder(str_from("/mount/x")); },
        [] { os_file_read_all(str_from("/mount/x")); },
        [] { os_file_write(str_from("/mount/x"), 1, "x"); },
        [] { os_file_delete(str_from("/mount/x")); },
        [] { os_files_of(str_from("/mount/x")); },
        [] {
            FolderEntry entry;
            os_folder_first(str_from("/mount/x"), LIST_ONCE, &entry);
        },
    };
    for (size_t i = 0; i < calls.size(); i++) {
        AskedScope use;
        calls[i]();
        ASSERT_FALSE(use.paths.empty()) << i;
        EXPECT_EQ(use.paths[0], "/mount/x") << i;
    }
}

// A folder on a dead network mount never responds, and must not block the interface.
TEST(DiskUse, TheInterfaceAsksForNothingOutsideTheProgramsFolder) {
    FrameScope scope;
    scope.focus(&path_field, {{0, 0}});
    AskedScope use;
    WindowEvent event = {};
    for (char letter : std::string("/mount/fo")) {
        event.type = EVENT_CHAR;
        event.character.unit = static_cast<uint32_t>(letter);
        input_handle_event(&event);
    }
    scope.put_folders({"folder"}, {"other"}); // as the worker would
    scope.put_file("/mount/folder", "file");
    scope.put_hit(1, "text");
    for (uint16_t code : {KEY_ENTER, KEY_TAB, KEY_TAB, KEY_HOME, KEY_DELETE}) {
        event.type = EVENT_KEY;
        event.key = {code, KEY_PRESSED};
        input_handle_event(&event);
    }
    EXPECT_EQ(to_string(strbuf_text(&search_state.path)), "mount/folder"); // typed, completed, edited
    Canvas canvas(1000, 200, 0);
    frame_draw(&canvas.framebuffer, {300, 72});
    EXPECT_FALSE(use.paths.empty()); // the saved list's files
    for (const std::string &path : use.paths) {
        EXPECT_TRUE(path.starts_with(scope.folder)) << path;
    }
}
