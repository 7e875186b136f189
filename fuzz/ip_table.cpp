// Arbitrary bytes as the ipaddr file: every piece of the file (up to a
// newline or 149 characters) becomes one line, its NUL bytes dropped and the
// rest kept, padded to 60 characters; and every line parses into bounded
// fields.
#include "editors/editors.h"
#include "fuzz_memory.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    size = fuzz_first_lines(data, size, 16);
    std::vector<std::string> want;
    char piece[150];
    size_t length = 0, taken = 0;
    for (size_t i = 0; i < size; i++) {
        taken++;
        if (data[i] != '\n' && data[i] != 0)
            piece[length++] = static_cast<char>(data[i]);
        if (data[i] == '\n' || taken == 149 || i + 1 == size) {
            for (; length < 60; length++)
                piece[length] = ' ';
            want.emplace_back(piece, length);
            length = taken = 0;
        }
    }
    FILE *file = fuzz_memory_file(data, size);
    List *list = list_create(25);
    ip_read_table(file, "ipaddr", list, nullptr);
    fclose(file);
    if (list_count(list) != static_cast<int>(want.size()))
        __builtin_trap();
    for (int i = 0; i < list_count(list); i++) {
        const char *line = static_cast<const char *>(list_get(list, i));
        if (want[i] != line)
            __builtin_trap();
        IpEntry entry;
        ip_parse_line(line, &entry);
        if (strlen(entry.name) > 15 || strlen(entry.address) > 15 || strlen(entry.pc_name) > 25 ||
            entry.kind < 0 || entry.kind > 2)
            __builtin_trap();
    }
    list_destroy(list);
    return 0;
}
