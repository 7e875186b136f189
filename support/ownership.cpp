// File ownership and permission helpers, and the file status query.
#include "support/support.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace {

// Where in the status record the owner's user and group IDs lie (32-bit
// little-endian).
constexpr size_t STAT_UID_AT = 24;
constexpr size_t STAT_GID_AT = 28;

const char *status_program;

int platform_status(const char *path, struct stat *status) {
    return stat(path, status);
}

uint32_t little_endian(const unsigned char *bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

// Appends text to out in single quotes, each embedded quote as '\''.
// Returns the new length, or -1 when out (of size room) is too small.
int shell_quote(char *out, int length, int room, const char *text) {
    auto put = [&](char c) {
        if (length + 1 >= room) {
            return false;
        }
        out[length++] = c;
        return true;
    };
    if (!put('\'')) {
        return -1;
    }
    for (const char *p = text; *p != '\0'; p++) {
        if (*p == '\'') {
            if (!put('\'') || !put('\\') || !put('\'') || !put('\'')) {
                return -1;
            }
        } else if (!put(*p)) {
            return -1;
        }
    }
    if (!put('\'')) {
        return -1;
    }
    out[length] = '\0';
    return length;
}

int program_status(const char *path, struct stat *status) {
    char temp[4096];
    if (str_copy_max(temp, file_status_template, sizeof temp - 1) !=
        static_cast<int>(strlen(file_status_template))) {
        return -1;
    }
    // The program writes to this descriptor and the record is read back
    // from it. The name goes at once: reopened later, it could by then be a
    // link that another user planted, for root to write through.
    int fd = mkstemp(temp);
    if (fd < 0) {
        return -1;
    }
    unlink(temp);
    // The command runs through the shell as root: every part is a single-quoted
    // word, so no path can add commands or redirections of its own.
    int room = static_cast<int>(4 * (strlen(status_program) + strlen(path)) + 8);
    char *command = static_cast<char *>(mem_alloc(room));
    int length = command == nullptr ? -1 : shell_quote(command, 0, room, status_program);
    if (length >= 0) {
        command[length++] = ' ';
        length = shell_quote(command, length, room, path);
    }
    // Its error output would land on the screen, which no refresh repairs.
    int result = length < 0 ? -1 : run_system_command(command, -1, fd, -1);
    mem_free(command);
    unsigned char record[FILE_STATUS_RECORD];
    size_t got = 0;
    if (result == 0 && lseek(fd, 0, SEEK_SET) == 0) {
        while (got < FILE_STATUS_RECORD) {
            ssize_t n = read(fd, record + got, FILE_STATUS_RECORD - got);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                break;
            }
            got += static_cast<size_t>(n);
        }
    }
    close(fd);
    if (result != 0) {
        return -1;
    }
    return file_status_record(record, got, status);
}

int resolve_status(const char *path, struct stat *status) {
    const char *program = getenv("QXSTATPROG");
    // An empty value names no program; the platform call answers instead.
    if (program != nullptr && program[0] != '\0') {
        status_program = str_dup(program);
    }
    file_status = status_program != nullptr ? program_status : platform_status;
    return file_status(path, status);
}

} // namespace

int (*file_status)(const char *path, struct stat *status) = resolve_status;

int file_status_record(const unsigned char *record, size_t size, struct stat *status) {
    if (record == nullptr || size != FILE_STATUS_RECORD) {
        return -1;
    }
    memset(status, 0, sizeof *status);
    status->st_uid = static_cast<uid_t>(little_endian(record + STAT_UID_AT));
    status->st_gid = static_cast<gid_t>(little_endian(record + STAT_GID_AT));
    return 0;
}
const char *file_status_template = "/usr/tmp/statXXXXXX";

int owner_by_name(const char *path, const char *user, const char *group, uid_t *uid_out,
                  gid_t *gid_out) {
    if (user == nullptr && group == nullptr) {
        return 0;
    }
    uid_t uid = getuid();
    gid_t gid = getgid();
    bool have_defaults = false;
    auto read_defaults = [&]() {
        struct stat status;
        if (file_status(path, &status) == 0) {
            uid = status.st_uid;
            gid = status.st_gid;
        }
        have_defaults = true;
    };
    if (user == nullptr || group == nullptr) {
        read_defaults();
    }
    if (user != nullptr) {
        setpwent();
        struct passwd *entry = getpwnam(user);
        uid = entry != nullptr ? entry->pw_uid : getuid();
        endpwent();
    }
    if (group != nullptr) {
        setgrent();
        struct group *entry = getgrnam(group);
        bool found = entry != nullptr;
        if (found) {
            gid = entry->gr_gid;
        }
        endgrent();
        if (!found && !have_defaults) {
            // Both names given and the group unknown: keep the file's group.
            uid_t chosen = uid;
            read_defaults();
            uid = chosen;
        }
    }
    *uid_out = uid;
    *gid_out = gid;
    return 1;
}

int set_owner_by_name(const char *path, const char *user, const char *group) {
    uid_t uid;
    gid_t gid;
    if (owner_by_name(path, user, group, &uid, &gid) == 0) {
        return 0;
    }
    return chown(path, uid, gid) == 0 ? 0 : 1;
}

int set_mode(const char *path, mode_t permissions) {
    return chmod(path, permissions) == 0 ? 0 : 1;
}

FILE *open_with_owner(const char *path, const char *open_mode, const char *user, const char *group,
                      mode_t permissions) {
    FILE *file = fopen(path, open_mode);
    if (file == nullptr) {
        return nullptr;
    }
    // Results ignored: the stream is open and written either way.
    set_owner_by_name(path, user, group);
    set_mode(path, permissions);
    return file;
}
