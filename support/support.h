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

// ---- memory.cpp: memory and strings ------------------------------------------------
void *mem_alloc(size_t size);    // malloc; nullptr when memory runs out
void mem_free(void *p);          // free; nullptr is fine
char *str_dup(const char *text); // a copy from mem_alloc; nullptr for nullptr or no memory
void str_free(void *text);       // mem_free, as a ReleaseFn for strings
// Compare without regard to case (bytes above 127 before ASCII): -1, 0 or 1.
int str_casecmp(const char *a, const char *b);
int str_ncasecmp(const char *a, const char *b, int n); // the first n at most (n <= 0: all)
// Copies at most n characters and a NUL (dst holds n + 1); the characters copied.
int str_copy_max(char *dst, const char *src, int n);

// ---- chain.cpp: Chain, SlotTable and BucketSet ------------------------------------------
// A doubly linked chain of values; each node may release its value when removed.
struct ChainNode {
    void *value;         // a data pointer or a small integer (window ids)
    ChainNode *previous; // nullptr at the first node
    ChainNode *next;     // nullptr at the last node
    ReleaseFn release;   // called with value on removal; nullptr: nothing to release
};

struct Chain {
    ChainNode *first; // nullptr when empty
    ChainNode *last;  // nullptr when empty
};

Chain *chain_create();            // an empty chain; nullptr when memory runs out
void chain_destroy(Chain *chain); // removes every node (releasing values), then the chain
// A new node for value at the chain's start or end; nullptr when memory runs out.
ChainNode *chain_prepend(Chain *chain, void *value, ReleaseFn release);
ChainNode *chain_append(Chain *chain, void *value, ReleaseFn release);
ChainNode *chain_first(Chain *chain);   // nullptr for an empty chain or nullptr
int chain_is_empty(const Chain *chain); // 1 or 0
// Links node between previous and next (nullptr: that end of the chain); node.
ChainNode *chain_link(Chain *chain, ChainNode *previous, ChainNode *node, ChainNode *next);
void chain_unlink(Chain *chain, ChainNode *node); // takes node out; it is not freed
void chain_remove(Chain *chain, ChainNode *node); // releases its value, unlinks and frees it

// A fixed number of slots, each filled at most once.
struct Slot {
    int in_use;        // 1 once slot_table_set filled it
    int index;         // its own index in the table
    void *value;       // what it holds
    ReleaseFn release; // called with value when the table is destroyed
};

struct SlotTable {
    int32_t count; // slots
    Slot *slots;   // count of them
};

SlotTable *slot_table_create(int count); // count empty slots; nullptr for count < 0 or no memory
// Fills slot index; nullptr when index is out of range or the slot is in use.
Slot *slot_table_set(SlotTable *table, int index, void *value, ReleaseFn release);
void slot_table_destroy(SlotTable *table); // releases the filled slots' values, then the table

// Slot k holds the Chain of bucket k, released with chain_destroy.
struct BucketSet {
    SlotTable *table; // n slots, each an empty or growing Chain
};

BucketSet *bucket_set_create(int n); // n empty buckets; nullptr for n < 1 or no memory
// Appends value to bucket k's chain; the node, or nullptr (k out of range, no memory).
ChainNode *bucket_append(BucketSet *set, int k, void *value, ReleaseFn release);
void bucket_set_destroy(BucketSet *set); // every chain with its values, then the set

// ---- list.cpp: List, an ordered sequence addressed by position -------------------------
struct ListElement {
    int32_t position;  // where it stood at its last lookup
    void *data;        // what it holds
    ReleaseFn release; // called with data when it is deleted; nullptr: nothing
};

struct List; // defined in list.cpp; reach it only through the list_ functions

// An empty list; list_destroy releases its data bucket by bucket (position mod
// buckets). nullptr for buckets < 1 or no memory.
List *list_create(int buckets);
void list_destroy(List *list);    // releases every element's data, then the list
int list_count(const List *list); // elements; 0 for nullptr
// The element at position (its position field refreshed); nullptr out of range.
ListElement *list_element(List *list, int position);
void *list_get(List *list, int position); // its data; nullptr out of range
// Adds data at the end, or at position (beyond the end: at the end); the
// element, or nullptr when memory runs out (the data stays the caller's).
ListElement *list_append(List *list, void *data, ReleaseFn release);
ListElement *list_insert(List *list, int position, void *data, ReleaseFn release);
int list_delete(List *list, int position); // releases and removes it; 0, -1 out of range
void list_clear(List *list);               // deletes every element, the last first

// ---- sorted_list.cpp: SortedList, a List kept in compare order ---------------------------
// compare(key, element data, limit): negative, 0 or positive as key sorts
// before, equal to or after the data. limit -1 compares whole keys.
using CompareFn = int (*)(const void *key, const void *data, int limit);

struct SortedList {
    List *list;        // the elements, in order
    int unique;        // 1: an insertion whose key is present already is refused
    CompareFn compare; // orders keys against element data
};

// An empty sorted list over list_create(buckets); nullptr when memory runs out.
SortedList *slist_create(int buckets, int unique, CompareFn compare);
void slist_destroy(SortedList *sorted); // the list with its data, then the record
// Returns the last comparison's result and stores the last probed position
// in *position (-1 and result 1 for an empty list).
int slist_find(SortedList *sorted, const void *key, int *position);
// Inserts data in key's place (before an equal key); the element, or nullptr
// when memory runs out or the list is unique and has the key.
ListElement *slist_insert(SortedList *sorted, const void *key, void *data, ReleaseFn release);
int slist_count(const SortedList *sorted); // elements

// ---- line_file.cpp: line files held as Lists of strings ----------------------------------
// msg points at AV_MSG_MAX bytes; it is written only on failure.

// A read error after the file was opened: the lines before it are in the
// list, and msg says "<reason> while reading <path>" (the reason first, so
// that a message box cut to its width still shows it). Distinct from -1
// (cannot open, or an entry could not be added).
constexpr int LINE_READ_ERROR = -2;

// Appends each line of the file at path, after prefix, to list (a longer line
// than LINE_PIECE_MAX in pieces): the longest line's length, -1 or LINE_READ_ERROR.
int read_line_file(const char *path, List *list, const char *prefix, char *msg);
// The same over an open stream; path names the file in the read-error message.
int read_line_stream(FILE *file, const char *path, List *list, const char *prefix, char *msg);
// Reads one piece of a line file (at most LINE_PIECE_MAX characters of the
// file, ending after a newline) into piece, which holds LINE_PIECE_MAX + 1
// bytes: the newline is dropped, and so is any NUL, which would otherwise
// hide the rest of the line. Returns the characters taken, 0 at end of file.
constexpr int LINE_PIECE_MAX = 149;
int read_line_piece(FILE *file, char *piece);
// Replaces the file at path by the entries, one a line, through ReplaceFile (an
// existing file keeps its owner and mode, a new one is 0644). 0, or -1.
int write_line_file(const char *path, List *list, char *msg);
// Each entry and a newline; -1 when an entry is missing. A write error stops
// the writing and is left in the stream's error flag.
int write_line_stream(FILE *file, List *list, char *msg);
int list_add_string(const char *text, List *list, char *msg); // appends a copy; 0, or -1
// How list_find_string matches text against an entry.
constexpr int LIST_PREFIX = 0; // text is the start of the entry
constexpr int LIST_EXACT = 1;  // text is the whole entry
// The position of the first entry that text matches, LIST_PREFIX or
// LIST_EXACT; -1 when there is none.
int list_find_string(const char *text, int mode, List *list);
// Sorts the entries without regard to case; 0, or -1 (an entry of 256
// characters or more refuses the sort).
int sort_string_list(List *list, char *msg);
void trim_leading(char *text);  // drops leading blanks and tabs
void trim_trailing(char *text); // drops trailing blanks, tabs and newlines
void trim_blanks(char *text);   // both

// ---- regular_file.cpp: opening only regular files ---------------------------------------
// Opens path for reading only when it is a regular file, without blocking on
// the open (a FIFO without a writer, a device): anything else is treated as a
// file that cannot be opened. A symbolic link owned by another user is not
// followed. Every reader of configuration, documentation and terminal
// descriptions goes through here. nullptr with errno set (see str_error).
FILE *open_regular_file(const char *path);

// ---- links.cpp: links owned by this user, and error texts --------------------------------
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

// ---- ownership.cpp: file ownership helpers and the status query --------------------------
// fopen, then set_owner_by_name and set_mode, whose failures are ignored: the
// stream, or nullptr when the open failed.
FILE *open_with_owner(const char *path, const char *open_mode, const char *user, const char *group,
                      mode_t permissions);
// chown to the owner_by_name IDs: 0 when done or nothing is due, 1 when refused.
int set_owner_by_name(const char *path, const char *user, const char *group);
// The owner and group set_owner_by_name would give the file at path (the
// status query included). 1 when a name was given, 0 when neither was and
// nothing is due (the IDs are then left alone).
int owner_by_name(const char *path, const char *user, const char *group, uid_t *uid, gid_t *gid);
int set_mode(const char *path, mode_t permissions); // chmod: 0, or 1 when refused

// Status query; starts out at a resolver that picks, once per process, the
// program named by QXSTATPROG or the platform's stat. Fills st_uid and st_gid.
extern int (*file_status)(const char *path, struct stat *status);
// mkstemp template of the outside program's temporary file,
// "/usr/tmp/statXXXXXX" unless a test points it elsewhere.
extern const char *file_status_template;
// Size of the status record that the outside program writes.
constexpr size_t FILE_STATUS_RECORD = 88;
// Takes the owner's user and group IDs from a record of size bytes into
// status: 0 when the record is whole, -1 (status untouched) when it is not.
int file_status_record(const unsigned char *record, size_t size, struct stat *status);

// ---- system_command.cpp: running a command ------------------------------------------------
// Runs command through /bin/sh and waits for it. The given descriptors become
// its standard input, output and error (-1: /dev/null); it gets no other
// descriptor, and the PATH of the system's own directories
// (/usr/sbin:/usr/bin:/sbin:/bin) instead of the caller's. The wait status,
// or -1 when the command could not be run or waited for.
int run_system_command(const char *command, int in_fd, int out_fd, int err_fd);

// ---- replace_file.cpp: safe replacement of a file -------------------------------------------
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
    uid_t uid;       // the owner to end with
    gid_t gid;       // the group to end with
    mode_t mode;     // the permission bits to end with
    struct stat old; // in place: the file before, to put its owner and mode back
    char temp[4096]; // the temporary file beside the file (not in place)
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

// ---- config_lock.cpp: the one-session lock of the configuration ------------------------------
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
void config_unlock(int lock); // closes the descriptor, releasing the lock; -1 is fine
// Async-signal-safe, for the stop and continue handlers: the held lock
// records "stopped <seconds of CLOCK_BOOTTIME>" while this session is
// stopped, so that others can say so when it stays stopped.
void config_lock_stopped();
void config_lock_running();
