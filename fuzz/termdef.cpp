// Fuzzes the description reader and the lookups: the bytes are a
// description file, read from memory, or (every other size) an entry's text
// as TERMCAP holds it; every capability of the table is looked up and the
// output strings and key bindings settled.
#include "fuzz_memory.h"
#include "term/term.h"
#include "term/term_internal.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *names[] = {"t", "xterm", "a-b", ""};
    term_reset();
    int found;
    if ((size / 4) % 2 == 0) {
        FILE *file = fuzz_memory_file(data, size);
        found = tc_read_entry_stream(file, names[size % 4]);
        fclose(file);
    } else {
        static char text[1 << 16];
        size_t n = size < sizeof text - 1 ? size : sizeof text - 1;
        memcpy(text, data, n);
        text[n] = '\0';
        found = tc_read_entry_text(text, names[size % 4]);
    }
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
    for (int i = 0; i < CAP_COUNT; ++i)
        tc_cap_str(static_cast<TermCap>(i));
    for (int bits = 0; bits < 16; ++bits)
        if (strlen(term_attribute_string(bits)) > 4096)
            __builtin_trap();
    KeyBinding bindings[80];
    if (key_bindings(bindings, 80) > 80)
        __builtin_trap();
    key_init();
    return 0;
}
