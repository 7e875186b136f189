// Arbitrary bytes as a line file: read, sort, find and destroy must never
// misbehave, and the entries must survive the sort.
#include "support/support.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static char path[] = "/tmp/avfuzzlinesXXXXXX";
    static int fd = -1;
    if (fd < 0) {
        fd = mkstemp(path);
        if (fd < 0) {
            abort();
        }
        atexit([] { unlink(path); });
    }
    if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) {
        abort();
    }
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    int longest = read_line_file(path, list, "", msg);
    if (longest < 0 || longest > 149) {
        abort();
    }
    int count = list_count(list);
    // Also an entry too long for the sort, as a dialog could add one.
    if (size > 0 && data[0] == '!') {
        char *big = static_cast<char *>(malloc(size + 300));
        memset(big, 'x', size + 299);
        big[size + 299] = '\0';
        list_add_string(big, list, msg);
        free(big);
        if (sort_string_list(list, msg) != -1 || list_count(list) != count + 1) {
            abort();
        }
    } else {
        if (sort_string_list(list, msg) != 0 || list_count(list) != count) {
            abort();
        }
        for (int i = 1; i < count; i++) {
            if (str_casecmp(static_cast<const char *>(list_get(list, i - 1)),
                            static_cast<const char *>(list_get(list, i))) > 0) {
                abort();
            }
        }
    }
    if (count > 0) {
        const char *first = static_cast<const char *>(list_get(list, 0));
        if (list_find_string(first, 1, list) != 0) {
            abort();
        }
    }
    list_destroy(list);
    return 0;
}
