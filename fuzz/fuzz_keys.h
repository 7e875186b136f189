// Keys typed from the bytes of an input, in bursts as reads would give them,
// then one "x" in a read of its own: once the reader has returned that key,
// nothing is left buffered for the next input.
#pragma once

#include <cstdint>
#include <cstring>

#include "fuzz_memory.h"
#include "term/term.h"

inline const uint8_t *fuzz_keys;
inline size_t fuzz_keys_left;
inline size_t fuzz_keys_burst;
inline bool fuzz_keys_finished; // the closing "x" was handed out

inline long fuzz_key_source(unsigned char *buffer, size_t room) {
    if (fuzz_keys_left == 0) {
        buffer[0] = 'x';
        fuzz_keys_finished = true;
        return 1;
    }
    size_t n = fuzz_keys_left < room ? fuzz_keys_left : room;
    if (n > fuzz_keys_burst)
        n = fuzz_keys_burst;
    memcpy(buffer, fuzz_keys, n);
    fuzz_keys += n;
    fuzz_keys_left -= n;
    return static_cast<long>(n);
}

inline void fuzz_type(const uint8_t *keys, size_t size, size_t burst) {
    fuzz_keys = keys;
    fuzz_keys_left = size;
    fuzz_keys_burst = burst;
    fuzz_keys_finished = false;
    key_set_source(fuzz_key_source);
    fuzz_quiet_stdout();
}
