// Keyboard input: raw mode and restore, the key table (a trie of byte
// sequences in a fixed pool) and the longest-match key reader.
#include "term/term.h"
#include "term/term_internal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int POOL_SIZE = 1024;
constexpr int NONE = -1;
constexpr int BURST = 250;

struct KeyNode {
    unsigned char byte;
    int priority; // -1: only on the way to longer sequences
    int code;     // -1: no key ends here
    int next;     // first node of the next level
    int lower;    // siblings: a binary search tree by byte
    int higher;
};

KeyNode pool[POOL_SIZE];
int pool_used;
int top = NONE;

unsigned char input[BURST + 1];
unsigned char read_pos;
unsigned char input_count; // includes the NUL stored after the bytes

HangupFn hangup_handler;
ResumeFn resume_handler;
volatile sig_atomic_t resume_requested;
KeySourceFn key_source;

// Finds the byte among the siblings starting at *level, adding it when
// missing. Returns its index, or NONE when the pool is exhausted.
int level_find_or_add(int *level, unsigned char byte) {
    int *link = level;
    while (*link != NONE) {
        KeyNode &n = pool[*link];
        if (byte == n.byte)
            return *link;
        link = byte < n.byte ? &n.lower : &n.higher;
    }
    if (pool_used >= POOL_SIZE)
        return NONE;
    int index = pool_used++;
    pool[index] = KeyNode{byte, -1, -1, NONE, NONE, NONE};
    *link = index;
    return index;
}

int level_find(int level, unsigned char byte) {
    while (level != NONE) {
        const KeyNode &n = pool[level];
        if (byte == n.byte)
            return level;
        level = byte < n.byte ? n.lower : n.higher;
    }
    return NONE;
}

[[noreturn]] void hang_up() {
    if (hangup_handler)
        hangup_handler();
    _exit(255);
}

void fill_buffer() {
    for (;;) {
        // A stop and continue interrupts the read below (its handlers do not
        // restart it) and asks for the screen back before reading on. One
        // that lands just before the read waits for the next key.
        while (resume_requested) {
            resume_requested = 0;
            // The stop took the keypad out of its mode with the rest.
            term_keypad_on();
            if (resume_handler)
                resume_handler();
        }
        ssize_t n = key_source ? key_source(input, BURST) : read(0, input, BURST);
        if (n > 0) {
            read_pos = 0;
            input[n] = 0;
            input_count = static_cast<unsigned char>(n + 1);
            return;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            // Non-blocking descriptor: wait for input instead of spinning.
            pollfd p{0, POLLIN, 0};
            poll(&p, 1, -1);
            continue;
        }
        // End of file or a real error: the terminal has gone away.
        hang_up();
    }
}

// Length of the complete control sequence that starts with the ESC at
// input[pos], or 0 when the bytes there form none: ESC "[" or ESC "O", then
// parameter bytes, intermediate bytes and one final byte. The Linux
// console's ESC "[" "[" and one letter counts too. Only bytes of the same
// read are looked at, as for the bound sequences.
int control_sequence_length(int pos) {
    int end = input_count - 1; // the NUL after the buffered bytes
    int i = pos + 1;
    if (i >= end || (input[i] != '[' && input[i] != 'O'))
        return 0;
    ++i;
    if (input[i - 1] == '[' && i < end && input[i] == '[')
        return i + 1 < end && input[i + 1] >= 'A' && input[i + 1] <= 'Z' ? i + 2 - pos : 0;
    while (i < end && input[i] >= 0x30 && input[i] <= 0x3f)
        ++i;
    while (i < end && input[i] >= 0x20 && input[i] <= 0x2f)
        ++i;
    if (i < end && input[i] >= 0x40 && input[i] <= 0x7e)
        return i + 1 - pos;
    return 0;
}

// The VT100 family's application-mode cursor and keypad forms: a terminal
// left in that mode by an earlier program still has usable arrows.
int application_mode_key(unsigned char final) {
    const char *finals = "ABCDHFPQRS";
    const int codes[] = {KEY_UP,  KEY_DOWN, KEY_RIGHT, KEY_LEFT, KEY_HOME,
                         KEY_END, KEY_F1,   KEY_F2,    KEY_F3,   KEY_F4};
    const char *hit = final ? strchr(finals, final) : nullptr;
    return hit ? codes[hit - finals] : -1;
}

// The forms that terminals of one family send for the same key, where the
// description names only one of them (PuTTY under TERM=xterm sends the
// VT220 Home, End and F1 to F4; rxvt its own Home and End): the cursor-mode
// arrows, ESC [ H and ESC [ F, and ESC [ n ~ for the editing keys and F1 to
// F4. F5 and up are left out on purpose: terminals number those
// differently, and a wrong guess turns cancel into save.
int alternative_form(int pos, int n) {
    unsigned char kind = input[pos + 1];
    unsigned char final = input[pos + n - 1];
    if (kind == 'O')
        return n == 3 ? application_mode_key(final) : -1;
    if (n == 3) {
        const char *finals = "ABCDHF";
        const int codes[] = {KEY_UP, KEY_DOWN, KEY_RIGHT, KEY_LEFT, KEY_HOME, KEY_END};
        const char *hit = final ? strchr(finals, final) : nullptr;
        return hit ? codes[hit - finals] : -1;
    }
    if (final != '~' || n > 5)
        return -1;
    int number = 0;
    for (int i = pos + 2; i < pos + n - 1; ++i) {
        if (input[i] < '0' || input[i] > '9')
            return -1;
        number = number * 10 + (input[i] - '0');
    }
    switch (number) {
    case 1:
    case 7:
        return KEY_HOME;
    case 2:
        return KEY_INSERT;
    case 3:
        return KEY_DELETE;
    case 4:
    case 8:
        return KEY_END;
    case 5:
        return KEY_PGUP;
    case 6:
        return KEY_PGDN;
    case 11:
    case 12:
    case 13:
    case 14:
        return KEY_F1 + number - 11;
    default:
        return -1;
    }
}

// The longest bound sequence at input[pos]: its length (0 for none) and code.
int match_at(int pos, int *code) {
    int level = top;
    int best_len = 0;
    for (int i = pos; i < input_count && input[i] != 0 && level != NONE; ++i) {
        int node = level_find(level, input[i]);
        if (node == NONE)
            break;
        if (pool[node].code >= 0) {
            *code = pool[node].code;
            best_len = i - pos + 1;
        }
        level = pool[node].next;
    }
    return best_len;
}

// What an ESC at input[pos] begins when the table matched only that ESC, or
// ESC ESC: sets *length and returns the key of an alternative form,
// KEY_UNBOUND for bytes that make one key the table does not know, or -1
// when the match stands. Alt with a key that sends a sequence sends ESC and
// that sequence (a quick Escape and an arrow under tmux arrive the same
// way): it must not act as Escape and the sequence's letters (Alt-Up opened
// the Add Entry dialog).
int escape_key(int pos, int *length) {
    int end = input_count - 1; // the NUL after the buffered bytes
    if (pos + 1 >= end)
        return -1; // a lone ESC is Escape
    unsigned char next = input[pos + 1];
    if (next == 27) {
        // Alt with a key that sends a sequence. The pairs (ESC ESC, ESC ?)
        // are not such keys: ESC ESC and a pair stay two keys.
        int code = 0;
        int m = control_sequence_length(pos + 1);
        if (m == 0)
            m = match_at(pos + 1, &code);
        if (m < 3)
            return -1;
        *length = 1 + m;
        return KEY_UNBOUND;
    }
    int n = control_sequence_length(pos);
    if (n > 0) {
        *length = n;
        int code = alternative_form(pos, n);
        return code >= 0 ? code : KEY_UNBOUND;
    }
    // ESC and a byte that no sequence binds stay two keys, Escape and that
    // byte, as every byte no sequence binds is its own key: Alt with a
    // printable key cannot be told from Escape typed quickly before it.
    return -1;
}

} // namespace

int term_raw_mode(TermState *state, unsigned char min_chars, unsigned char tenths) {
    struct termio &m = state->work_mode;
    m.c_lflag &= static_cast<unsigned short>(~(ECHO | ICANON));
    m.c_iflag &= static_cast<unsigned short>(~ICRNL);
    m.c_cc[VMIN] = min_chars;
    m.c_cc[VTIME] = tenths;
    m.c_cc[VINTR] = 255;
    m.c_cc[VQUIT] = 255;
    int result = ioctl(0, TCSETA, &m);
    // The key table holds what the keys send in the keypad mode the
    // description names; a mode that was not set is not left either.
    if (result == 0)
        term_keypad_on();
    return result;
}

void term_restore(TermState *state) {
    term_keypad_off();
    ioctl(0, TCSETA, &state->saved_mode);
    state->work_mode = state->saved_mode;
}

int key_bind(const char *sequence, int priority, int code) {
    if (!sequence || !*sequence)
        return -1;
    int *level = &top;
    int node = NONE;
    for (const unsigned char *p = reinterpret_cast<const unsigned char *>(sequence); *p; ++p) {
        if (node != NONE)
            level = &pool[node].next;
        node = level_find_or_add(level, *p);
        if (node == NONE)
            return -1;
    }
    if (pool[node].priority > priority)
        return -1;
    pool[node].priority = priority;
    pool[node].code = code;
    return node;
}

// FS numbers the function keys: with FS#1, k1 is F1 and k0 F10; without it
// (or out of range), k0 is F1 and k9 F10. A description in the standard
// dialect (k1 for F1, k; for F10) needs FS#1 to be read that way: guessing
// the dialect from other names would renumber keys of descriptions written
// for this program.
int key_function_cap(int index) {
    if (index < 0 || index > 9)
        return -1;
    int start = tc_cap_num(CAP_FS);
    if (start < 0 || start > 9)
        start = 0;
    return CAP_K0 + (start + index) % 10;
}

int key_bindings(KeyBinding *out, int max) {
    int count = 0;
    auto add = [&](const char *sequence, int code, int priority, int cap) {
        if (count < max)
            out[count] = KeyBinding{sequence, code, priority, cap};
        ++count;
    };
    bool group_bound = false;
    for (int r = 0; r < key_table_size; ++r) {
        const KeySource &row = key_table[r];
        bool alternative = row.rule == KEY_RULE_ELSE || row.rule == KEY_RULE_BYTES_ELSE;
        if (!alternative)
            group_bound = false;
        else if (group_bound)
            continue;
        switch (row.rule) {
        case KEY_RULE_CAP:
        case KEY_RULE_ELSE:
            if (const char *sequence = tc_cap_str(row.cap)) {
                add(sequence, row.code, row.priority, row.cap);
                group_bound = true;
            }
            break;
        case KEY_RULE_BYTES:
        case KEY_RULE_BYTES_ELSE:
            add(row.bytes, row.code, row.priority, -1);
            group_bound = true;
            break;
        case KEY_RULE_BYTES_IF:
            if (tc_cap_flag(row.cap) == 1)
                add(row.bytes, row.code, row.priority, -1);
            break;
        case KEY_RULE_FKEYS:
            for (int i = 0; i < 10; ++i) {
                int cap = key_function_cap(i);
                const char *sequence = cap >= 0 ? tc_cap_str(static_cast<TermCap>(cap)) : nullptr;
                if (sequence)
                    add(sequence, row.code + i, row.priority, cap);
            }
            break;
        }
    }
    return count;
}

void key_init() {
    char one[2] = {0, 0};
    // Each level is a binary search tree: binding the bytes in ascending
    // order would make the first level a 255-deep chain that every key read
    // walks. Halving steps (128; 64, 192; 32, 96, ...) keep it 8 deep.
    for (int step = 128; step >= 1; step /= 2) {
        for (int b = step; b <= 255; b += 2 * step) {
            one[0] = static_cast<char>(b);
            key_bind(one, 0, b);
        }
    }
    // Enough for every row of the table, the ten function keys counted.
    KeyBinding bindings[80];
    int n = key_bindings(bindings, 80);
    for (int i = 0; i < n && i < 80; ++i)
        key_bind(bindings[i].sequence, bindings[i].priority, bindings[i].code);
}

namespace {

// The one reader behind key_read and key_read_any. any = 1 returns
// KEY_UNBOUND for a complete sequence the table does not bind instead of
// ringing and reading on.
int read_key(int any) {
    for (;;) {
        if (read_pos >= input_count)
            fill_buffer();
        int best = -1;
        int best_len = match_at(read_pos, &best);
        // A sequence the table does not know must not come back as ESC and
        // letters that each act: it is one key, known or dropped.
        bool escape = input[read_pos] == 27 &&
                      (best_len == 1 || (best_len == 2 && input[read_pos + 1] == 27));
        if (escape) {
            int length = 0;
            int code = escape_key(read_pos, &length);
            if (code >= 0) {
                read_pos = static_cast<unsigned char>(read_pos + length);
                if (code != KEY_UNBOUND || any)
                    return code;
                term_beep();
                continue;
            }
        }
        if (best >= 0) {
            read_pos = static_cast<unsigned char>(read_pos + best_len);
            return best;
        }
        ++read_pos; // a NUL byte (or a byte the table lacks): skip it
    }
}

} // namespace

int key_read() {
    return read_key(0);
}

int key_read_any() {
    return read_key(1);
}

void key_set_source(KeySourceFn fn) {
    key_source = fn;
}

void key_on_hangup(HangupFn handler) {
    hangup_handler = handler;
}

void key_on_resume(ResumeFn handler) {
    resume_handler = handler;
}

void key_request_resume() {
    resume_requested = 1;
}

void key_reset() {
    pool_used = 0;
    top = NONE;
    read_pos = 0;
    input_count = 0;
    hangup_handler = nullptr;
    resume_handler = nullptr;
    resume_requested = 0;
}

void term_reset() {
    tc_reset();
    output_reset();
    key_reset();
}
