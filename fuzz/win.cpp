// Arbitrary drawing: the bytes are a program of window calls (create,
// destroy, show, hide, text, blanking, line pieces, refresh, cursor, repaint)
// with arbitrary positions, sizes and texts. Whatever the program, no cell is
// written outside its window (the sanitizers watch), no text cell holds a
// control byte, and no control byte reaches the terminal.
#include "fuzz_screen.h"

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

int pick(Program &program) {
    if (live.empty())
        return program.byte() % 3 - 1; // -1, 0 or 1
    return live[program.byte() % live.size()];
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
__attribute__((noinline, no_sanitize("coverage", "undefined"))) void check_cells(int id) {
    Window *w = win_lookup(id);
    if (w == nullptr)
        return;
    if (w->cell_count != w->rows * w->columns)
        __builtin_trap();
    for (int i = 0; i < w->cell_count; i++)
        if (fuzz_control(w->cells[i].character))
            __builtin_trap();
}

// With output on, every cell but the guarded bottom-right one has been sent.
__attribute__((noinline, no_sanitize("coverage", "undefined"))) void check_screen() {
    Window *screen = win_lookup(0);
    for (int i = 0; i < WIN_SCREEN_ROWS * WIN_SCREEN_COLUMNS - 1; i++)
        if (screen->cells[i].attribute & ATTR_CHANGED)
            __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // Every input starts from a blank image with output on: the previous one
    // destroyed its windows, which blanked what they covered.
    fuzz_screen_start();
    term_screen_state(1);
    fuzz_sent.clear();
    // Straight drawing on the screen window by the previous input is undone.
    static bool drew_on_screen = false;
    if (drew_on_screen)
        win_refresh(0, 0, 0, -1, -1);
    drew_on_screen = false;
    Program program{data, size};
    // A full-screen refresh costs some thousand cell comparisons: a short
    // program keeps an input well under the time a large one would take.
    // Twelve steps still make, draw on, overlap and end several windows.
    for (int steps = 0; program.n > 0 && steps < 12; steps++) {
        int op = program.byte() % 14;
        int id = pick(program);
        // Drawing straight into the screen window changes the image behind
        // the refresh's back: allowed, but then not every mark is sent.
        if (id <= 0 && op >= 4 && op <= 10)
            drew_on_screen = true;
        switch (op) {
        case 0: {
            int row = program.number(), column = program.number();
            int rows = program.number(), columns = program.number();
            int made = win_create(id, "fuzz", row, column, rows, columns);
            if (made > 0)
                live.push_back(made);
            break;
        }
        case 1:
            win_destroy(id);
            forget_dead();
            break;
        case 2:
            win_show(id);
            break;
        case 3:
            win_hide(id);
            break;
        case 4: {
            int row = program.number(), column = program.number(), attribute = program.byte();
            win_puts(id, row, column, program.text().c_str(), attribute);
            break;
        }
        case 5:
            win_clear(id, program.number(), program.number(), program.number(), program.number());
            break;
        case 6:
            win_line_cell(id, program.byte() & 1, program.number(), program.number(),
                          program.byte() & 15);
            break;
        case 7:
        case 8: {
            int merge = program.byte() & 1, ends = program.byte() & 1;
            int row = program.number(), column = program.number(), length = program.number();
            if (op == 7)
                win_hline(id, merge, ends, row, column, length);
            else
                win_vline(id, merge, ends, row, column, length);
            break;
        }
        case 9:
            win_box(id, program.byte() & 1, program.number(), program.number(), program.number(),
                    program.number());
            break;
        case 10:
            win_put_lines(id, program.byte() & 1, program.number(), program.number(),
                          program.text().c_str());
            break;
        case 11:
            win_refresh(id, program.number(), program.number(), program.number(), program.number());
            break;
        case 12:
            win_cursor(id, program.number(), program.number());
            break;
        default:
            if (program.byte() & 1)
                term_repaint();
            else
                term_screen_state(program.byte() % 3 - 1);
            break;
        }
    }
    // Everything still waiting goes out now (switching output on sends it).
    term_screen_state(1);
    if (!drew_on_screen)
        check_screen();
    check_cells(0);
    for (int id : live)
        check_cells(id);
    if (!fuzz_sent_clean())
        __builtin_trap();
    for (int id : live)
        win_destroy(id);
    live.clear();
    return 0;
}
