// Chain, SlotTable and BucketSet: the small building blocks of the containers.
#include "support/support.h"

// ---- Chain ----------------------------------------------------------------

Chain *chain_create() {
    Chain *chain = static_cast<Chain *>(mem_alloc(sizeof(Chain)));
    if (chain != nullptr) {
        chain->first = nullptr;
        chain->last = nullptr;
    }
    return chain;
}

void chain_destroy(Chain *chain) {
    if (chain == nullptr) {
        return;
    }
    while (chain->first != nullptr) {
        chain_remove(chain, chain->first);
    }
    mem_free(chain);
}

namespace {

ChainNode *chain_new_node(void *value, ReleaseFn release) {
    ChainNode *node = static_cast<ChainNode *>(mem_alloc(sizeof(ChainNode)));
    if (node != nullptr) {
        node->value = value;
        node->previous = nullptr;
        node->next = nullptr;
        node->release = release;
    }
    return node;
}

} // namespace

ChainNode *chain_prepend(Chain *chain, void *value, ReleaseFn release) {
    ChainNode *node = chain_new_node(value, release);
    if (node == nullptr) {
        return nullptr;
    }
    return chain_link(chain, nullptr, node, chain->first);
}

ChainNode *chain_append(Chain *chain, void *value, ReleaseFn release) {
    ChainNode *node = chain_new_node(value, release);
    if (node == nullptr) {
        return nullptr;
    }
    return chain_link(chain, chain->last, node, nullptr);
}

ChainNode *chain_first(Chain *chain) {
    return chain == nullptr ? nullptr : chain->first;
}

int chain_is_empty(const Chain *chain) {
    return chain->first == nullptr ? 1 : 0;
}

ChainNode *chain_link(Chain *chain, ChainNode *previous, ChainNode *node, ChainNode *next) {
    node->previous = previous;
    node->next = next;
    if (previous != nullptr) {
        previous->next = node;
    } else {
        chain->first = node;
    }
    if (next != nullptr) {
        next->previous = node;
    } else {
        chain->last = node;
    }
    return node;
}

void chain_unlink(Chain *chain, ChainNode *node) {
    if (node->previous != nullptr) {
        node->previous->next = node->next;
    } else {
        chain->first = node->next;
    }
    if (node->next != nullptr) {
        node->next->previous = node->previous;
    } else {
        chain->last = node->previous;
    }
    node->previous = nullptr;
    node->next = nullptr;
}

void chain_remove(Chain *chain, ChainNode *node) {
    if (node->release != nullptr) {
        node->release(node->value);
    }
    chain_unlink(chain, node);
    mem_free(node);
}

// ---- SlotTable --------------------------------------------------------------

SlotTable *slot_table_create(int count) {
    if (count < 0) {
        return nullptr;
    }
    SlotTable *table = static_cast<SlotTable *>(mem_alloc(sizeof(SlotTable)));
    if (table == nullptr) {
        return nullptr;
    }
    // One spare slot's worth keeps a zero-count table a valid allocation.
    table->slots = static_cast<Slot *>(mem_alloc(sizeof(Slot) * (static_cast<size_t>(count) + 1)));
    if (table->slots == nullptr) {
        mem_free(table);
        return nullptr;
    }
    table->count = count;
    for (int i = 0; i < count; i++) {
        table->slots[i].in_use = 0;
        table->slots[i].index = i;
        table->slots[i].value = nullptr;
        table->slots[i].release = nullptr;
    }
    return table;
}

Slot *slot_table_set(SlotTable *table, int index, void *value, ReleaseFn release) {
    if (table == nullptr || index < 0 || index >= table->count) {
        return nullptr;
    }
    Slot *slot = &table->slots[index];
    if (slot->in_use) {
        return nullptr;
    }
    slot->in_use = 1;
    slot->value = value;
    slot->release = release;
    return slot;
}

void slot_table_destroy(SlotTable *table) {
    if (table == nullptr) {
        return;
    }
    for (int i = 0; i < table->count; i++) {
        if (table->slots[i].release != nullptr) {
            table->slots[i].release(table->slots[i].value);
        }
    }
    mem_free(table->slots);
    mem_free(table);
}

// ---- BucketSet --------------------------------------------------------------

namespace {

void release_chain(void *chain) {
    chain_destroy(static_cast<Chain *>(chain));
}

} // namespace

BucketSet *bucket_set_create(int n) {
    if (n < 1) {
        return nullptr;
    }
    BucketSet *set = static_cast<BucketSet *>(mem_alloc(sizeof(BucketSet)));
    if (set == nullptr) {
        return nullptr;
    }
    set->table = slot_table_create(n);
    if (set->table == nullptr) {
        mem_free(set);
        return nullptr;
    }
    for (int k = 0; k < n; k++) {
        Chain *chain = chain_create();
        if (chain == nullptr) {
            // Destroys the chains made so far: only filled slots have a release.
            bucket_set_destroy(set);
            return nullptr;
        }
        slot_table_set(set->table, k, chain, release_chain);
    }
    return set;
}

ChainNode *bucket_append(BucketSet *set, int k, void *value, ReleaseFn release) {
    if (set == nullptr || k < 0 || k >= set->table->count) {
        return nullptr;
    }
    return chain_append(static_cast<Chain *>(set->table->slots[k].value), value, release);
}

void bucket_set_destroy(BucketSet *set) {
    if (set == nullptr) {
        return;
    }
    slot_table_destroy(set->table);
    mem_free(set);
}
