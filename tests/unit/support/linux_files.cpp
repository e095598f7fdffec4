#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/system_files.h"

uint64_t process_id() {
    return static_cast<uint64_t>(getpid());
}

void remove_tree(const std::filesystem::path &root) {
    std::filesystem::remove_all(root);
}

void set_last_write(const std::filesystem::path &path, int64_t ms_since_1970) {
    timespec time = {ms_since_1970 / 1000, ms_since_1970 % 1000 * 1000000};
    timespec times[2] = {time, time};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

HeldForWriting::HeldForWriting(const std::filesystem::path &path)
    : handle(reinterpret_cast<void *>(static_cast<intptr_t>(open(path.c_str(), O_WRONLY | O_CLOEXEC)))) {
    EXPECT_GE(reinterpret_cast<intptr_t>(handle), 0);
}

HeldForWriting::~HeldForWriting() {
    close(static_cast<int>(reinterpret_cast<intptr_t>(handle)));
}

// The superuser can read everything, so the process becomes another user meanwhile.
Unreadable::Unreadable(const std::filesystem::path &taken) : path(taken), handle(nullptr) {
    constexpr uid_t nobody = 65534;
    EXPECT_EQ(chmod(path.c_str(), 0), 0);
    if (geteuid() == 0) {
        EXPECT_EQ(seteuid(nobody), 0);
    }
}

Unreadable::~Unreadable() {
    if (getuid() == 0) {
        EXPECT_EQ(seteuid(0), 0);
    }
    EXPECT_EQ(chmod(path.c_str(), 0700), 0);
}
