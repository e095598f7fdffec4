// Which disk accesses the interface thread makes in use. The worker does not run here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "os/files.h"
#include "support/picture.h"

namespace {

std::vector<std::string> asked; // the paths in those calls

} // namespace

// The names are os_path_exists(Str) and so on, as the compilers for both systems mangle them.
extern "C" {
bool __real__Z14os_path_exists3Str(Str path);
bool __wrap__Z14os_path_exists3Str(Str path) {
    asked.push_back(to_string(path));
    return __real__Z14os_path_exists3Str(path);
}
bool __real__Z17os_path_is_folder3Str(Str path);
bool __wrap__Z17os_path_is_folder3Str(Str path) {
    asked.push_back(to_string(path));
    return __real__Z17os_path_is_folder3Str(path);
}
Str __real__Z16os_file_read_all3Str(Str path);
Str __wrap__Z16os_file_read_all3Str(Str path) {
    asked.push_back(to_string(path));
    return __real__Z16os_file_read_all3Str(path);
}
void *__real__Z15os_folder_first3Str16FolderListingUseP11FolderEntry(Str folder, FolderListingUse use,
                                                                     FolderEntry *entry);
void *__wrap__Z15os_folder_first3Str16FolderListingUseP11FolderEntry(Str folder, FolderListingUse use,
                                                                     FolderEntry *entry) {
    asked.push_back(to_string(folder));
    return __real__Z15os_folder_first3Str16FolderListingUseP11FolderEntry(folder, use, entry);
}
}

// A folder on a dead network mount never responds, and must not block the interface.
TEST(DiskUse, TheInterfaceAsksForNothingOutsideTheProgramsFolder) {
    FrameScope scope;
    scope.focus(&path_field, {{0, 0}});
    asked.clear();
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
    EXPECT_FALSE(asked.empty()); // the saved list's files
    for (const std::string &path : asked) {
        EXPECT_TRUE(path.starts_with(scope.folder)) << path;
    }
}
