// Fuzzes the description reader and the lookups: the bytes are a
// description file, read from memory; a few entry names and capabilities
// are looked up and the output strings settled.
#include "fuzz_memory.h"
#include "term/term.h"
#include "term/term_internal.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *names[] = {"t", "xterm", "a-b", ""};
    term_reset();
    FILE *file = fuzz_memory_file(data, size);
    int found = tc_read_entry_stream(file, names[size % 4]);
    fclose(file);
    if (!found)
        return 0;
    term_settle_motion();
    tc_flag("bs");
    tc_num("li");
    tc_num("FS");
    const char *caps[] = {"cm", "und", "und_rev", "kl", "tc", "GS", "k0"};
    for (const char *cap : caps) {
        const char *s = tc_str(cap);
        if (s && strlen(s) > 4096)
            __builtin_trap();
    }
    term_screen_strings();
    for (int i = 0; i < LS_COUNT; ++i)
        if (!term_line_string(i))
            __builtin_trap();
    if (strlen(term_goto(23, 79)) > 127)
        __builtin_trap();
    term_auto_margin();
    key_init();
    return 0;
}
