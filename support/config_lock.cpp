// The one-session lock of the configuration: a record lock on a lock file
// that only root can open, so no other user can keep root out, and that can
// name the process holding it.
#include "support/support.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

// A message box shows at most this many characters of a note.
constexpr size_t NOTE_WIDTH = 76;
// A session stopped for longer than this is called stopped in the note:
// shorter stops are someone switching jobs for a moment.
constexpr long STOPPED_AFTER = 60;
constexpr char STOP_MARK[] = "stopped ";

// The descriptor of the lock this process holds, for the stop handler.
volatile sig_atomic_t held_fd = -1;

long boot_seconds() {
    struct timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<long>(now.tv_sec);
}

// The note when no lock can be had for a reason other than another session.
int lock_failed(char *note, const char *reason) {
    snprintf(note, AV_MSG_MAX, "No lock (%s): other sessions are not kept out.", reason);
    return CONFIG_LOCK_FAILED;
}

// The name of the terminal device number tty of process pid: that of one of
// its standard descriptors when one is that terminal, else the usual name
// for the device's numbers. Empty when unknown.
void terminal_name(pid_t pid, dev_t tty, char *name, size_t size) {
    name[0] = '\0';
    for (int fd = 0; fd <= 2; fd++) {
        char link[64];
        snprintf(link, sizeof link, "/proc/%d/fd/%d", static_cast<int>(pid), fd);
        struct stat status;
        if (stat(link, &status) != 0 || !S_ISCHR(status.st_mode) || status.st_rdev != tty)
            continue;
        ssize_t length = readlink(link, name, size - 1);
        // A terminal opened outside this process's root (a chroot, a
        // container) reads as a path that means nothing here: only a name
        // that leads to the device is shown.
        struct stat named;
        if (length > 0 && name[0] == '/') {
            name[length] = '\0';
            if (stat(name, &named) == 0 && S_ISCHR(named.st_mode) && named.st_rdev == tty)
                return;
        }
        name[0] = '\0';
    }
    unsigned major_number = major(tty), minor_number = minor(tty);
    if (major_number >= 136 && major_number <= 143)
        snprintf(name, size, "/dev/pts/%u", (major_number - 136) * 256 + minor_number);
    else if (major_number == 4 && minor_number < 64)
        snprintf(name, size, "/dev/tty%u", minor_number);
    else if (major_number == 4)
        snprintf(name, size, "/dev/ttyS%u", minor_number - 64);
}

// The state letter and terminal of process pid from /proc; 0 when it cannot
// be read (the process is gone, or there is no /proc).
int process_state(pid_t pid, char *state, dev_t *tty) {
    char path[64];
    snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(pid));
    FILE *file = fopen(path, "re");
    if (file == nullptr)
        return 0;
    char text[1024];
    size_t length = fread(text, 1, sizeof text - 1, file);
    fclose(file);
    text[length] = '\0';
    // The command name in parentheses may hold anything, ")" included.
    const char *end = strrchr(text, ')');
    int tty_number = 0;
    if (end == nullptr || sscanf(end + 1, " %c %*d %*d %*d %d", state, &tty_number) != 2)
        return 0;
    *tty = static_cast<dev_t>(static_cast<unsigned>(tty_number));
    return 1;
}

// 1 when the holder wrote that it stopped more than STOPPED_AFTER seconds ago.
int stopped_long(int fd) {
    char record[64] = {};
    ssize_t length = pread(fd, record, sizeof record - 1, 0);
    if (length <= 0 || strncmp(record, STOP_MARK, sizeof STOP_MARK - 1) != 0)
        return 0;
    long since = strtol(record + sizeof STOP_MARK - 1, nullptr, 10);
    return since > 0 && boot_seconds() - since > STOPPED_AFTER;
}

// The note naming the holder of the lock on fd; the plain note when the
// holder cannot be found. Whole when it fits a message box, else without its
// last words.
void holder_note(int fd, char *note) {
    snprintf(note, AV_MSG_MAX, "Another session is editing the configuration; try again later.");
    struct flock probe = {};
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    if (fcntl(fd, F_GETLK, &probe) != 0 || probe.l_type == F_UNLCK || probe.l_pid <= 0)
        return;
    pid_t pid = probe.l_pid;
    char who[160];
    int at = snprintf(who, sizeof who, "process %d", static_cast<int>(pid));
    char state = '?';
    dev_t tty = 0;
    if (process_state(pid, &state, &tty)) {
        char name[96];
        terminal_name(pid, tty, name, sizeof name);
        if (tty != 0 && name[0] != '\0')
            at += snprintf(who + at, sizeof who - static_cast<size_t>(at), " on %s", name);
        if (state == 'T' && stopped_long(fd))
            snprintf(who + at, sizeof who - static_cast<size_t>(at), ", stopped");
    }
    const char *endings[] = {" is editing the configuration; try again later.",
                             " is editing the configuration.", " is editing."};
    for (const char *ending : endings) {
        snprintf(note, AV_MSG_MAX, "Another session (%s)%s", who, ending);
        if (strlen(note) <= NOTE_WIDTH)
            return;
    }
}

// Writes the decimal digits of value at out; returns their count.
// Async-signal-safe.
int put_number(char *out, long value) {
    char digits[24];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0 && count < static_cast<int>(sizeof digits));
    for (int i = 0; i < count; i++)
        out[i] = digits[count - 1 - i];
    return count;
}

} // namespace

int config_lock(const char *dir, char *note) {
    char path[4096];
    if (snprintf(path, sizeof path, "%s/%s", dir, CONFIG_LOCK_NAME) >=
        static_cast<int>(sizeof path))
        return lock_failed(note, strerror(ENAMETOOLONG));
    // Never through a link, never blocking on something that is not a file,
    // never inherited by the print command or the status program.
    int fd = open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (errno == ENOENT)
            return -1; // no directory: nothing to protect, and a save will say so
        return lock_failed(note, errno == ELOOP ? "the lock file is a link" : strerror(errno));
    }
    // Only a file of root's own, which nobody else can open, is a lock that
    // nobody else can hold; a second name for it could be any file of root's.
    struct stat status;
    const char *bad = nullptr;
    if (fstat(fd, &status) != 0)
        bad = strerror(errno);
    else if (!S_ISREG(status.st_mode))
        bad = "the lock file is not a file";
    else if (status.st_uid != geteuid())
        bad = "the lock file belongs to another user";
    else if (status.st_nlink != 1)
        bad = "the lock file has other names";
    else if ((status.st_mode & 07777) != 0600 && fchmod(fd, 0600) != 0)
        bad = strerror(errno);
    if (bad != nullptr) {
        close(fd);
        return lock_failed(note, bad);
    }
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(fd, F_SETLK, &whole) != 0) {
        int error = errno;
        if (error == EACCES || error == EAGAIN) {
            holder_note(fd, note);
            close(fd);
            return CONFIG_LOCK_BUSY;
        }
        close(fd);
        return lock_failed(note, strerror(error));
    }
    // A stop record left by a holder that died stopped is not ours.
    ignore_failure(ftruncate(fd, 0));
    held_fd = fd;
    return fd;
}

void config_unlock(int lock) {
    if (lock < 0)
        return;
    if (held_fd == lock)
        held_fd = -1;
    // Closing the descriptor releases the record lock.
    close(lock);
}

void config_lock_stopped() {
    int fd = held_fd;
    if (fd < 0)
        return;
    int saved = errno;
    char record[48];
    memcpy(record, STOP_MARK, sizeof STOP_MARK - 1);
    int length = sizeof STOP_MARK - 1;
    length += put_number(record + length, boot_seconds());
    record[length++] = '\n';
    ignore_failure(ftruncate(fd, 0));
    ignore_failure(static_cast<int>(pwrite(fd, record, static_cast<size_t>(length), 0)));
    errno = saved;
}

void config_lock_running() {
    int fd = held_fd;
    if (fd < 0)
        return;
    int saved = errno;
    ignore_failure(ftruncate(fd, 0));
    errno = saved;
}
