// Shared by the targets that draw: a readable terminal loaded from memory,
// whose every string is printable, and a sink that keeps what is sent. A
// control byte in the output can then only have come from the data.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "fuzz_memory.h"
#include "term/term.h"
#include "term/term_internal.h"
#include "win/win_internal.h"

inline std::string fuzz_sent;

inline void fuzz_sink(int, const char *bytes, size_t length) {
    fuzz_sent.append(bytes, length);
}

inline bool fuzz_control(unsigned char c) {
    return c < 32 || (c >= 127 && c < 160);
}

// What a text cell shows for byte c: on a UTF-8 terminal no byte from 0x80 up
// is shown as it is.
inline unsigned char fuzz_visible(unsigned char c) {
    return fuzz_control(c) || (c >= 0x80 && term_utf8_locale()) ? '?' : c;
}

// Checks are not what is being fuzzed: kept out of the coverage, and not
// inlined, which would bring them back into an instrumented caller.
__attribute__((noinline, no_sanitize("coverage"))) inline bool fuzz_sent_clean() {
    for (unsigned char c : fuzz_sent)
        if (fuzz_control(c))
            return false;
    return true;
}

// Once per process: the terminal, its key table, the output sink, the
// window library.
inline void fuzz_screen_start() {
    static bool started = false;
    if (started)
        return;
    started = true;
    static char description[] = "t:cm=<%d,%d>:cl=[CL]:li#24:aw#1:bc=(bc):up=(up):CN=[on]:CF=[off]:"
                                "norm=[N]:rev=[R]:blink=[K]:bold=[B]:und=[U]:"
                                "GS={:GE=}:GH=-:GV=!:GC=+:GL=L:GD=T:GR=R:GU=U:G1=b:G2=a:G3=c:G4=d:"
                                "ku=\\E[A:kd=\\E[B:PU=\\E[5~:PD=\\E[6~:ho=\\E[H:EN=\\E[F:\n";
    FILE *file = fmemopen(description, strlen(description), "r");
    if (file == nullptr || tc_read_entry_stream(file, "t") != 1)
        __builtin_trap();
    fclose(file);
    term_settle_motion();
    term_screen_strings();
    key_init();
    term_set_writer(fuzz_sink);
    // The same input must do the same whatever the fuzzing machine's locale.
    term_set_utf8_locale(0);
    fuzz_quiet_stdout();
    term_blank_screen();
}
