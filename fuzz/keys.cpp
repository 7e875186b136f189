// Fuzzes the key table and reader: the input is a few sequences to bind
// (separated by 0xFE, up to the first 0xFF) and then the bytes the terminal
// sends, handed to the reader from memory in the bursts a read could give.
#include "term/term.h"

#include <cstdint>
#include <cstring>

namespace {

const uint8_t *input;
size_t input_left;
size_t burst; // bytes per read, from the input
bool finished;

// The input in bursts, then one last byte in a read of its own: once the
// reader has returned its key, nothing is left buffered for the next input.
long source(unsigned char *buffer, size_t room) {
    if (input_left == 0) {
        buffer[0] = 'x';
        finished = true;
        return 1;
    }
    size_t n = input_left < room ? input_left : room;
    if (n > burst)
        n = burst;
    memcpy(buffer, input, n);
    input += n;
    input_left -= n;
    return static_cast<long>(n);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
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
    input = end ? end + 1 : data;
    input_left = size - static_cast<size_t>(input - data);
    burst = size > 0 ? data[0] % 16 + 1 : 1;
    size_t total = input_left + 1;
    finished = false;
    key_set_source(source);
    for (size_t keys = 1; !finished; keys++) {
        int code = key_read();
        if (code <= 0 || keys > total)
            __builtin_trap(); // NUL returned, or more keys than bytes
    }
    key_set_source(nullptr);
    return 0;
}
