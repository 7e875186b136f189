// The bytes of an input as a read-only stream, so that the file readers run
// in memory.
#pragma once

#include <cstdint>
#include <cstdio>

inline FILE *fuzz_memory_file(const uint8_t *data, size_t size) {
    static char empty[1];
    FILE *file = fmemopen(
        size > 0 ? const_cast<uint8_t *>(data) : reinterpret_cast<uint8_t *>(empty), size, "r");
    if (file == nullptr)
        __builtin_trap();
    return file;
}

// A file of thousands of short lines tests nothing that a dozen do not, and
// costs some allocations per line (under the address sanitizer, most of the
// time of an input): the line-based targets read the first lines only.
inline size_t fuzz_first_lines(const uint8_t *data, size_t size, int max_lines) {
    int lines = 0;
    for (size_t i = 0; i < size; i++)
        if (data[i] == '\n' && ++lines == max_lines)
            return i + 1;
    return size;
}
