// Window records: the fixed id table with its queue of free ids, the
// screen window made on first use, lookups and creation.
#include "win/win_internal.h"

#include <cstdint>

#include "term/term.h"

namespace {

struct IdSlot {
    int tag;
    int previous; // free queue or in-use list, -1 for none
    int next;
    Window *record;
};

IdSlot slots[WIN_MAX_IDS];
int free_first = -1;
int free_last = -1;
int used_first = -1;
int initialised = 0;

int create_window(bool screen, int parent, const char *name, int row, int column, int rows,
                  int columns);

int take_id() {
    if (free_first < 0) {
        if (used_first < 0 && !initialised)
            win_init();
        if (free_first < 0)
            return -1;
    }
    int id = free_first;
    free_first = slots[id].next;
    if (free_first >= 0)
        slots[free_first].previous = -1;
    else
        free_last = -1;
    slots[id].tag = WIN_TAG;
    slots[id].previous = -1;
    slots[id].next = used_first;
    if (used_first >= 0)
        slots[used_first].previous = id;
    used_first = id;
    slots[id].record = nullptr;
    return id;
}

void load_attribute_table() {
    for (int i = 0; i < 16; i++)
        win_attribute_table[i] = term_attribute_string(i);
}

void undo_create(int id, Window *w) {
    if (w) {
        if (w->children)
            chain_destroy(w->children);
        mem_free(w->cells);
        mem_free(w);
    }
    win_give_back_id(id);
}

} // namespace

const char *win_attribute_table[16] = {"", "", "", "", "", "", "", "",
                                       "", "", "", "", "", "", "", ""};

void win_init() {
    if (initialised)
        return;
    initialised = 1;
    for (int i = 0; i < WIN_MAX_IDS; i++) {
        slots[i].tag = 0;
        slots[i].previous = i - 1;
        slots[i].next = i + 1 < WIN_MAX_IDS ? i + 1 : -1;
        slots[i].record = nullptr;
    }
    free_first = 0;
    free_last = WIN_MAX_IDS - 1;
    used_first = -1;
    int id = create_window(true, -1, "Virtual Window", 0, 0, WIN_SCREEN_ROWS, WIN_SCREEN_COLUMNS);
    if (id >= 0)
        slots[id].record->flags &= static_cast<unsigned char>(~WIN_HIDDEN);
    load_attribute_table();
}

void win_give_back_id(int id) {
    if (id < 0 || id >= WIN_MAX_IDS || slots[id].tag != WIN_TAG)
        return;
    IdSlot &s = slots[id];
    if (s.previous >= 0)
        slots[s.previous].next = s.next;
    else
        used_first = s.next;
    if (s.next >= 0)
        slots[s.next].previous = s.previous;
    s.tag = 0;
    s.record = nullptr;
    s.next = -1;
    s.previous = free_last;
    if (free_last >= 0)
        slots[free_last].next = id;
    else
        free_first = id;
    free_last = id;
}

int win_check_id(int id) {
    win_init();
    return id >= 0 && id < WIN_MAX_IDS ? 0 : -1;
}

Window *win_lookup(int id) {
    win_init();
    if (id == -1)
        id = 0;
    if (id < 0 || id >= WIN_MAX_IDS)
        return nullptr;
    if (slots[id].tag != WIN_TAG || !slots[id].record)
        return nullptr;
    Window *w = slots[id].record;
    return w->tag == WIN_TAG ? w : nullptr;
}

int win_create(int parent, const char *name, int row, int column, int rows, int columns) {
    win_init();
    return create_window(false, parent, name, row, column, rows, columns);
}

namespace {

// A new window under parent; for the screen window (screen true), one with
// no parent at all.
int create_window(bool screen, int parent, const char *name, int row, int column, int rows,
                  int columns) {
    // The id is taken before the parent is looked up, so that a refused
    // window uses up its id as any failed creation does and the next window
    // gets the id after it.
    int id = take_id();
    if (id < 0)
        return -1;
    Window *w = static_cast<Window *>(mem_alloc(sizeof(Window)));
    if (!w) {
        win_give_back_id(id);
        return -1;
    }
    *w = Window{};
    w->tag = WIN_TAG;
    w->flags = WIN_HIDDEN;
    w->normal_colour = WIN_BLANK_COLOUR;
    w->line_colour = WIN_LINE_COLOUR;
    w->reverse_colour = WIN_REVERSE_COLOUR;
    w->rows = -1;
    w->columns = -1;
    w->parent = -1;
    slots[id].record = w;

    Window *up = nullptr;
    if (!screen) {
        up = win_lookup(parent);
        // The half-made window is already in its slot: as its own parent it
        // would be found there.
        if (!up || up == w) {
            undo_create(id, w);
            return -1;
        }
        if (parent == -1)
            parent = 0;
    }
    if (up) {
        if (rows < 0)
            rows = up->rows - row;
        if (columns < 0)
            columns = up->columns - column;
    }
    if (rows < 1 || columns < 1) {
        undo_create(id, w);
        return -1;
    }
    w->cells = static_cast<Cell *>(
        mem_alloc(sizeof(Cell) * static_cast<size_t>(rows) * static_cast<size_t>(columns)));
    w->children = chain_create();
    if (!w->cells || !w->children) {
        undo_create(id, w);
        return -1;
    }
    w->rows = rows;
    w->columns = columns;
    w->cell_count = rows * columns;
    w->screen_row = row;
    w->screen_column = column;
    if (up) {
        ChainNode *node = chain_prepend(
            up->children, reinterpret_cast<void *>(static_cast<intptr_t>(id)), nullptr);
        if (!node) {
            undo_create(id, w);
            return -1;
        }
        w->parent_node = node;
        w->parent = parent;
        w->screen_row += up->screen_row;
        w->screen_column += up->screen_column;
    }
    win_clear(id, 0, 0, WIN_ALL, WIN_ALL);
    int n = 0;
    if (name)
        for (; n < 23 && name[n]; n++)
            w->name[n] = name[n];
    w->name[n] = '\0';
    return id;
}

} // namespace

namespace {

// Ends a window and, below it, at most `depth` generations of descendants.
int destroy_tree(int id, int depth) {
    if (id <= 0)
        return 0;
    if (win_hide(id) != 0)
        return -1;
    Window *w = win_lookup(id);
    if (w->parent_node) {
        Window *up = win_lookup(w->parent);
        if (up && up->children)
            chain_unlink(up->children, w->parent_node);
        mem_free(w->parent_node);
        w->parent_node = nullptr;
    }
    if (w->children) {
        for (ChainNode *node = w->children->first; node; node = node->next) {
            int child_id = static_cast<int>(reinterpret_cast<intptr_t>(node->value));
            Window *child = win_lookup(child_id);
            if (!child)
                continue;
            child->parent = -1;
            child->parent_node = nullptr;
            if (depth > 0)
                destroy_tree(child_id, depth - 1);
        }
        chain_destroy(w->children);
        w->children = nullptr;
    }
    mem_free(w->cells);
    w->tag = 0;
    mem_free(w);
    win_give_back_id(id);
    return 0;
}

} // namespace

int win_destroy(int id) {
    return destroy_tree(id, WIN_MAX_IDS);
}
