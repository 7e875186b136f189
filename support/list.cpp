// List: an ordered sequence of data pointers addressed by position.
//
// The elements live in a chunked array (a directory of fixed-size chunks with
// the starting position of each), so positional access is a binary search over
// the chunks and an insertion moves at most one chunk's worth of pointers.
// Element positions are refreshed when an element is looked up.
//
// list_destroy releases the data bucket by bucket (position mod buckets),
// each bucket in the order in which its elements were last (re)linked into it,
// as if every insertion and deletion had relinked all later elements one by
// one. That order is kept without touching the later elements: each element
// records when it was created, and a stack of renumberings (first position,
// time) says when each suffix of the list was last relinked.
#include "support/support.h"

#include <algorithm>
#include <cstring>

namespace list_detail {

constexpr int32_t CHUNK_CAP = 512;

struct Node {
    ListElement element;
    int64_t stamp; // time of creation
};

struct Chunk {
    int32_t size;
    Node *items[CHUNK_CAP];
};

// Elements at positions >= from were relinked at time, in position order.
struct Renumbering {
    int32_t from;
    int64_t time;
};

struct Release {
    int32_t bucket;
    int32_t position;
    int64_t time;
    Node *node;
};

} // namespace list_detail

using list_detail::Chunk;
using list_detail::CHUNK_CAP;
using list_detail::Node;
using list_detail::Renumbering;

struct List {
    int32_t count;
    int32_t buckets;
    Chunk **chunks;
    int32_t *starts; // position of the first element of each chunk
    int32_t chunk_count;
    int32_t chunk_capacity;
    int32_t cached; // chunk of the last lookup: sequential scans stay in it
    Renumbering *renumberings;
    int32_t renumbering_count;
    int32_t renumbering_capacity;
    int64_t clock;
};

List *list_create(int buckets) {
    if (buckets < 1) {
        return nullptr;
    }
    List *list = static_cast<List *>(mem_alloc(sizeof(List)));
    if (list == nullptr) {
        return nullptr;
    }
    memset(list, 0, sizeof(List));
    list->buckets = buckets;
    return list;
}

int list_count(const List *list) {
    return list == nullptr ? 0 : list->count;
}

namespace {

int32_t find_chunk(List *list, int32_t position) {
    int32_t c = list->cached;
    if (c < list->chunk_count && position >= list->starts[c] &&
        position < list->starts[c] + list->chunks[c]->size) {
        return c;
    }
    int32_t low = 0;
    int32_t high = list->chunk_count - 1;
    while (low < high) {
        int32_t mid = low + (high - low + 1) / 2;
        if (list->starts[mid] <= position) {
            low = mid;
        } else {
            high = mid - 1;
        }
    }
    list->cached = low;
    return low;
}

Node *node_at(List *list, int position) {
    if (list == nullptr || position < 0 || position >= list->count) {
        return nullptr;
    }
    int32_t c = find_chunk(list, position);
    Node *node = list->chunks[c]->items[position - list->starts[c]];
    node->element.position = position;
    return node;
}

} // namespace

ListElement *list_element(List *list, int position) {
    Node *node = node_at(list, position);
    return node == nullptr ? nullptr : &node->element;
}

void *list_get(List *list, int position) {
    Node *node = node_at(list, position);
    return node == nullptr ? nullptr : node->element.data;
}

namespace {

// Room for one more chunk in the directory and one more renumbering (there are
// never more renumberings than elements), taken before anything changes so
// that a failed insertion leaves the list as it was.
int reserve(List *list) {
    if (list->renumbering_capacity < list->count + 1) {
        int32_t capacity = std::max(16, list->renumbering_capacity * 2);
        auto *grown = static_cast<Renumbering *>(mem_alloc(sizeof(Renumbering) * capacity));
        if (grown == nullptr) {
            return -1;
        }
        if (list->renumbering_count > 0) {
            memcpy(grown, list->renumberings, sizeof(Renumbering) * list->renumbering_count);
        }
        mem_free(list->renumberings);
        list->renumberings = grown;
        list->renumbering_capacity = capacity;
    }
    if (list->chunk_count == list->chunk_capacity) {
        int32_t capacity = std::max(8, list->chunk_capacity * 2);
        auto *chunks = static_cast<Chunk **>(mem_alloc(sizeof(Chunk *) * capacity));
        auto *starts = static_cast<int32_t *>(mem_alloc(sizeof(int32_t) * capacity));
        if (chunks == nullptr || starts == nullptr) {
            mem_free(chunks);
            mem_free(starts);
            return -1;
        }
        if (list->chunk_count > 0) {
            memcpy(chunks, list->chunks, sizeof(Chunk *) * list->chunk_count);
            memcpy(starts, list->starts, sizeof(int32_t) * list->chunk_count);
        }
        mem_free(list->chunks);
        mem_free(list->starts);
        list->chunks = chunks;
        list->starts = starts;
        list->chunk_capacity = capacity;
    }
    return 0;
}

void insert_chunk(List *list, int32_t c, Chunk *chunk, int32_t start) {
    int32_t after = list->chunk_count - c;
    memmove(list->chunks + c + 1, list->chunks + c, sizeof(Chunk *) * after);
    memmove(list->starts + c + 1, list->starts + c, sizeof(int32_t) * after);
    list->chunks[c] = chunk;
    list->starts[c] = start;
    list->chunk_count++;
}

// Puts node at position (0..count); -1 when memory runs out, nothing changed.
int place(List *list, int32_t position, Node *node) {
    if (reserve(list) != 0) {
        return -1;
    }
    int32_t c;
    Chunk *target;
    int32_t offset;
    bool at_end = position == list->count;
    if (list->chunk_count == 0 ||
        (at_end && list->chunks[list->chunk_count - 1]->size == CHUNK_CAP)) {
        // Appends open a fresh chunk so that a list read in order packs tightly.
        target = static_cast<Chunk *>(mem_alloc(sizeof(Chunk)));
        if (target == nullptr) {
            return -1;
        }
        target->size = 0;
        c = list->chunk_count;
        insert_chunk(list, c, target, list->count);
        offset = 0;
    } else {
        c = at_end ? list->chunk_count - 1 : find_chunk(list, position);
        target = list->chunks[c];
        offset = position - list->starts[c];
        if (target->size == CHUNK_CAP) {
            Chunk *upper = static_cast<Chunk *>(mem_alloc(sizeof(Chunk)));
            if (upper == nullptr) {
                return -1;
            }
            int32_t keep = CHUNK_CAP / 2;
            upper->size = CHUNK_CAP - keep;
            memcpy(upper->items, target->items + keep, sizeof(Node *) * upper->size);
            target->size = keep;
            insert_chunk(list, c + 1, upper, list->starts[c] + keep);
            if (offset > keep) {
                c++;
                target = upper;
                offset -= keep;
            }
        }
    }
    memmove(target->items + offset + 1, target->items + offset,
            sizeof(Node *) * (target->size - offset));
    target->items[offset] = node;
    target->size++;
    for (int32_t j = c + 1; j < list->chunk_count; j++) {
        list->starts[j]++;
    }
    list->cached = c;
    list->count++;
    return 0;
}

Node *take(List *list, int32_t position) {
    int32_t c = find_chunk(list, position);
    Chunk *chunk = list->chunks[c];
    int32_t offset = position - list->starts[c];
    Node *node = chunk->items[offset];
    memmove(chunk->items + offset, chunk->items + offset + 1,
            sizeof(Node *) * (chunk->size - offset - 1));
    chunk->size--;
    for (int32_t j = c + 1; j < list->chunk_count; j++) {
        list->starts[j]--;
    }
    if (chunk->size == 0) {
        mem_free(chunk);
        int32_t after = list->chunk_count - c - 1;
        memmove(list->chunks + c, list->chunks + c + 1, sizeof(Chunk *) * after);
        memmove(list->starts + c, list->starts + c + 1, sizeof(int32_t) * after);
        list->chunk_count--;
    }
    list->cached = 0;
    list->count--;
    return node;
}

// Every element at a position >= from has just been relinked, in position
// order; older renumberings of those positions no longer matter.
void renumbered(List *list, int32_t from) {
    while (list->renumbering_count > 0 &&
           list->renumberings[list->renumbering_count - 1].from >= from) {
        list->renumbering_count--;
    }
    list->renumberings[list->renumbering_count].from = from;
    list->renumberings[list->renumbering_count].time = ++list->clock;
    list->renumbering_count++;
}

void release_node(Node *node) {
    if (node->element.release != nullptr) {
        node->element.release(node->element.data);
    }
    mem_free(node);
}

ListElement *add(List *list, int32_t position, void *data, ReleaseFn release) {
    Node *node = static_cast<Node *>(mem_alloc(sizeof(Node)));
    if (node == nullptr) {
        return nullptr;
    }
    node->element.position = position;
    node->element.data = data;
    node->element.release = release;
    int32_t before = list->count;
    if (place(list, position, node) != 0) {
        mem_free(node); // the data stays with the caller
        return nullptr;
    }
    if (position < before) {
        renumbered(list, position + 1);
    }
    node->stamp = ++list->clock; // linked after the elements it moved
    return &node->element;
}

} // namespace

ListElement *list_append(List *list, void *data, ReleaseFn release) {
    if (list == nullptr) {
        return nullptr;
    }
    return add(list, list->count, data, release);
}

ListElement *list_insert(List *list, int position, void *data, ReleaseFn release) {
    if (list == nullptr || position < 0) {
        return nullptr;
    }
    return add(list, std::min(position, list->count), data, release);
}

int list_delete(List *list, int position) {
    if (list == nullptr || position < 0 || position >= list->count) {
        return -1;
    }
    Node *node = take(list, position);
    release_node(node);
    if (position < list->count) {
        renumbered(list, position);
    }
    while (list->renumbering_count > 0 &&
           list->renumberings[list->renumbering_count - 1].from >= list->count) {
        list->renumbering_count--;
    }
    return 0;
}

void list_clear(List *list) {
    if (list == nullptr) {
        return;
    }
    for (int i = list->count - 1; i >= 0; i--) {
        list_delete(list, i);
    }
}

void list_destroy(List *list) {
    if (list == nullptr) {
        return;
    }
    using list_detail::Release;
    int32_t n = list->count;
    Release *order = n > 0 ? static_cast<Release *>(mem_alloc(sizeof(Release) * n)) : nullptr;
    if (order != nullptr) {
        int32_t position = 0;
        int32_t r = -1; // last renumbering whose first position is <= position
        for (int32_t c = 0; c < list->chunk_count; c++) {
            for (int32_t i = 0; i < list->chunks[c]->size; i++, position++) {
                while (r + 1 < list->renumbering_count &&
                       list->renumberings[r + 1].from <= position) {
                    r++;
                }
                Node *node = list->chunks[c]->items[i];
                Release &entry = order[position];
                entry.bucket = position % list->buckets;
                entry.node = node;
                if (r >= 0 && list->renumberings[r].time > node->stamp) {
                    entry.time = list->renumberings[r].time;
                    entry.position = position;
                } else {
                    entry.time = node->stamp;
                    entry.position = 0;
                }
            }
        }
        std::sort(order, order + n, [](const Release &a, const Release &b) {
            if (a.bucket != b.bucket) {
                return a.bucket < b.bucket;
            }
            if (a.time != b.time) {
                return a.time < b.time;
            }
            return a.position < b.position;
        });
        for (int32_t i = 0; i < n; i++) {
            release_node(order[i].node);
        }
        mem_free(order);
    } else if (n > 0) {
        // Out of memory for the ordering: still release every element once,
        // bucket by bucket in position order.
        for (int32_t bucket = 0; bucket < list->buckets && bucket < n; bucket++) {
            for (int32_t p = bucket; p < n; p += list->buckets) {
                release_node(node_at(list, p));
            }
        }
    }
    for (int32_t c = 0; c < list->chunk_count; c++) {
        mem_free(list->chunks[c]);
    }
    mem_free(list->chunks);
    mem_free(list->starts);
    mem_free(list->renumberings);
    mem_free(list);
}
