// Shared by the targets that draw: the widget fixture's terminal, loaded from
// a description whose every string is printable, and what it catches. A
// control byte in the output can then only have come from the data.
#pragma once

#include <string>

#include "fuzz_memory.h"
#include "widget_fixture.h"
#include "win/win_internal.h"

inline std::string &fuzz_sent = widget_sent;

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

// Once per process: the terminal, its key table, the caught output, the
// window library. Bells are counted and nothing else is passed on.
inline void fuzz_screen_start() {
    static bool started = false;
    if (started)
        return;
    started = true;
    static const char description[] =
        "t:cm=<%d,%d>:cl=[CL]:li#24:aw#1:bc=(bc):up=(up):CN=[on]:CF=[off]:"
        "norm=[N]:rev=[R]:blink=[K]:bold=[B]:und=[U]:"
        "GS={:GE=}:GH=-:GV=!:GC=+:GL=L:GD=T:GR=R:GU=U:G1=b:G2=a:G3=c:G4=d:"
        "ku=\\E[A:kd=\\E[B:PU=\\E[5~:PD=\\E[6~:ho=\\E[H:EN=\\E[F:\n";
    if (widget_terminal(description, sizeof description - 1, "t", nullptr) != 0)
        __builtin_trap();
}
