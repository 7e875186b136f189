// Arbitrary bytes as a line file: read, sort, find and destroy must never
// misbehave, and the entries must survive the sort.
#include "fuzz_memory.h"
#include "support/support.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    size = fuzz_first_lines(data, size, 16);
    FILE *file = fuzz_memory_file(data, size);
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    int longest = read_line_stream(file, "lines", list, "", msg);
    fclose(file);
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
        if (list_find_string(first, LIST_EXACT, list) != 0) {
            abort();
        }
    }
    list_destroy(list);
    return 0;
}
