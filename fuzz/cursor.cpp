// Fuzzes the cursor template parser and its expansion.
#include "term/term.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    char cm[512];
    if (size >= sizeof cm)
        size = sizeof cm - 1;
    memcpy(cm, data, size);
    cm[size] = '\0';
    term_reset();
    int usable = term_parse_cursor(cm);
    const int positions[][2] = {{0, 0},     {23, 79}, {0, 8},           {9, 10},
                                {255, 255}, {-1, -1}, {100000, -100000}};
    for (const auto &p : positions) {
        const char *text = term_goto(p[0], p[1]);
        if (strlen(text) > 127)
            __builtin_trap();
        if (usable != 0 && strcmp(text, "('cm' error)") != 0)
            __builtin_trap();
    }
    return 0;
}
