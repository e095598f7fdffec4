#include "os/toolkit/machine.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/sysinfo.h>
#endif

namespace {

TEST(Machine, TheExecutablesNameHasNoFolder) {
    std::string expected = std::filesystem::path(testing::internal::GetArgvs()[0]).filename().string();
    EXPECT_EQ(to_string(os_exe_name()), expected);
}

TEST(Machine, AFileNameFollowsTheLastSeparatorOfEitherKind) {
    EXPECT_EQ(to_string(file_name_of(str_over("C:\\tools\\tarnwick.exe"))), "tarnwick.exe");
    EXPECT_EQ(to_string(file_name_of(str_over("C:\\tools/a\\b/tarnwick.exe"))), "tarnwick.exe");
    EXPECT_EQ(to_string(file_name_of(str_over("/usr/bin\\tarnwick"))), "tarnwick");
    EXPECT_EQ(to_string(file_name_of(str_over("tarnwick"))), "tarnwick");
    EXPECT_EQ(to_string(file_name_of(str_over("folder/"))), "");
    EXPECT_EQ(to_string(file_name_of(str_over(""))), "");
}

TEST(Machine, ProcessorsAreCounted) {
    EXPECT_GE(os_processor_count(), 1u);
#ifdef _WIN32
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    EXPECT_EQ(os_processor_count(), info.dwNumberOfProcessors);
#else
    EXPECT_EQ(os_processor_count(), static_cast<uint32_t>(get_nprocs()));
#endif
}

TEST(Machine, InstalledMemoryIsInBytes) {
#ifdef _WIN32
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    ASSERT_TRUE(GlobalMemoryStatusEx(&status));
    uint64_t managed = status.ullTotalPhys;
#else
    struct sysinfo info;
    ASSERT_EQ(sysinfo(&info), 0);
    uint64_t managed = uint64_t{info.totalram} * info.mem_unit;
#endif
    // At least what the system manages is installed, and not many times as much.
    EXPECT_GE(os_installed_memory() + 1024, managed);
    EXPECT_LT(os_installed_memory(), managed * 4);
}

} // namespace
