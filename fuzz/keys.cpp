// Fuzzes the key table and reader: the input is a few sequences to bind
// (separated by 0xFE, up to the first 0xFF) and then the bytes the terminal
// sends, read from a pipe until end of input.
#include "term/term.h"

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <unistd.h>

namespace {

jmp_buf at_end;

void on_hangup() {
    longjmp(at_end, 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 60000)
        return 0; // must fit in the pipe without blocking
    term_reset();
    key_init();
    const uint8_t *end = static_cast<const uint8_t *>(memchr(data, 0xff, size));
    size_t bind_len = end ? static_cast<size_t>(end - data) : 0;
    char seq[256];
    size_t start = 0;
    int n = 0;
    for (size_t i = 0; i <= bind_len; ++i) {
        if (i < bind_len && data[i] != 0xfe)
            continue;
        size_t len = i - start;
        if (len > 0 && len < sizeof seq) {
            memcpy(seq, data + start, len);
            seq[len] = '\0';
            key_bind(seq, static_cast<unsigned char>(seq[0]) % 5, 300 + n++);
        }
        start = i + 1;
    }
    const uint8_t *input = end ? end + 1 : data;
    size_t input_len = size - static_cast<size_t>(input - data);

    int fds[2];
    if (pipe(fds) != 0)
        return 0;
    if (input_len > 0 && write(fds[1], input, input_len) != static_cast<ssize_t>(input_len))
        __builtin_trap();
    close(fds[1]);
    dup2(fds[0], 0);
    close(fds[0]);
    key_on_hangup(on_hangup);
    static volatile size_t keys;
    keys = 0;
    if (setjmp(at_end) == 0) {
        for (;;) {
            int code = key_read();
            keys = keys + 1;
            if (code <= 0 || keys > input_len)
                __builtin_trap(); // NUL returned, or more keys than bytes
        }
    }
    key_on_hangup(nullptr);
    return 0;
}
