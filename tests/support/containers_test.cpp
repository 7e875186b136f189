#include "support/support.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<intptr_t> released;
void record(void *data) {
    released.push_back(reinterpret_cast<intptr_t>(data));
}

void *tag(intptr_t id) {
    return reinterpret_cast<void *>(id);
}

List *make_list(int count, int buckets = 25) {
    List *list = list_create(buckets);
    for (int i = 0; i < count; i++) {
        list_append(list, tag(100 + i), record);
    }
    return list;
}

TEST(SupportChain, LinkUnlinkAndDestroyOrder) {
    released.clear();
    Chain *chain = chain_create();
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(chain_is_empty(chain), 1);
    ChainNode *b = chain_append(chain, tag(2), record);
    ChainNode *a = chain_prepend(chain, tag(1), record);
    ChainNode *c = chain_append(chain, tag(3), nullptr);
    EXPECT_EQ(chain_first(chain), a);
    EXPECT_EQ(a->next, b);
    EXPECT_EQ(chain->last, c);
    chain_unlink(chain, b);
    EXPECT_EQ(b->previous, nullptr);
    EXPECT_EQ(b->next, nullptr);
    EXPECT_EQ(a->next, c);
    EXPECT_EQ(c->previous, a);
    EXPECT_TRUE(released.empty());    // unlink calls nothing
    chain_link(chain, nullptr, b, a); // b becomes first
    EXPECT_EQ(chain->first, b);
    EXPECT_EQ(a->previous, b);
    chain_remove(chain, a);
    EXPECT_EQ(released, std::vector<intptr_t>({1}));
    EXPECT_EQ(b->next, c);
    chain_destroy(chain); // b then c (c has no release)
    EXPECT_EQ(released, std::vector<intptr_t>({1, 2}));
}

TEST(SupportSlots, SetRefusesUsedSlotAndDestroyCallsInIndexOrder) {
    released.clear();
    SlotTable *table = slot_table_create(4);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(table->slots[i].in_use, 0);
        EXPECT_EQ(table->slots[i].index, i);
    }
    EXPECT_NE(slot_table_set(table, 3, tag(30), record), nullptr);
    EXPECT_NE(slot_table_set(table, 1, tag(10), record), nullptr);
    EXPECT_EQ(slot_table_set(table, 1, tag(11), record), nullptr);
    EXPECT_EQ(table->slots[1].value, tag(10));
    EXPECT_EQ(slot_table_set(table, 4, tag(40), record), nullptr);
    EXPECT_EQ(slot_table_set(table, -1, tag(40), record), nullptr);
    slot_table_destroy(table);
    EXPECT_EQ(released, std::vector<intptr_t>({10, 30}));
}

TEST(SupportSlots, BucketSetDestroysEveryChain) {
    released.clear();
    EXPECT_EQ(bucket_set_create(0), nullptr);
    BucketSet *set = bucket_set_create(3);
    ASSERT_NE(set, nullptr);
    bucket_append(set, 2, tag(21), record);
    bucket_append(set, 0, tag(1), record);
    bucket_append(set, 2, tag(22), record);
    EXPECT_EQ(bucket_append(set, 3, tag(99), record), nullptr);
    bucket_set_destroy(set);
    EXPECT_EQ(released, std::vector<intptr_t>({1, 21, 22}));
}

TEST(SupportList, EmptyList) {
    List *list = list_create(25);
    EXPECT_EQ(list_count(list), 0);
    EXPECT_EQ(list_get(list, 0), nullptr);
    EXPECT_EQ(list_element(list, -1), nullptr);
    EXPECT_EQ(list_delete(list, 0), -1);
    list_clear(list);
    EXPECT_EQ(list_insert(list, -1, tag(1), record), nullptr);
    EXPECT_EQ(list_count(list), 0);
    list_destroy(list);
    EXPECT_EQ(list_create(0), nullptr);
}

TEST(SupportList, ClearReleasesFromTheEnd) {
    released.clear();
    List *list = make_list(4);
    list_append(list, tag(5), nullptr);
    list_clear(list);
    EXPECT_EQ(list_count(list), 0);
    EXPECT_EQ(released, std::vector<intptr_t>({103, 102, 101, 100}));
    list_append(list, tag(9), record);
    EXPECT_EQ(list_get(list, 0), tag(9));
    list_destroy(list);
    EXPECT_EQ(released.size(), 5u);
}

// ---- reference: the bucket layout, relinking every later element -----------

struct RefElement {
    int position;
    intptr_t id;
};

std::vector<intptr_t> ref_released;
void ref_record(void *element) {
    auto *e = static_cast<RefElement *>(element);
    ref_released.push_back(e->id);
    delete e;
}

struct RefList {
    BucketSet *set;
    int n;
    int count = 0;
};

Chain *ref_bucket(RefList &r, int k) {
    return static_cast<Chain *>(r.set->table->slots[k].value);
}

ChainNode *ref_find(RefList &r, int p) {
    for (ChainNode *node = chain_first(ref_bucket(r, p % r.n)); node; node = node->next) {
        if (static_cast<RefElement *>(node->value)->position == p) {
            return node;
        }
    }
    return nullptr;
}

void ref_renumber(RefList &r, int s, int d) {
    for (int i = s; i < r.count; i++) {
        ChainNode *node = ref_find(r, i);
        chain_unlink(ref_bucket(r, i % r.n), node);
        static_cast<RefElement *>(node->value)->position += d;
        Chain *to = ref_bucket(r, (i + d) % r.n);
        chain_link(to, to->last, node, nullptr);
    }
    r.count += d;
}

void ref_insert(RefList &r, int p, intptr_t id) {
    if (p > r.count) {
        p = r.count;
    }
    ref_renumber(r, p, 1);
    bucket_append(r.set, p % r.n, new RefElement{p, id}, ref_record);
}

int ref_delete(RefList &r, int p) {
    ChainNode *node = p >= 0 && p < r.count ? ref_find(r, p) : nullptr;
    if (node == nullptr) {
        return -1;
    }
    chain_remove(ref_bucket(r, p % r.n), node);
    ref_renumber(r, p + 1, -1);
    return 0;
}

TEST(SupportList, MatchesBucketLayoutReleaseOrder) {
    struct Case {
        int buckets;
        int start;
        int operations;
        int sequences;
    };
    // Sizes beyond a few hundred exercise the chunk splits and merges.
    const Case cases[] = {{1, 0, 60, 40},   {2, 0, 80, 40},   {3, 5, 120, 40},
                          {25, 0, 300, 30}, {7, 600, 200, 4}, {25, 1100, 250, 3}};
    std::mt19937 random(12345);
    for (const Case &c : cases) {
        for (int sequence = 0; sequence < c.sequences; sequence++) {
            SCOPED_TRACE("buckets " + std::to_string(c.buckets) + " sequence " +
                         std::to_string(sequence));
            released.clear();
            ref_released.clear();
            List *list = list_create(c.buckets);
            RefList ref{bucket_set_create(c.buckets), c.buckets};
            intptr_t next_id = 1;
            for (int i = 0; i < c.start; i++, next_id++) {
                list_append(list, tag(next_id), record);
                ref_insert(ref, ref.count, next_id);
            }
            for (int op = 0; op < c.operations; op++) {
                int kind = static_cast<int>(random() % 10);
                int count = list_count(list);
                if (kind < 3) {
                    list_append(list, tag(next_id), record);
                    ref_insert(ref, ref.count, next_id++);
                } else if (kind < 7) {
                    int p = static_cast<int>(random() % (count + 3));
                    ListElement *e = list_insert(list, p, tag(next_id), record);
                    ASSERT_EQ(e->position, std::min(p, count));
                    ref_insert(ref, p, next_id++);
                } else {
                    int p = static_cast<int>(random() % (count + 2)) - 1;
                    ASSERT_EQ(list_delete(list, p), ref_delete(ref, p));
                }
                ASSERT_EQ(list_count(list), ref.count);
                ASSERT_EQ(released, ref_released);
            }
            for (int p = 0; p < ref.count; p++) {
                ChainNode *node = ref_find(ref, p);
                ASSERT_EQ(list_get(list, p), tag(static_cast<RefElement *>(node->value)->id));
                ASSERT_EQ(list_element(list, p)->position, p);
            }
            list_destroy(list);
            bucket_set_destroy(ref.set);
            ASSERT_EQ(released, ref_released);
        }
    }
}

// ---- SortedList --------------------------------------------------------------

int compare_text(const void *key, const void *data, int) {
    return str_casecmp(static_cast<const char *>(key), static_cast<const char *>(data));
}

std::vector<std::string> contents(SortedList *sorted) {
    std::vector<std::string> out;
    for (int i = 0; i < slist_count(sorted); i++) {
        out.push_back(static_cast<const char *>(list_get(sorted->list, i)));
    }
    return out;
}

TEST(SupportSortedList, InsertOrder) {
    struct Case {
        int unique;
        std::vector<const char *> keys;
        std::vector<std::string> expected;
        int refused;
    };
    const Case cases[] = {
        {0, {"pear", "apple", "plum"}, {"apple", "pear", "plum"}, 0},
        {0, {"bob", "Ann", "ann", "Cy"}, {"ann", "Ann", "bob", "Cy"}, 0},
        {1, {"bob", "Ann", "ann", "Cy"}, {"Ann", "bob", "Cy"}, 1},
        {1, {"a", "a", "a"}, {"a"}, 2},
        {0, {}, {}, 0},
    };
    for (const Case &c : cases) {
        SortedList *sorted = slist_create(25, c.unique, compare_text);
        ASSERT_NE(sorted, nullptr);
        int refused = 0;
        for (const char *key : c.keys) {
            char *copy = str_dup(key);
            if (slist_insert(sorted, copy, copy, str_free) == nullptr) {
                refused++;
                str_free(copy); // a refused insertion leaves the data with us
            }
        }
        EXPECT_EQ(contents(sorted), c.expected);
        EXPECT_EQ(refused, c.refused);
        slist_destroy(sorted);
    }
}

TEST(SupportSortedList, FindReportsLastProbe) {
    SortedList *sorted = slist_create(25, 0, compare_text);
    int position = 5;
    EXPECT_EQ(slist_find(sorted, "x", &position), 1);
    EXPECT_EQ(position, -1);
    const char *keys[] = {"b", "d", "f"};
    for (const char *k : keys) {
        slist_insert(sorted, k, const_cast<char *>(k), nullptr);
    }
    struct Case {
        const char *key;
        int result;
        int position;
    };
    const Case cases[] = {{"d", 0, 1}, {"a", -1, 0}, {"c", 1, 0}, {"e", -1, 2}, {"g", 1, 2}};
    for (const Case &c : cases) {
        EXPECT_EQ(slist_find(sorted, c.key, &position), c.result) << c.key;
        EXPECT_EQ(position, c.position) << c.key;
    }
    slist_destroy(sorted);
}

} // namespace
