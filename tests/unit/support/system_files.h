// What needs system calls: setting a file's time, holding a file open, making it unreadable.
#pragma once

#include <stdint.h>

#include <filesystem>

uint64_t process_id();

// Removes a folder and all that is in it, however long the paths. Nothing happens when it is not there.
void remove_tree(const std::filesystem::path &root);

// Sets the time of a file's last write, in milliseconds since the start of 1970.
void set_last_write(const std::filesystem::path &path, int64_t ms_since_1970);

// Holds a file open for writing as an editor or a log does: others may read and write it meanwhile.
class HeldForWriting {
public:
    explicit HeldForWriting(const std::filesystem::path &path);
    ~HeldForWriting();
    HeldForWriting(const HeldForWriting &) = delete;
    HeldForWriting &operator=(const HeldForWriting &) = delete;

private:
    void *handle;
};

// While it lives, the program cannot read the file.
class Unreadable {
public:
    explicit Unreadable(const std::filesystem::path &path);
    ~Unreadable();
    Unreadable(const Unreadable &) = delete;
    Unreadable &operator=(const Unreadable &) = delete;

private:
    std::filesystem::path path;
    void *handle;
};
