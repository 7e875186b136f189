// Arbitrary drawing: the bytes are a program of window calls (create,
// destroy, show, hide, text, blanking, line pieces, refresh, cursor, repaint)
// with arbitrary positions, sizes and texts, in a UTF-8 locale or not. Every
// call runs on the library and on the model of win_model.h; after every step
// their results, the bytes sent, the whole screen image with its change marks
// and the window that the step named must be the same. Besides, no text cell
// holds a control byte and none reaches the terminal.
#include "fuzz_screen.h"
#include "win_model.h"

#include <cstdint>
#include <vector>

namespace {

struct Program {
    const uint8_t *p;
    size_t n;
    int byte() {
        if (n == 0)
            return 0;
        n--;
        return *p++;
    }
    // Small numbers around the screen's size, some negative.
    int number() { return static_cast<int8_t>(byte()) / 3; }
    // Text up to the next 0 byte or 40 characters.
    std::string text() {
        std::string s;
        while (n > 0 && s.size() < 40) {
            int c = byte();
            if (c == 0)
                break;
            s += static_cast<char>(c);
        }
        return s;
    }
};

std::vector<int> live;
model::State *twin;

// Mostly a live window; now and then any id, for the refusals.
int pick(Program &program) {
    int b = program.byte();
    if (live.empty() || b >= 240)
        return b % 104 - 2; // -2 to 101
    return live[b % live.size()];
}

void forget_dead() {
    std::vector<int> kept;
    for (int id : live)
        if (win_lookup(id) != nullptr)
            kept.push_back(id);
    live = kept;
}

// The checks are not what is being fuzzed: kept out of the coverage and of
// the undefined-behaviour checks, which cost more than the cells checked.
__attribute__((noinline, cold, no_sanitize("coverage", "undefined"))) void
differ(int step, int op, const char *what) {
    fprintf(stderr, "window model differs at step %d (operation %d): %s\n", step, op, what);
    fprintf(stderr, "library sent: %s\nmodel sent:   %s\n", fuzz_sent.c_str(), twin->sent.c_str());
    __builtin_trap();
}

__attribute__((noinline, no_sanitize("coverage", "undefined"))) bool
same_window(const Window *w, const model::MWin *m) {
    if (w == nullptr || m == nullptr)
        return w == nullptr && m == nullptr;
    if (w->rows != m->rows || w->columns != m->cols || w->screen_row != m->srow ||
        w->screen_column != m->scol || w->cursor_row != m->crow || w->cursor_column != m->ccol ||
        ((w->flags & WIN_HIDDEN) != 0) != m->hidden)
        return false;
    return std::memcmp(w->cells, m->cells, sizeof(Cell) * m->count) == 0;
}

// After every step: the same bytes sent, none of them a control byte (nor,
// in a UTF-8 locale, a byte from 0x80 up: the terminal's strings here are
// plain ASCII); the same image and marks; the same window named.
__attribute__((noinline, no_sanitize("coverage", "undefined"))) void agree(int step, int op,
                                                                           int id) {
    if (fuzz_sent != twin->sent)
        differ(step, op, "bytes sent");
    for (unsigned char c : fuzz_sent)
        if (fuzz_control(c) || (c >= 0x80 && twin->utf8))
            differ(step, op, "a control or high byte sent");
    fuzz_sent.clear();
    twin->sent.clear();
    static_assert(sizeof(Cell) == sizeof(model::MCell));
    if (std::memcmp(win_lookup(0)->cells, twin->image(),
                    sizeof(Cell) * WIN_SCREEN_ROWS * WIN_SCREEN_COLUMNS) != 0)
        differ(step, op, "screen image");
    if (!same_window(win_lookup(id), twin->find(id)))
        differ(step, op, "window record or cells");
}

// With output on, every cell but the guarded bottom-right one has been sent.
__attribute__((noinline, no_sanitize("coverage", "undefined"))) void check_screen() {
    Window *screen = win_lookup(0);
    for (int i = 0; i < WIN_SCREEN_ROWS * WIN_SCREEN_COLUMNS - 1; i++)
        if (screen->cells[i].attribute & ATTR_CHANGED)
            __builtin_trap();
}

__attribute__((noinline, no_sanitize("coverage", "undefined"))) void twin_start() {
    twin = new model::State;
    twin->start();
}

// One call on the library and its twin on the model; the arguments are read
// first, in a fixed order.
int step_both(Program &program, int op, int id, int step) {
    int got = 0, want = 0;
    switch (op) {
    case 0: {
        int row = program.number(), column = program.number();
        int rows = program.number(), columns = program.number();
        got = win_create(id, "fuzz", row, column, rows, columns);
        want = twin->create(id, row, column, rows, columns);
        if (got > 0)
            live.push_back(got);
        id = got;
        break;
    }
    case 1:
        got = win_destroy(id);
        want = twin->destroy(id);
        forget_dead();
        break;
    case 2:
        got = win_show(id);
        want = twin->show(id);
        break;
    case 3:
        got = win_hide(id);
        want = twin->hide(id);
        break;
    case 4:
    case 5: {
        // Text with the line attribute, over line cells or not, is text.
        int row = program.number(), column = program.number(), attribute = program.byte();
        if (op == 5)
            attribute |= ATTR_LINE;
        std::string text = program.text();
        got = win_puts(id, row, column, text.c_str(), attribute);
        want = twin->puts(id, row, column, text, attribute);
        break;
    }
    case 6: {
        int row = program.number(), column = program.number();
        int rows = program.number(), columns = program.number();
        got = win_clear(id, row, column, rows, columns);
        want = twin->clear(id, row, column, rows, columns);
        break;
    }
    case 7: {
        // Mask 0 keeps the cell's character, whatever it is.
        int merge = program.byte() & 1, row = program.number(), column = program.number();
        int mask = program.byte() & 15;
        got = win_line_cell(id, merge, row, column, mask);
        want = twin->line_cell(id, merge, row, column, mask);
        break;
    }
    case 8:
    case 9: {
        int merge = program.byte() & 1, ends = program.byte() & 1;
        int row = program.number(), column = program.number(), length = program.number();
        bool down = op == 9;
        got = down ? win_vline(id, merge, ends, row, column, length)
                   : win_hline(id, merge, ends, row, column, length);
        want = twin->line(id, merge, ends, row, column, length, down);
        break;
    }
    case 10: {
        int merge = program.byte() & 1, row = program.number(), column = program.number();
        int rows = program.number(), columns = program.number();
        got = win_box(id, merge, row, column, rows, columns);
        want = twin->box(id, merge, row, column, rows, columns);
        break;
    }
    case 11: {
        int merge = program.byte() & 1, row = program.number(), column = program.number();
        std::string pattern = program.text();
        got = win_put_lines(id, merge, row, column, pattern.c_str());
        want = twin->put_lines(id, merge, row, column, pattern);
        break;
    }
    case 12: {
        int row = program.number(), column = program.number();
        int rows = program.number(), columns = program.number();
        got = win_refresh(id, row, column, rows, columns);
        want = twin->refresh(id, row, column, rows, columns);
        break;
    }
    case 13: {
        int row = program.number(), column = program.number();
        got = win_cursor(id, row, column);
        want = twin->cursor(id, row, column);
        break;
    }
    default:
        if (program.byte() & 1) {
            got = term_repaint();
            want = twin->repaint();
        } else {
            int mode = program.byte() % 3 - 1;
            got = term_screen_state(mode);
            want = twin->screen_state(mode);
        }
        break;
    }
    if (got != want)
        differ(step, op, "result");
    agree(step, op, id);
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz_screen_start();
    if (twin == nullptr)
        twin_start();
    fuzz_sent.clear();
    // Every input starts from a blank image with output on: the previous one
    // destroyed its windows, which blanked what they covered. The model has
    // followed every step, so it starts from the same image.
    term_screen_state(1);
    twin->screen_state(1);
    // Straight drawing on the screen window by the previous input is undone.
    static bool drew_on_screen = false;
    if (drew_on_screen) {
        win_refresh(0, 0, 0, -1, -1);
        twin->refresh(0, 0, 0, -1, -1);
    }
    drew_on_screen = false;
    agree(-1, -1, 0);
    Program program{data, size};
    int utf8 = program.byte() & 1;
    term_set_utf8_locale(utf8);
    twin->utf8 = utf8;
    // A full-screen refresh costs some thousand cell comparisons on each
    // side: a short program keeps an input well under the time a large one
    // would take. Twelve steps still make, draw on, overlap and end several
    // windows.
    for (int step = 0; program.n > 0 && step < 12; step++) {
        int op = program.byte() % 15;
        int id = pick(program);
        // Drawing straight into the screen window changes the image behind
        // the refresh's back: allowed, but then not every mark is sent.
        if (id <= 0 && op >= 4 && op <= 11)
            drew_on_screen = true;
        step_both(program, op, id, step);
    }
    // Everything still waiting goes out now (switching output on sends it).
    term_screen_state(1);
    twin->screen_state(1);
    agree(12, -1, 0);
    if (!drew_on_screen)
        check_screen();
    for (int id : live) {
        win_destroy(id);
        twin->destroy(id);
        agree(13, 1, id);
    }
    live.clear();
    return 0;
}
