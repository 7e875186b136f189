// Safe replacement of a configuration file.
#include "support/support.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cctype>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/xattr.h>
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

int fail(ReplaceFile *file, int error) {
    file->error = error;
    errno = error;
    return -1;
}

// Works out the owner, group and mode the file must end with. With names,
// the missing one defaults to that of the file at defaults_from: the old
// file, or for a new one the temporary file, which has what the platform
// gives a new file here.
void choose_owner(ReplaceFile *file, const char *defaults_from, const struct stat *old,
                  bool had_old, const char *user, const char *group, int mode, int new_mode) {
    file->change_owner = 0;
    if (user != nullptr || group != nullptr) {
        file->change_owner = owner_by_name(defaults_from, user, group, &file->uid, &file->gid);
    } else if (had_old) {
        file->change_owner = 1;
        file->uid = old->st_uid;
        file->gid = old->st_gid;
    }
    file->mode = static_cast<mode_t>(mode >= 0 ? mode : had_old ? old->st_mode & 07777 : new_mode);
}

// The names of the extended attributes of a file (path, or else fd), in a
// block from mem_alloc that the caller frees; *size 0 and no block when there
// are none or the file system keeps none.
int list_attributes(const char *path, int fd, char **names, ssize_t *size) {
    *names = nullptr;
    *size = 0;
    for (int tries = 0; tries < 8; tries++) {
        ssize_t want = path != nullptr ? llistxattr(path, nullptr, 0) : flistxattr(fd, nullptr, 0);
        if (want < 0)
            return errno == ENOTSUP ? 0 : errno;
        if (want == 0)
            return 0;
        char *block = static_cast<char *>(mem_alloc(static_cast<size_t>(want)));
        if (block == nullptr)
            return ENOMEM;
        ssize_t got = path != nullptr ? llistxattr(path, block, static_cast<size_t>(want))
                                      : flistxattr(fd, block, static_cast<size_t>(want));
        if (got >= 0) {
            *names = block;
            *size = got;
            return 0;
        }
        int error = errno;
        mem_free(block);
        if (error != ERANGE) // ERANGE: one was added meanwhile; ask again
            return error;
    }
    return ERANGE;
}

bool has_name(const char *names, ssize_t size, const char *name) {
    for (const char *n = names; n < names + size; n += strlen(n) + 1)
        if (strcmp(n, name) == 0)
            return true;
    return false;
}

// One attribute's value, in a block from mem_alloc (none when the file does
// not have it).
int get_attribute(const char *path, int fd, const char *name, char **value, ssize_t *size) {
    *value = nullptr;
    *size = -1;
    for (int tries = 0; tries < 8; tries++) {
        ssize_t want =
            path != nullptr ? lgetxattr(path, name, nullptr, 0) : fgetxattr(fd, name, nullptr, 0);
        if (want < 0)
            return errno == ENODATA ? 0 : errno;
        char *block = static_cast<char *>(mem_alloc(static_cast<size_t>(want) + 1));
        if (block == nullptr)
            return ENOMEM;
        ssize_t got = path != nullptr ? lgetxattr(path, name, block, static_cast<size_t>(want))
                                      : fgetxattr(fd, name, block, static_cast<size_t>(want));
        if (got >= 0) {
            *value = block;
            *size = got;
            return 0;
        }
        int error = errno;
        mem_free(block);
        if (error != ERANGE)
            return error == ENODATA ? 0 : error;
    }
    return ERANGE;
}

// Makes the new file's extended attributes those of the old one: its ACL
// (system.posix_acl_access) and the rest, so that a save changes nothing
// about who may read or write the file. What the new file got by itself (a
// directory's default ACL, say) and the old one did not have goes.
int copy_attributes(const char *old_path, int fd) {
    char *old_names, *new_names;
    ssize_t old_size, new_size;
    int error = list_attributes(old_path, -1, &old_names, &old_size);
    if (error != 0)
        return error;
    error = list_attributes(nullptr, fd, &new_names, &new_size);
    for (const char *n = new_names; error == 0 && n < new_names + new_size; n += strlen(n) + 1)
        if (!has_name(old_names, old_size, n) && fremovexattr(fd, n) != 0 && errno != ENODATA)
            error = errno;
    for (const char *n = old_names; error == 0 && n < old_names + old_size; n += strlen(n) + 1) {
        char *value, *present;
        ssize_t size, present_size;
        error = get_attribute(old_path, -1, n, &value, &size);
        if (error == 0 && value != nullptr)
            error = get_attribute(nullptr, fd, n, &present, &present_size);
        if (error == 0 && value != nullptr) {
            // One the new file has already (a security label) is left alone.
            bool same = present != nullptr && present_size == size &&
                        memcmp(present, value, static_cast<size_t>(size)) == 0;
            if (!same && fsetxattr(fd, n, value, static_cast<size_t>(size), 0) != 0)
                error = errno;
            mem_free(present);
        }
        mem_free(value);
    }
    mem_free(old_names);
    mem_free(new_names);
    return error;
}

// Gives the open file the chosen owner, group and mode, and the extended
// attributes of the file at attributes_from (none: leaves them), on the
// descriptor so that nobody can swap the file in between. A change the file system refuses,
// or accepts and ignores (root-squashed NFS, CIFS, some FUSE mounts), fails
// the save: a file that ends with the wrong owner or mode is not saved.
int apply_owner(int fd, const ReplaceFile *file, const char *attributes_from) {
    struct stat now;
    if (fstat(fd, &now) != 0)
        return errno;
    if (file->change_owner && (now.st_uid != file->uid || now.st_gid != file->gid)) {
        if (fchown(fd, file->uid, file->gid) != 0)
            return errno;
    }
    // After the chown, which drops file capabilities, and before the mode:
    // an ACL sets the group bits of the mode, which the mode then settles. A
    // mode copied without the ACL would carry its mask into the group bits
    // and hand the group what only the mask allowed.
    if (attributes_from != nullptr) {
        int error = copy_attributes(attributes_from, fd);
        if (error != 0)
            return error;
    }
    // The chown cleared any set-ID bits; the mode puts them back.
    if (fstat(fd, &now) != 0)
        return errno;
    if ((now.st_mode & 07777) != file->mode && fchmod(fd, file->mode) != 0)
        return errno;
    if (fstat(fd, &now) != 0)
        return errno;
    bool owner_right = !file->change_owner || (now.st_uid == file->uid && now.st_gid == file->gid);
    return owner_right && (now.st_mode & 07777) == file->mode ? 0 : EPERM;
}

// A file in RAM that collects the new contents of an in-place rewrite.
FILE *memory_stream() {
    int fd = memfd_create("avconfig-save", MFD_CLOEXEC);
    if (fd < 0)
        return nullptr;
    FILE *stream = fdopen(fd, "w+");
    if (stream == nullptr) {
        int error = errno;
        close(fd);
        errno = error;
    }
    return stream;
}

// Prepares an in-place rewrite of the existing regular file at file->path:
// only the file is opened; nothing changes before the commit. 0 or an error.
int open_in_place(ReplaceFile *file) {
    int fd = open(file->path, O_RDWR | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return errno;
    struct stat now;
    int error = fstat(fd, &now) != 0 ? errno : !S_ISREG(now.st_mode) ? AV_ENOTREG : 0;
    if (error == 0) {
        file->stream = memory_stream();
        if (file->stream == nullptr)
            error = errno;
    }
    if (error != 0) {
        close(fd);
        return error;
    }
    file->old = now;
    file->fd = fd;
    file->in_place = 1;
    return 0;
}

// Copies length bytes from the start of one descriptor to the start of
// another. 0 or an error (EIO when from ends sooner).
int copy_bytes(int from, int to, off_t length) {
    static char buffer[65536];
    for (off_t at = 0; at < length;) {
        size_t want = static_cast<size_t>(std::min<off_t>(length - at, sizeof buffer));
        ssize_t got = pread(from, buffer, want, at);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got < 0 ? errno : EIO;
        for (ssize_t put = 0; put < got;) {
            ssize_t n = pwrite(to, buffer + put, static_cast<size_t>(got - put), at + put);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return errno;
            put += n;
        }
        at += got;
    }
    return 0;
}

int write_whole(int from, int to, off_t length) {
    int error = copy_bytes(from, to, length);
    if (error == 0 && ftruncate(to, length) != 0)
        error = errno;
    if (error == 0 && fsync(to) != 0)
        error = errno;
    return error;
}

// The rewrite of an in-place save. Overwriting and then truncating needs no
// new room where the new contents are no longer than the old, and a copy of
// the old contents is written back when anything fails. No catchable signal
// may end the process halfway through.
int commit_in_place(ReplaceFile *file) {
    errno = 0;
    int error = fflush(file->stream) != 0 || ferror(file->stream) ? (errno != 0 ? errno : EIO) : 0;
    int fresh = fileno(file->stream);
    off_t length = error == 0 ? lseek(fresh, 0, SEEK_END) : -1;
    if (error == 0 && length < 0)
        error = errno;
    sigset_t all, old_mask;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old_mask);
    int backup = -1;
    struct stat before;
    if (error == 0 && fstat(file->fd, &before) != 0)
        error = errno;
    if (error == 0 && (backup = memfd_create("avconfig-old", MFD_CLOEXEC)) < 0)
        error = errno;
    if (error == 0)
        error = copy_bytes(file->fd, backup, before.st_size);
    if (error == 0)
        error = apply_owner(file->fd, file, nullptr);
    if (error == 0) {
        error = write_whole(fresh, file->fd, length);
        if (error != 0) {
            ignore_failure(write_whole(backup, file->fd, before.st_size));
        }
    }
    if (error != 0) {
        // Best effort: the owner and mode it had.
        ignore_failure(fchown(file->fd, file->old.st_uid, file->old.st_gid));
        ignore_failure(fchmod(file->fd, file->old.st_mode & 07777));
    }
    sigprocmask(SIG_SETMASK, &old_mask, nullptr);
    if (backup >= 0)
        close(backup);
    fclose(file->stream);
    file->stream = nullptr;
    close(file->fd);
    file->fd = -1;
    return error;
}

} // namespace

int replace_open(ReplaceFile *file, const char *path, const char *user, const char *group, int mode,
                 int new_mode) {
    file->stream = nullptr;
    file->error = 0;
    file->in_place = 0;
    file->fd = -1;
    file->temp[0] = '\0';
    int error = follow_own_links(path, file->path, sizeof file->path);
    if (error != 0)
        return fail(file, error);
    size_t length = strlen(file->path);
    const char *slash = strrchr(file->path, '/');
    size_t dir_length = slash != nullptr ? static_cast<size_t>(slash - file->path) + 1 : 0;
    // "<dir>/.<name>.avconfig-XXXXXX": hidden, and in the same file system as
    // the file.
    if (length + sizeof TEMP_MARK + 7 >= sizeof file->temp)
        return fail(file, ENAMETOOLONG);
    snprintf(file->temp, sizeof file->temp, "%.*s.%s%sXXXXXX", static_cast<int>(dir_length),
             file->path, file->path + dir_length, TEMP_MARK);

    struct stat old;
    bool had_old = lstat(file->path, &old) == 0;
    if (had_old && S_ISDIR(old.st_mode))
        return fail(file, EISDIR);
    if (had_old && !S_ISREG(old.st_mode)) {
        // Through a link, only a regular file is written: the link may lead
        // to a device. In the directory itself, anything else in the file's
        // place is replaced like a missing file.
        if (strcmp(file->path, path) != 0)
            return fail(file, AV_ENOTREG);
        had_old = false;
    }
    // Other names of the file must keep seeing it: rewritten in place.
    if (had_old && old.st_nlink > 1) {
        choose_owner(file, file->path, &old, had_old, user, group, mode, new_mode);
        error = open_in_place(file);
        return error == 0 ? 0 : fail(file, error);
    }

    // No handler may end the process between creating the file and marking
    // it for replace_cleanup.
    sigset_t all, old_mask;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old_mask);
    int fd = mkostemp(file->temp, O_CLOEXEC);
    error = errno;
    if (fd >= 0) {
        memcpy(pending, file->temp, sizeof pending);
        pending_set = 1;
    }
    sigprocmask(SIG_SETMASK, &old_mask, nullptr);
    if (fd < 0) {
        // A directory that takes no new file (read-only, immutable) but a
        // file that can be written: the file is rewritten in place.
        if (had_old && (error == EACCES || error == EPERM || error == EROFS)) {
            choose_owner(file, file->path, &old, had_old, user, group, mode, new_mode);
            if (open_in_place(file) == 0)
                return 0;
        }
        return fail(file, error);
    }
    choose_owner(file, had_old ? file->path : file->temp, &old, had_old, user, group, mode,
                 new_mode);
    error = apply_owner(fd, file, had_old ? file->path : nullptr);
    if (error == 0 && (file->stream = fdopen(fd, "w")) == nullptr)
        error = errno;
    if (error != 0) {
        close(fd);
        unlink(file->temp);
        forget_pending();
        return fail(file, error);
    }
    return 0;
}

int replace_commit(ReplaceFile *file) {
    if (file->in_place) {
        int error = commit_in_place(file);
        return error == 0 ? 0 : fail(file, error);
    }
    // A write that failed before (a full disk) left its reason in errno and
    // the stream's error flag.
    int earlier = errno;
    errno = 0;
    int error = fflush(file->stream) != 0 ? errno
                : ferror(file->stream)    ? (earlier != 0 ? earlier : EIO)
                                          : 0;
    if (error == 0 && fsync(fileno(file->stream)) != 0)
        error = errno;
    if (fclose(file->stream) != 0 && error == 0)
        error = errno;
    file->stream = nullptr;
    if (error == 0 && rename(file->temp, file->path) != 0)
        error = errno;
    if (error != 0) {
        unlink(file->temp);
        forget_pending();
        return fail(file, error);
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
    if (file->in_place) {
        // Nothing was written to the file yet.
        close(file->fd);
        file->fd = -1;
        return;
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
