// Fuzzes the key table and reader: the input is a few sequences to bind
// (separated by 0xFE, up to the first 0xFF) and then the bytes the terminal
// sends, handed to the reader from memory in the bursts a read could give.
#include "widget_fixture.h"
#include "term/term.h"

#include <cstdint>
#include <cstring>

namespace {

// The table is as key_init leaves it: no input since the last build bound
// anything. Building it binds every byte value, which costs more than
// reading most inputs, so it is rebuilt only after an input that bound.
bool table_plain = false;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const uint8_t *end = static_cast<const uint8_t *>(memchr(data, 0xff, size));
    if (!table_plain || end != nullptr) {
        term_reset();
        key_init();
    }
    table_plain = end == nullptr;
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
    size_t total = size - static_cast<size_t>(input - data);
    widget_count_bells(nullptr); // unbound sequences ring
    widget_type(input, total, size > 0 ? data[0] % 16 + 1 : 1);
    for (size_t keys = 1; !widget_keys_finished; keys++) {
        int code = key_read();
        if (code <= 0 || keys > total + 1)
            __builtin_trap(); // NUL returned, or more keys than bytes
    }
    key_set_source(nullptr);
    return 0;
}
