// Fuzzes the compiled terminfo reader: the bytes are a compiled entry (or,
// when the first byte is '%', a cursor string). What comes out must be text
// that the description reader loads, whose cursor template the program
// accepts, in lines any line reader takes.
#include "fuzz_memory.h"
#include "term/term.h"
#include "term/term_internal.h"

#include <cstdint>
#include <cstring>

namespace {

void check_cup(const uint8_t *data, size_t size) {
    char cup[1024];
    size_t n = size < sizeof cup - 1 ? size : sizeof cup - 1;
    memcpy(cup, data, n);
    cup[n] = '\0';
    char out[128];
    int length = tc_terminfo_cup(cup, out, sizeof out);
    if (length < 0)
        return;
    if (static_cast<size_t>(length) != strlen(out) || term_parse_cursor(out) != 0)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 0 && data[0] == '%') {
        check_cup(data + 1, size - 1);
        return 0;
    }
    static char text[8192];
    int length = tc_terminfo_convert(data, size, "t", text, sizeof text);
    if (length < 0)
        return 0;
    if (static_cast<size_t>(length) != strlen(text) || text[length - 1] != '\n')
        __builtin_trap();
    for (const char *line = text; *line;) {
        const char *end = strchr(line, '\n');
        if (end - line > 253)
            __builtin_trap();
        line = end + 1;
    }
    term_reset();
    FILE *file =
        fuzz_memory_file(reinterpret_cast<const uint8_t *>(text), static_cast<size_t>(length));
    int found = tc_read_entry_stream(file, "t");
    fclose(file);
    if (!found)
        __builtin_trap();
    const char *cm = tc_str("cm");
    if (cm && term_parse_cursor(cm) != 0)
        __builtin_trap();
    // Fields past the description reader's 4096 characters are cut.
    if (length < 4000 && tc_num("FS") != 1)
        __builtin_trap();
    return 0;
}
