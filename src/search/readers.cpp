#include "search/readers.h"

#include <algorithm>

#include <string.h>

#include "os/paths.h"
#include "search/matcher.h"
#include "search/search_file.h"
#include "search/search_state.h"
#include "search/skip_folders.h"
#include "search/walk.h"

ReaderCalls reader_calls = {os_files_of, os_file_open, os_file_read, os_condition_wait};

namespace {

constexpr uint64_t ring_size = 256;        // jobs
constexpr uint64_t files_per_job = 16;     // so readers are at most 4,096 files ahead
constexpr uint64_t folders_ahead = 64;     // readers list only this many from the front
constexpr uint64_t max_files_ahead = 4096; // once so many are listed, only the first folder is listed
constexpr uint64_t enough_jobs = 64;       // while so many wait, readers read files instead of listing
constexpr uint64_t jobs_per_wake = 16;     // a waiting worker is woken when so many are done
constexpr uint32_t worker_waits_ms = 10;   // how long it waits for a job before it checks for a request

constexpr uint32_t files_per_reader = 2; // open at once: a folder and one of its files
constexpr uint32_t other_files = 16;     // for the rest of the program

// File contents take at most 64 MiB, including a buffer for small files in each reader.
constexpr uint32_t small_file = 256 << 10; // bytes
constexpr uint64_t most_large_bytes = (64 << 20) - most_readers * small_file;

// Limits on hits in memory. A file that takes its job over the first is left to the worker; at the second, no
// further job starts.
constexpr uint64_t most_hit_bytes_per_job = 512 << 10;
constexpr uint64_t most_hit_bytes = 16 << 20;

enum FolderState : uint8_t { FOLDER_PENDING, FOLDER_LISTING, FOLDER_LISTED };

struct Folder {
    Folder *next; // in search order
    Str path;     // follows this record
    FolderState state;
    bool is_top;
    bool is_left;
    ReadFile *files;
    char *names; // of the files, each zero-terminated
    uint64_t file_count;
    uint64_t handed_out; // files put into the ring so far
};

struct HitRecord {
    uint32_t line;
    uint32_t column;
    uint32_t byte_offset;
    uint16_t text_count; // bytes; the text follows
    bool is_cut;
};

// A reader's own memory. Work that needs a missing buffer is left to the worker.
struct Reader {
    uint32_t index;
    StrBuf contents; // of a small file
    StrBuf hits;     // of the job
    StrBuf files;    // of the folder being listed: ReadFile records, not yet with the names' addresses
    StrBuf names;
};

// Guarded by the lock, unless a comment says otherwise.
struct Readers {
    Lock lock;
    Condition work;     // for readers: a job or folder is waiting
    Condition rest;     // for readers above the wanted number
    Condition progress; // for the worker: it can continue
    Condition room;     // for readers: memory for a large file
    uint32_t thread_count;
    uint32_t wanted;      // how many of the threads are to work; the others rest
    uint32_t asleep;      // readers waiting for work
    uint32_t busy;        // readers with a job or a folder
    uint32_t at_room;     // of those, readers waiting for memory for a large file
    uint64_t large_bytes; // reserved for large files, and for any that the worker reads itself
    // The current search.
    Str query;           // readers read it without the lock: it changes only while none is busy
    Folder *folders;     // in search order; begins with that of the worker's next job
    Folder *to_hand_out; // the first one that is not completely in the ring
    ReadJob ring[ring_size];
    uint64_t handed_out; // jobs put into the ring so far
    uint64_t started;    // jobs started by readers
    uint64_t taken;      // jobs the worker is done with
    uint64_t done;       // finished jobs not yet taken
    uint64_t files;      // listed and not yet taken
    uint64_t hit_bytes;
};

Readers readers;

ReadJob *ring_job(uint64_t number) {
    return &readers.ring[number % ring_size];
}

void wake_worker() {
    os_condition_wake_one(&readers.progress);
}

// ---- Folders ----

// The folder name in parent, or parent itself if name is empty; null when out of memory.
Folder *make_folder(Str parent, Str name) {
    uint64_t count = parent.count + (name.count > 0 ? 1 + name.count : 0);
    Folder *folder = static_cast<Folder *>(os_alloc(sizeof(Folder) + count + 1));
    if (!folder) {
        return nullptr;
    }
    char *path = reinterpret_cast<char *>(folder + 1);
    memcpy(path, parent.data, parent.count);
    if (name.count > 0) {
        path[parent.count] = '/';
        memcpy(path + parent.count + 1, name.data, name.count);
    }
    path[count] = 0;
    *folder = {};
    folder->path = {count, path};
    return folder;
}

void free_folder(Folder *folder) {
    os_free(folder->files);
    os_free(folder->names);
    os_free(folder);
}

void free_folders(Folder *folder) {
    while (folder) {
        Folder *next = folder->next;
        free_folder(folder);
        folder = next;
    }
}

// ---- A reader's memory (without the lock) ----

constexpr uint64_t hits_capacity = 65536; // bytes
constexpr uint64_t list_capacity = 16384;

void reserve_memory(Reader *reader) {
    const auto reserve = [](StrBuf *buf, uint64_t capacity) {
        if (!buf->data) {
            strbuf_init(buf, capacity);
        }
    };
    reserve(&reader->contents, small_file);
    reserve(&reader->hits, hits_capacity);
    reserve(&reader->files, list_capacity);
    reserve(&reader->names, list_capacity);
}

// Returns the buffer's bytes, which the caller now owns; reserve_memory replaces the buffer.
Str hand_over(StrBuf *buf) {
    Str bytes = strbuf_text(buf);
    void *shrunk = os_realloc(bytes.data, bytes.count);
    *buf = {};
    return {bytes.count, shrunk ? static_cast<char *>(shrunk) : bytes.data};
}

bool append(StrBuf *buf, uint64_t count, const void *bytes) {
    if (!strbuf_make_room(buf, count, nullptr)) {
        return false;
    }
    strbuf_append(buf, count, static_cast<const char *>(bytes));
    return true;
}

// ---- Listing a folder (reader, without the lock) ----

struct Listing {
    Reader *reader;
    Folder *first; // the sub-folders
    Folder **end;  // where the next one's address goes
    bool is_complete;
};

bool note_entry(void *context, Str folder, const FolderEntry &entry) {
    Listing *listing = static_cast<Listing *>(context);
    if (search_state.request_pending) {
        return false;
    }
    if (entry.is_folder && is_skipped_folder(entry.name)) {
        return true;
    }
    if (entry.is_folder) {
        Folder *subfolder = make_folder(folder, entry.name);
        if (subfolder) {
            *listing->end = subfolder;
            listing->end = &subfolder->next;
        }
        listing->is_complete = subfolder != nullptr;
        return listing->is_complete;
    }
    Reader *reader = listing->reader;
    ReadFile file = {};
    file.name.count = entry.name.count;
    file.size = entry.size;
    file.has_size = entry.has_size;
    if (file.has_size && is_above_size_limit(file.size)) {
        file.outcome = FILE_TOO_LARGE;
    } else if (entry.is_special) {
        file.outcome = FILE_LEFT;
    }
    listing->is_complete = append(&reader->files, sizeof(file), &file) &&
                           append(&reader->names, entry.name.count + 1, entry.name.data);
    return listing->is_complete;
}

// Hands a listing's files and names over to the folder.
void keep_files(Reader *reader, Folder *folder) {
    if (reader->files.count == 0) {
        return;
    }
    Str files = hand_over(&reader->files);
    folder->files = reinterpret_cast<ReadFile *>(files.data);
    folder->file_count = files.count / sizeof(ReadFile);
    folder->names = hand_over(&reader->names).data;
    char *name = folder->names;
    for (uint64_t i = 0; i < folder->file_count; i++) {
        folder->files[i].name.data = name;
        name += folder->files[i].name.count + 1;
    }
}

void list_folder(Folder *folder, Listing *listing) {
    Reader *reader = listing->reader;
    reserve_memory(reader);
    reader->files.count = 0;
    reader->names.count = 0;
    if (folder->path.count > longest_folder_path && !folder->is_top) {
        return; // the worker skips it too
    }
    if (walk_folder(folder->path, {note_entry, listing, LIST_ONCE}) && listing->is_complete) {
        keep_files(reader, folder);
        return;
    }
    free_folders(listing->first);
    listing->first = nullptr;
    listing->end = &listing->first;
    folder->is_left = true;
}

// ---- Reading files (reader, without the lock) ----

// Appends the file's hits to the job's; returns false when there are too many or memory runs out.
bool scan_file(Reader *reader, Str contents, ReadFile *file) {
    LineScan scan = line_scan(contents, readers.query);
    LineHit hit;
    while (line_scan_next(&scan, &hit)) {
        HitRecord record = {hit.line, hit.column, hit.byte_offset, static_cast<uint16_t>(hit.text.count),
                            hit.is_cut};
        if (reader->hits.count > most_hit_bytes_per_job || !append(&reader->hits, sizeof(record), &record) ||
            !append(&reader->hits, hit.text.count, hit.text.data)) {
            return false;
        }
        file->hit_count++;
    }
    return true;
}

// Reserves memory for a large file, waiting until enough is free; returns false when a request has cancelled
// the search.
bool take_room(uint64_t size) {
    os_lock_enter(&readers.lock);
    readers.at_room++;
    while (!search_state.request_pending && readers.large_bytes + size > most_large_bytes) {
        wake_worker(); // it may wait for this reader to hold no contents
        os_condition_wait(&readers.room, &readers.lock, UINT32_MAX);
    }
    readers.at_room--;
    bool is_taken = !search_state.request_pending;
    readers.large_bytes += is_taken ? size : 0;
    os_lock_leave(&readers.lock);
    return is_taken;
}

void give_room_back(uint64_t size) {
    os_lock_enter(&readers.lock);
    readers.large_bytes -= size;
    os_condition_wake_all(&readers.room);
    wake_worker();
    os_lock_leave(&readers.lock);
}

bool read_and_scan(Reader *reader, const OpenedFile &open_file, ReadFile *file) {
    uint32_t count = static_cast<uint32_t>(open_file.size); // truncated as in os_file_read_all
    if (count <= small_file) {
        char *bytes = reader->contents.data;
        return bytes && (open_file.is_read || reader_calls.file_read(open_file, count, bytes)) &&
               scan_file(reader, {count, bytes}, file);
    }
    if (count > most_large_bytes) {
        return false; // the worker reads such files, one at a time
    }
    if (!take_room(count)) {
        return false;
    }
    char *bytes = static_cast<char *>(os_alloc(count));
    bool is_read =
        bytes && reader_calls.file_read(open_file, count, bytes) && scan_file(reader, {count, bytes}, file);
    os_free(bytes);
    give_room_back(count);
    return is_read;
}

FileOutcome read_file(Reader *reader, const FilesOfFolder &folder, ReadFile *file) {
    OpenedFile open_file = reader_calls.file_open(folder, file->name, reader->contents.data ? small_file : 0,
                                                  reader->contents.data);
    if (!file->has_size) {
        file->size = open_file.size;
    }
    FileOutcome outcome = FILE_LEFT;
    if (!file->has_size && is_above_size_limit(file->size)) {
        outcome = FILE_TOO_LARGE;
    } else if (open_file.handle != -1) {
        uint64_t hits_before = reader->hits.count;
        if (read_and_scan(reader, open_file, file)) {
            outcome = FILE_READ;
        } else {
            reader->hits.count = hits_before;
            file->hit_count = 0;
        }
    }
    os_file_close(&open_file);
    return outcome;
}

void read_job(Reader *reader, ReadJob *job) {
    reserve_memory(reader);
    reader->hits.count = 0;
    FilesOfFolder folder = reader_calls.files_of(job->folder);
    for (uint32_t i = 0; i < job->file_count && !search_state.request_pending; i++) {
        if (job->files[i].outcome == FILE_LISTED) {
            job->files[i].outcome = read_file(reader, folder, &job->files[i]);
        }
    }
    os_files_close(&folder);
    if (reader->hits.count > 0) {
        job->hits = hand_over(&reader->hits);
    }
}

// ---- Handing out (with the lock) ----

// How many files the folder's next job may have. While fewer jobs than readers are waiting, each reader gets
// a part of a small folder.
uint64_t next_job_size(const Folder &folder) {
    uint64_t part = (folder.file_count + readers.wanted - 1) / readers.wanted;
    bool readers_wait = readers.handed_out - readers.started < readers.wanted;
    return readers_wait ? std::clamp(part, uint64_t{1}, files_per_job) : files_per_job;
}

// Puts the files of listed folders into the ring until it is full.
void hand_out() {
    for (Folder *folder; (folder = readers.to_hand_out) && folder->state == FOLDER_LISTED;) {
        do {
            if (readers.handed_out - readers.taken == ring_size) {
                return;
            }
            uint64_t first = folder->handed_out;
            uint64_t count = std::min(folder->file_count - first, next_job_size(*folder));
            folder->handed_out += count;
            *ring_job(readers.handed_out++) = {
                .folder = folder->path,
                .begins_folder = first == 0,
                .ends_folder = folder->handed_out == folder->file_count,
                .is_top = folder->is_top,
                .is_left = folder->is_left,
                .is_done = count == 0,
                .file_count = static_cast<uint32_t>(count),
                .files = folder->files + first,
                .hits = {},
            };
            readers.done += count == 0;
        } while (folder->handed_out < folder->file_count);
        readers.to_hand_out = folder->next;
    }
}

// Whether readers must not begin anything: a request has cancelled the search, or the worker wants more
// memory than is free.
bool is_held_up() {
    return search_state.request_pending || readers.large_bytes > most_large_bytes;
}

// The next job to read, or null.
ReadJob *next_job() {
    while (readers.started < readers.handed_out && ring_job(readers.started)->is_done) {
        readers.started++; // no files
    }
    bool has_job =
        readers.started < readers.handed_out && readers.hit_bytes < most_hit_bytes && !is_held_up();
    return has_job ? ring_job(readers.started) : nullptr;
}

// The next folder to list, or null.
Folder *next_folder() {
    Folder *folder = is_held_up() ? nullptr : readers.to_hand_out;
    for (uint64_t i = 0; folder && i < folders_ahead; i++, folder = folder->next) {
        bool may_list = folder == readers.to_hand_out || readers.files < max_files_ahead;
        if (folder->state == FOLDER_PENDING && may_list) {
            return folder;
        }
    }
    return nullptr;
}

// Whether the worker's next job is done or, with no job left in the ring, the search is over.
bool worker_can_go_on() {
    return readers.taken < readers.handed_out ? ring_job(readers.taken)->is_done : !readers.folders;
}

// Each reader that takes work wakes the next, so no more are woken than there is work for.
void wake_a_reader() {
    if (readers.asleep > 0 && (next_job() || next_folder())) {
        os_condition_wake_one(&readers.work);
    }
}

// ---- A reader's turns (with the lock) ----

void do_folder(Reader *reader, Folder *folder) {
    folder->state = FOLDER_LISTING;
    wake_a_reader();
    os_lock_leave(&readers.lock);
    Listing listing = {reader, nullptr, &listing.first, true};
    list_folder(folder, &listing);
    os_lock_enter(&readers.lock);
    folder->state = FOLDER_LISTED;
    readers.files += folder->file_count;
    *listing.end = folder->next;
    folder->next = listing.first;
    hand_out();
}

void do_job(Reader *reader, ReadJob *job) {
    readers.started++;
    wake_a_reader();
    os_lock_leave(&readers.lock);
    read_job(reader, job);
    os_lock_enter(&readers.lock);
    job->is_done = true;
    readers.done++;
    readers.hit_bytes += job->hits.count;
    if (readers.done >= jobs_per_wake && worker_can_go_on()) {
        wake_worker();
    }
}

void do_turn(Reader *reader) {
    if (reader->index >= readers.wanted) {
        os_condition_wait(&readers.rest, &readers.lock, UINT32_MAX);
        return;
    }
    ReadJob *job = next_job();
    Folder *folder = job && readers.handed_out - readers.started >= enough_jobs ? nullptr : next_folder();
    if (!folder && !job) {
        // The second condition is what readers_end and readers_take_room wait for.
        if (worker_can_go_on() || readers.busy == readers.at_room) {
            wake_worker();
        }
        readers.asleep++;
        reader_calls.wait_for_work(&readers.work, &readers.lock, UINT32_MAX);
        readers.asleep--;
        return;
    }
    readers.busy++;
    if (folder) {
        do_folder(reader, folder);
    } else {
        do_job(reader, job);
    }
    readers.busy--;
}

uint32_t run_reader(void *record) {
    os_thread_hide_error_boxes();
    os_thread_lower_priority();
    Reader reader = {};
    reader.index =
        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(static_cast<Thread *>(record)->user_data));
    os_lock_enter(&readers.lock);
    for (;;) {
        do_turn(&reader);
    }
}

} // namespace

// ---- For the interface and the worker ----

uint32_t readers_start(uint32_t count) {
    uint32_t wanted = std::min(count, most_readers);
    if (wanted > 0) {
        uint32_t can_open = os_files_can_open(other_files + files_per_reader * wanted);
        wanted = can_open > other_files ? (can_open - other_files) / files_per_reader : 0;
    }
    if (wanted == 0 && readers.thread_count == 0) {
        return 0; // nothing to set up
    }
    if (readers.thread_count == 0) {
        readers.lock = os_lock_init();
        readers.work = os_condition_init();
        readers.rest = os_condition_init();
        readers.progress = os_condition_init();
        readers.room = os_condition_init();
    }
    while (readers.thread_count < wanted &&
           os_thread_start_small(run_reader, reinterpret_cast<void *>(uintptr_t{readers.thread_count}))) {
        readers.thread_count++;
    }
    os_lock_enter(&readers.lock);
    readers.wanted = std::min(wanted, readers.thread_count);
    os_condition_wake_all(&readers.work);
    os_condition_wake_all(&readers.rest);
    os_lock_leave(&readers.lock);
    return readers.wanted;
}

bool readers_begin(Str folder, Str query) {
    Folder *top = readers.wanted > 0 ? make_folder(folder, {}) : nullptr;
    if (!top) {
        return false;
    }
    top->is_top = true;
    os_lock_enter(&readers.lock);
    readers.query = query;
    readers.folders = top;
    readers.to_hand_out = top;
    wake_a_reader();
    os_lock_leave(&readers.lock);
    return true;
}

bool readers_next(const ReadJob **job) {
    os_lock_enter(&readers.lock);
    if (const ReadJob *last = *job) {
        readers.taken++;
        readers.started = std::max(readers.started, readers.taken); // it may have had no files
        readers.done--;
        readers.files -= last->file_count;
        readers.hit_bytes -= last->hits.count;
        os_free(last->hits.data);
        if (last->ends_folder) {
            Folder *folder = readers.folders;
            readers.folders = folder->next;
            free_folder(folder);
        }
    }
    if (readers.handed_out - readers.taken <= ring_size / 2) { // seldom, and then many jobs at once
        hand_out();
    }
    wake_a_reader();
    if (!worker_can_go_on()) {
        os_condition_wait(&readers.progress, &readers.lock, worker_waits_ms);
    }
    bool is_over = !readers.folders;
    *job = !is_over && worker_can_go_on() ? ring_job(readers.taken) : nullptr;
    os_lock_leave(&readers.lock);
    return !is_over;
}

void readers_end() {
    os_lock_enter(&readers.lock);
    while (readers.busy > 0) {
        os_condition_wait(&readers.progress, &readers.lock, UINT32_MAX);
    }
    for (; readers.taken < readers.handed_out; readers.taken++) {
        os_free(ring_job(readers.taken)->hits.data);
    }
    readers.started = readers.handed_out;
    free_folders(readers.folders);
    readers.folders = nullptr;
    readers.to_hand_out = nullptr;
    readers.done = 0;
    readers.files = 0;
    readers.hit_bytes = 0;
    os_lock_leave(&readers.lock);
}

void readers_take_room(uint64_t size) {
    os_lock_enter(&readers.lock);
    readers.large_bytes += size; // at once, so that readers start nothing else meanwhile
    while (readers.large_bytes > most_large_bytes &&
           (readers.large_bytes > size || readers.busy > readers.at_room)) {
        os_condition_wait(&readers.progress, &readers.lock, UINT32_MAX);
    }
    os_lock_leave(&readers.lock);
}

void readers_give_room_back(uint64_t size) {
    give_room_back(size);
    os_lock_enter(&readers.lock);
    wake_a_reader();
    os_lock_leave(&readers.lock);
}

LineHit read_hit(const ReadJob *job, uint64_t *position) {
    HitRecord record;
    memcpy(&record, job->hits.data + *position, sizeof(record));
    char *text = job->hits.data + *position + sizeof(record);
    *position += sizeof(record) + record.text_count;
    return {record.line, record.column, record.byte_offset, {record.text_count, text}, record.is_cut};
}
