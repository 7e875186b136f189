// Safe replacement of a configuration file.
#include "support/support.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cctype>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Marks the temporary files of replacements, so that those left behind can be
// told from anything else in the directory.
constexpr char TEMP_MARK[] = ".avconfig-";

// The temporary file of the replacement under way, for replace_cleanup. It is
// marked only once created, so a handler never removes a file that is not ours.
char pending[sizeof ReplaceFile::temp];
volatile sig_atomic_t pending_set;

void forget_pending() {
    pending_set = 0;
}

// Gives the temporary file the owner, group and mode the file must end with.
// Applied to the descriptor, so nobody can swap the file in between. As with
// the ownership helpers, a refused change is not a failure of the save.
void give_owner(int fd, const ReplaceFile *file, const struct stat *old, bool had_old,
                const char *user, const char *group, int mode) {
    uid_t uid;
    gid_t gid;
    if (user != nullptr || group != nullptr) {
        // A new file's defaults are those of the file just created.
        if (owner_by_name(had_old ? file->path : file->temp, user, group, &uid, &gid) != 0)
            ignore_failure(fchown(fd, uid, gid));
    } else if (had_old) {
        ignore_failure(fchown(fd, old->st_uid, old->st_gid));
    }
    mode_t bits;
    if (mode >= 0) {
        bits = static_cast<mode_t>(mode);
    } else if (had_old) {
        bits = old->st_mode & 07777;
    } else {
        // What an ordinary create would give: 0666 less the umask.
        mode_t mask = umask(0);
        umask(mask);
        bits = 0666 & ~mask;
    }
    // After the chown, which clears set-ID bits.
    ignore_failure(fchmod(fd, bits));
}

} // namespace

int replace_open(ReplaceFile *file, const char *path, const char *user, const char *group,
                 int mode) {
    file->stream = nullptr;
    size_t length = strlen(path);
    const char *slash = strrchr(path, '/');
    size_t dir_length = slash != nullptr ? static_cast<size_t>(slash - path) + 1 : 0;
    // "<dir>/.<name>.avconfig-XXXXXX": hidden, and in the same file system as
    // the file.
    if (length >= sizeof file->path || length + sizeof TEMP_MARK + 7 >= sizeof file->temp) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(file->path, path, length + 1);
    snprintf(file->temp, sizeof file->temp, "%.*s.%s%sXXXXXX", static_cast<int>(dir_length), path,
             path + dir_length, TEMP_MARK);

    struct stat old;
    bool had_old = lstat(path, &old) == 0;
    if (had_old && S_ISDIR(old.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    // Only a regular file passes on its owner and mode; a link or anything
    // else in its place is replaced like a missing file.
    had_old = had_old && S_ISREG(old.st_mode);

    // No handler may end the process between creating the file and marking
    // it for replace_cleanup.
    sigset_t all, old_mask;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old_mask);
    int fd = mkostemp(file->temp, O_CLOEXEC);
    if (fd >= 0) {
        memcpy(pending, file->temp, sizeof pending);
        pending_set = 1;
    }
    sigprocmask(SIG_SETMASK, &old_mask, nullptr);
    if (fd < 0) {
        return -1;
    }
    give_owner(fd, file, &old, had_old, user, group, mode);
    file->stream = fdopen(fd, "w");
    if (file->stream == nullptr) {
        int saved = errno;
        close(fd);
        unlink(file->temp);
        forget_pending();
        errno = saved;
        return -1;
    }
    return 0;
}

int replace_commit(ReplaceFile *file) {
    bool written =
        fflush(file->stream) == 0 && ferror(file->stream) == 0 && fsync(fileno(file->stream)) == 0;
    int saved = errno;
    if (fclose(file->stream) != 0 && written) {
        written = false;
        saved = errno;
    }
    file->stream = nullptr;
    if (!written || rename(file->temp, file->path) != 0) {
        if (written) {
            saved = errno;
        }
        unlink(file->temp);
        forget_pending();
        errno = saved;
        return -1;
    }
    forget_pending();
    // The rename itself reaches the disk with the directory. It has been
    // made already, so a failure here does not undo the save.
    char dir[sizeof file->path];
    snprintf(dir, sizeof dir, "%s", file->path);
    char *slash = strrchr(dir, '/');
    if (slash != nullptr) {
        slash[slash == dir ? 1 : 0] = '\0';
    }
    int dir_fd = open(slash != nullptr ? dir : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir_fd >= 0) {
        ignore_failure(fsync(dir_fd));
        close(dir_fd);
    }
    return 0;
}

void replace_abandon(ReplaceFile *file) {
    if (file->stream != nullptr) {
        fclose(file->stream);
        file->stream = nullptr;
    }
    unlink(file->temp);
    forget_pending();
}

void replace_cleanup() {
    if (pending_set) {
        unlink(pending);
    }
}

namespace {

// ".<name>.avconfig-XXXXXX" as replace_open makes it.
bool is_temporary_name(const char *name) {
    size_t length = strlen(name);
    size_t mark = sizeof TEMP_MARK - 1;
    if (name[0] != '.' || length < mark + 8 ||
        strncmp(name + length - 6 - mark, TEMP_MARK, mark) != 0) {
        return false;
    }
    for (const char *c = name + length - 6; *c != '\0'; c++) {
        if (!isalnum(static_cast<unsigned char>(*c))) {
            return false;
        }
    }
    return true;
}

} // namespace

void replace_remove_stale(const char *dir) {
    int dir_fd = open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *entries = dir_fd >= 0 ? fdopendir(dir_fd) : nullptr;
    if (entries == nullptr) {
        if (dir_fd >= 0) {
            close(dir_fd);
        }
        return;
    }
    for (struct dirent *entry; (entry = readdir(entries)) != nullptr;) {
        struct stat st;
        if (is_temporary_name(entry->d_name) &&
            fstatat(dir_fd, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(st.st_mode)) {
            ignore_failure(unlinkat(dir_fd, entry->d_name, 0));
        }
    }
    closedir(entries);
}
