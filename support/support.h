// Support library: memory and string helpers, list containers, line files,
// file ownership helpers. Plain records and free functions; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/stat.h>
#include <sys/types.h>

// A function that a container calls with the data it lets go of.
using ReleaseFn = void (*)(void *data);

// Marks a call whose failure changes nothing for the caller (a refused chown
// of a file that is saved all the same, say).
inline void ignore_failure(int) {}

// Size of every message buffer handed to the operations that can fail.
constexpr int AV_MSG_MAX = 512;
// How much of a message a message box shows.
constexpr int AV_MSG_SHOWN = 76;

// ---- memory and strings -------------------------------------------------

void *mem_alloc(size_t size);
void mem_free(void *p);
char *str_dup(const char *text);
void str_free(void *text);
int str_casecmp(const char *a, const char *b);
int str_ncasecmp(const char *a, const char *b, int n);
int str_copy_max(char *dst, const char *src, int n);

// ---- Chain ----------------------------------------------------------------

struct ChainNode {
    void *value; // a data pointer or a small integer (window ids)
    ChainNode *previous;
    ChainNode *next;
    ReleaseFn release;
};

struct Chain {
    ChainNode *first;
    ChainNode *last;
};

Chain *chain_create();
void chain_destroy(Chain *chain);
ChainNode *chain_prepend(Chain *chain, void *value, ReleaseFn release);
ChainNode *chain_append(Chain *chain, void *value, ReleaseFn release);
ChainNode *chain_first(Chain *chain);
int chain_is_empty(const Chain *chain);
ChainNode *chain_link(Chain *chain, ChainNode *previous, ChainNode *node, ChainNode *next);
void chain_unlink(Chain *chain, ChainNode *node);
void chain_remove(Chain *chain, ChainNode *node);

// ---- SlotTable and BucketSet ------------------------------------------------

struct Slot {
    int in_use;
    int index;
    void *value;
    ReleaseFn release;
};

struct SlotTable {
    int32_t count;
    Slot *slots;
};

SlotTable *slot_table_create(int count);
Slot *slot_table_set(SlotTable *table, int index, void *value, ReleaseFn release);
void slot_table_destroy(SlotTable *table);

// Slot k holds the Chain of bucket k, released with chain_destroy.
struct BucketSet {
    SlotTable *table;
};

BucketSet *bucket_set_create(int n);
ChainNode *bucket_append(BucketSet *set, int k, void *value, ReleaseFn release);
void bucket_set_destroy(BucketSet *set);

// ---- List and SortedList --------------------------------------------------

struct ListElement {
    int32_t position;
    void *data;
    ReleaseFn release;
};

struct List; // defined in list.cpp; reach it only through the list_ functions

List *list_create(int buckets);
void list_destroy(List *list);
int list_count(const List *list);
ListElement *list_element(List *list, int position);
void *list_get(List *list, int position);
ListElement *list_append(List *list, void *data, ReleaseFn release);
ListElement *list_insert(List *list, int position, void *data, ReleaseFn release);
int list_delete(List *list, int position);
void list_clear(List *list);

// compare(key, element data, limit): negative, 0 or positive as key sorts
// before, equal to or after the data. limit -1 compares whole keys.
using CompareFn = int (*)(const void *key, const void *data, int limit);

struct SortedList {
    List *list;
    int unique;
    CompareFn compare;
};

SortedList *slist_create(int buckets, int unique, CompareFn compare);
void slist_destroy(SortedList *sorted);
// Returns the last comparison's result and stores the last probed position
// in *position (-1 and result 1 for an empty list).
int slist_find(SortedList *sorted, const void *key, int *position);
ListElement *slist_insert(SortedList *sorted, const void *key, void *data, ReleaseFn release);
int slist_count(const SortedList *sorted);

// ---- line files -----------------------------------------------------------
// msg points at AV_MSG_MAX bytes; it is written only on failure.

// A read error after the file was opened: the lines before it are in the
// list, and msg says "<reason> while reading <path>" (the reason first, so
// that a message box cut to its width still shows it). Distinct from -1
// (cannot open, or an entry could not be added).
constexpr int LINE_READ_ERROR = -2;

int read_line_file(const char *path, List *list, const char *prefix, char *msg);
// The same over an open stream; path names the file in the read-error message.
int read_line_stream(FILE *file, const char *path, List *list, const char *prefix, char *msg);
// Reads one piece of a line file (at most LINE_PIECE_MAX characters of the
// file, ending after a newline) into piece, which holds LINE_PIECE_MAX + 1
// bytes: the newline is dropped, and so is any NUL, which would otherwise
// hide the rest of the line. Returns the characters taken, 0 at end of file.
constexpr int LINE_PIECE_MAX = 149;
int read_line_piece(FILE *file, char *piece);
int write_line_file(const char *path, List *list, char *msg);
// Each entry and a newline; -1 when an entry is missing. A write error stops
// the writing and is left in the stream's error flag.
int write_line_stream(FILE *file, List *list, char *msg);
int list_add_string(const char *text, List *list, char *msg);
int list_find_string(const char *text, int mode, List *list);
int sort_string_list(List *list, char *msg);
void trim_leading(char *text);
void trim_trailing(char *text);
void trim_blanks(char *text);

// Opens path for reading only when it is a regular file, without blocking on
// the open (a FIFO without a writer, a device): anything else is treated as a
// file that cannot be opened. A symbolic link owned by another user is not
// followed. Every reader of configuration, documentation and terminal
// descriptions goes through here. nullptr with errno set (see str_error).
FILE *open_regular_file(const char *path);

// Reasons of our own, beyond the system's error numbers, that errno and the
// error fields below can carry.
constexpr int AV_ELINKOWNER = 4097; // a link on the way belongs to another user
constexpr int AV_ENOTREG = 4098;    // reached, but not a regular file
// The text of an error number: the system's, or ours for the two above.
const char *str_error(int error);
// Follows the symbolic links of path as the kernel's protected-links rule
// would for root: only links owned by this process's user. Stores the path
// of what the last link names (which may not exist) in out, of size bytes.
// 0, or an error number: AV_ELINKOWNER, ELOOP, ENAMETOOLONG, or what
// readlink gave.
int follow_own_links(const char *path, char *out, size_t size);

// ---- file ownership helpers -------------------------------------------------

FILE *open_with_owner(const char *path, const char *open_mode, const char *user, const char *group,
                      mode_t permissions);
int set_owner_by_name(const char *path, const char *user, const char *group);
// The owner and group set_owner_by_name would give the file at path (the
// status query included). 1 when a name was given, 0 when neither was and
// nothing is due (the IDs are then left alone).
int owner_by_name(const char *path, const char *user, const char *group, uid_t *uid, gid_t *gid);
int set_mode(const char *path, mode_t permissions);

// Status query; starts out at a resolver that picks, once per process, the
// program named by QXSTATPROG or the platform's stat. Fills st_uid and st_gid.
extern int (*file_status)(const char *path, struct stat *status);
// mkstemp template of the outside program's temporary file,
// "/usr/tmp/statXXXXXX" unless a test points it elsewhere.
extern const char *file_status_template;

// ---- system commands ----------------------------------------------------------

// Runs command through /bin/sh and waits for it. The given descriptors become
// its standard input, output and error (-1: /dev/null); it gets no other
// descriptor, and the PATH of the system's own directories
// (/usr/sbin:/usr/bin:/sbin:/bin) instead of the caller's. The wait status,
// or -1 when the command could not be run or waited for.
int run_system_command(const char *command, int in_fd, int out_fd, int err_fd);

// ---- safe replacement of a file ---------------------------------------------
// The new contents go to a temporary file created exclusively beside the
// file and are renamed over it only once all of it is written and synced, so
// a failure or a kill at any point leaves the old file whole. A symbolic link
// owned by root is followed and its target replaced in the target's own
// directory; a link owned by anyone else is refused. A file with more than
// one hard link, or one whose directory takes no new file while the file
// itself is writable, is rewritten in place instead, keeping a copy of the
// old contents that is put back if the rewrite fails.

struct ReplaceFile {
    FILE *stream; // write the new contents here
    int error;    // after a failure: its reason, for str_error
    int in_place; // 1: the contents are written into the file itself at commit
    int fd;       // in place: the file, open for reading and writing
    // The owner, group and mode the file must end with (change_owner 0: keep
    // whatever the file gets).
    int change_owner;
    uid_t uid;
    gid_t gid;
    mode_t mode;
    struct stat old; // in place: the file before, to put its owner and mode back
    char temp[4096];
    char path[4096]; // the file replaced: a link's target when path is a link
};

// Owner and group: with no names, an existing regular file's own, else the
// process defaults; with names, what set_owner_by_name gives. Mode: -1 keeps
// an existing regular file's and gives a new one new_mode, whatever the
// umask; else the given bits. An existing file's extended attributes (its
// ACL among them) are carried over. 0, or -1 with nothing created or
// changed, and file->error (and errno) set.
int replace_open(ReplaceFile *file, const char *path, const char *user, const char *group, int mode,
                 int new_mode);
// Flushes, syncs, closes and renames the file into place (in place: writes,
// truncates and syncs it). 0, or -1 with the old file untouched (or put back)
// and file->error set.
int replace_commit(ReplaceFile *file);
// Closes and removes the temporary file.
void replace_abandon(ReplaceFile *file);
// Async-signal-safe: removes the temporary file of a replacement still under
// way, for a handler that ends the process.
void replace_cleanup();
// Removes the temporary files (".<name>.avconfig-XXXXXX") that replacements
// cut short by SIGKILL or a crash left in dir. Only while holding the
// configuration lock, so that no save is under way there.
void replace_remove_stale(const char *dir);

// ---- the one-session lock of the configuration --------------------------------
// A record lock on the 0600 root-owned file CONFIG_LOCK_NAME in the
// configuration directory, created when missing and never followed through a
// link. It is released by config_unlock or when the process ends.

constexpr char CONFIG_LOCK_NAME[] = "avconfig.lock";
constexpr int CONFIG_LOCK_BUSY = -2;   // another session holds it
constexpr int CONFIG_LOCK_FAILED = -3; // no lock could be had otherwise

// The lock's descriptor; -1 when dir does not exist (nothing is locked and
// nothing said); CONFIG_LOCK_BUSY with a note naming the holder's process and
// terminal; CONFIG_LOCK_FAILED with a note saying why. note: AV_MSG_MAX bytes.
int config_lock(const char *dir, char *note);
void config_unlock(int lock);
// Async-signal-safe, for the stop and continue handlers: the held lock
// records "stopped <seconds of CLOCK_BOOTTIME>" while this session is
// stopped, so that others can say so when it stays stopped.
void config_lock_stopped();
void config_lock_running();
// Size of the status record that the outside program writes.
constexpr size_t FILE_STATUS_RECORD = 88;
// Takes the owner's user and group IDs from a record of size bytes into
// status: 0 when the record is whole, -1 (status untouched) when it is not.
int file_status_record(const unsigned char *record, size_t size, struct stat *status);
