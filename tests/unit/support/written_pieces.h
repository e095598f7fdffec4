// Captures standard output.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>
#endif

// While it lives, standard output is a pipe that keeps single writes apart.
class WrittenPieces {
public:
#ifdef _WIN32
    WrittenPieces() {
        constexpr DWORD size = 65536;
        std::string name = "\\\\.\\pipe\\tarnwick_console_test_" + std::to_string(GetCurrentProcessId());
        reader = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_INBOUND,
                                  PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, size, size, 0,
                                  nullptr);
        writer = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_NE(writer, INVALID_HANDLE_VALUE);
        SetStdHandle(STD_OUTPUT_HANDLE, writer);
    }
    ~WrittenPieces() {
        SetStdHandle(STD_OUTPUT_HANDLE, kept);
        CloseHandle(writer);
        CloseHandle(reader);
    }

    std::vector<std::string> take() {
        std::vector<std::string> pieces;
        DWORD waiting = 0;
        char bytes[65536];
        DWORD count = 0;
        while (PeekNamedPipe(reader, nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0 &&
               ReadFile(reader, bytes, sizeof(bytes), &count, nullptr)) {
            pieces.emplace_back(bytes, count);
        }
        return pieces;
    }

private:
    HANDLE kept = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE reader = INVALID_HANDLE_VALUE;
    HANDLE writer = INVALID_HANDLE_VALUE;
#else
    WrittenPieces() {
        EXPECT_EQ(pipe2(ends, O_DIRECT | O_CLOEXEC), 0);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        fflush(stdout);
        kept = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
    }
    ~WrittenPieces() {
        dup2(kept, STDOUT_FILENO);
        close(kept);
        close(ends[0]);
        close(ends[1]);
    }

    std::vector<std::string> take() {
        std::vector<std::string> pieces;
        char bytes[65536];
        ssize_t count = 0;
        while ((count = read(ends[0], bytes, sizeof(bytes))) > 0) {
            pieces.emplace_back(bytes, static_cast<size_t>(count));
        }
        return pieces;
    }

private:
    int kept = -1;
    int ends[2] = {-1, -1};
#endif

public:
    std::string take_all() {
        std::string all;
        for (const std::string &piece : take()) {
            all += piece;
        }
        return all;
    }
};
