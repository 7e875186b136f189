// Fuzzes the description reader and the lookups: the bytes are a
// description file; a few entry names and capabilities are looked up.
#include "term/term.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

char path[64];

void remove_temp() {
    unlink(path);
}

const char *temp_path() {
    if (!path[0]) {
        snprintf(path, sizeof path, "/tmp/fuzz_termdef_%d", static_cast<int>(getpid()));
        setenv("AVTERMCAP", path, 1);
        atexit(remove_temp);
    }
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *path = temp_path();
    FILE *f = fopen(path, "w");
    if (!f)
        return 0;
    fwrite(data, 1, size, f);
    fclose(f);
    const char *names[] = {"t", "xterm", "a-b", ""};
    setenv("AVTERM", names[size % 4], 1);
    term_reset();
    TermState state{};
    if (term_init(0, &state) != 0)
        return 0;
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
