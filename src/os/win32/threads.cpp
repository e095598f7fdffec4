#include "os/threads.h"

#include <windows.h>

#include "os/memory.h"

// ---- Threads ----

namespace {

// stack: bytes; 0: as the program's header says
Thread *start_thread(ThreadRoutine *routine, void *user_data, SIZE_T stack) {
    Thread *thread = static_cast<Thread *>(os_alloc_zero(sizeof(Thread)));
    if (!thread) {
        return nullptr;
    }
    thread->user_data = user_data;
    thread->handle = CreateThread(nullptr, stack, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine), thread,
                                  stack > 0 ? STACK_SIZE_PARAM_IS_A_RESERVATION : 0, nullptr);
    if (!thread->handle) {
        os_free(thread);
        return nullptr;
    }
    return thread;
}

} // namespace

Thread *os_thread_start(ThreadRoutine *routine, void *user_data) {
    return start_thread(routine, user_data, 0);
}

Thread *os_thread_start_small(ThreadRoutine *routine, void *user_data) {
    return start_thread(routine, user_data, 1 << 20);
}

void os_thread_hide_error_boxes() {
    SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, nullptr);
}

void os_thread_lower_priority() {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

// ---- Locks ----

static_assert(sizeof(CRITICAL_SECTION) == sizeof(Lock) && alignof(CRITICAL_SECTION) <= alignof(Lock));

namespace {

CRITICAL_SECTION *section_of(Lock *lock) {
    return reinterpret_cast<CRITICAL_SECTION *>(lock->words);
}

} // namespace

Lock os_lock_init() {
    Lock lock = {};
    InitializeCriticalSection(section_of(&lock));
    return lock;
}

void os_lock_free(Lock *lock) {
    DeleteCriticalSection(section_of(lock));
}

void os_lock_enter(Lock *lock) {
    EnterCriticalSection(section_of(lock));
}

void os_lock_leave(Lock *lock) {
    LeaveCriticalSection(section_of(lock));
}

// ---- Waiting ----

static_assert(sizeof(CONDITION_VARIABLE) <= sizeof(Condition));
static_assert(alignof(CONDITION_VARIABLE) <= alignof(Condition));

namespace {

CONDITION_VARIABLE *variable_of(Condition *condition) {
    return reinterpret_cast<CONDITION_VARIABLE *>(condition->words);
}

} // namespace

Condition os_condition_init() {
    Condition condition = {};
    InitializeConditionVariable(variable_of(&condition));
    return condition;
}

void os_condition_wait(Condition *condition, Lock *lock, uint32_t ms) {
    SleepConditionVariableCS(variable_of(condition), section_of(lock), ms);
}

void os_condition_wake_one(Condition *condition) {
    WakeConditionVariable(variable_of(condition));
}

void os_condition_wake_all(Condition *condition) {
    WakeAllConditionVariable(variable_of(condition));
}
