// A document as the documentation viewer reads it, shown in a pager and
// scrolled by keys: after three bytes of geometry, the bytes up to the first
// 0xFF are the document, the rest the keys typed. Each text row must then
// show its line cut and padded to the width (control bytes as stand-ins), the
// marks must match the position, and no control byte may reach the terminal.
#include "forms/forms.h"
#include "fuzz_memory.h"
#include "fuzz_screen.h"
#include "support/support.h"

#include <cstdint>

namespace {

// A "#" in want (marks only) stands for a line piece. Checks are not what is
// being fuzzed: kept out of the coverage.
__attribute__((noinline, no_sanitize("coverage"))) void expect_row(int window, int row, int column,
                                                                   const std::string &want,
                                                                   int attribute,
                                                                   bool marks = false) {
    Window *w = win_lookup(window);
    for (size_t i = 0; i < want.size(); i++) {
        const Cell &cell = w->cells[row * w->columns + column + static_cast<int>(i)];
        bool line = marks && want[i] == '#';
        if (line ? cell.attribute != ATTR_LINE
                 : cell.character != static_cast<unsigned char>(want[i]) ||
                       cell.attribute != attribute)
            __builtin_trap();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3)
        return 0;
    // The first bytes choose the geometry (up to 8 rows of 80 columns: the
    // viewer's 21 rows scroll and render the same way at nearly three times
    // the cost) and the first line shown.
    int rows = data[0] % 8 + 1, width = data[1] % 80 + 1, top = data[2];
    data += 3;
    size -= 3;
    // The previous input's window, destroyed, left the image blank.
    fuzz_screen_start();
    fuzz_sent.clear();
    const uint8_t *end = static_cast<const uint8_t *>(memchr(data, 0xff, size));
    size_t document = end ? static_cast<size_t>(end - data) : size;
    const uint8_t *keys = end ? end + 1 : data + size;
    size_t typed = size - static_cast<size_t>(keys - data);
    widget_type(keys, typed < 4 ? typed : 4, 256); // each scroll redraws every row

    FILE *file = fuzz_memory_file(data, fuzz_first_lines(data, document, 32));
    List *lines = list_create(25);
    char msg[AV_MSG_MAX];
    if (read_line_stream(file, "doc", lines, "", msg) < 0)
        __builtin_trap();
    fclose(file);

    // Every line the pager draws refreshes its whole window. The window hangs
    // below the screen with only its top border row on it, which the pager
    // does not draw: those refreshes compose one row and send nothing. The
    // window target covers composing and sending; here the window's own cells
    // are checked, and whatever does go out (cursor motions) must hold no
    // control byte.
    int columns = width < 8 ? 8 : width;
    int window = win_create(-1, "", WIN_SCREEN_ROWS - 1, 0, rows + 2, columns);
    Pager pager;
    pager_init(&pager);
    pager.window = window;
    pager.count = list_count(lines);
    pager.top = top % (pager.count + 1);
    pager.first_row = 1;
    pager.rows = rows;
    pager.width = width;
    pager.park_row = rows + 1;
    pager.mark_row = rows + 1;
    pager.mark_column = columns - 8;
    pager_show(&pager, lines);
    win_show(window);
    int key;
    do
        key = pager_run(&pager, lines);
    while (key != 'x' || !widget_keys_finished);

    for (int r = 0; r < pager.rows; r++) {
        int i = pager.top + r;
        std::string want(static_cast<size_t>(width), ' ');
        if (i < pager.count) {
            const char *line = static_cast<const char *>(list_get(lines, i));
            for (int c = 0; c < width && line[c]; c++)
                want[c] = static_cast<char>(fuzz_visible(static_cast<unsigned char>(line[c])));
        }
        expect_row(window, pager.first_row + r, 0, want, 0);
    }
    const char *marks = pager.count <= pager.rows                                ? "########"
                        : pager.top > 0 && pager.top >= pager.count - pager.rows ? "^ More #"
                        : pager.top == 0                                         ? "# More v"
                                                                                 : "^ More v";
    expect_row(window, pager.mark_row, pager.mark_column, marks, ATTR_REV, true);
    if (!fuzz_sent_clean())
        __builtin_trap();

    win_destroy(window);
    list_destroy(lines);
    return 0;
}
