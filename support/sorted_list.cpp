// SortedList: a List kept in the order of a compare function.
#include "support/support.h"

SortedList *slist_create(int buckets, int unique, CompareFn compare) {
    SortedList *sorted = static_cast<SortedList *>(mem_alloc(sizeof(SortedList)));
    if (sorted == nullptr) {
        return nullptr;
    }
    sorted->list = list_create(buckets);
    if (sorted->list == nullptr) {
        mem_free(sorted);
        return nullptr;
    }
    sorted->unique = unique;
    sorted->compare = compare;
    return sorted;
}

void slist_destroy(SortedList *sorted) {
    if (sorted == nullptr) {
        return;
    }
    list_destroy(sorted->list);
    mem_free(sorted);
}

int slist_find(SortedList *sorted, const void *key, int *position) {
    int count = list_count(sorted->list);
    if (count == 0) {
        *position = -1;
        return 1;
    }
    int low = 0;
    int high = count - 1;
    int mid = 0;
    int result = 1;
    while (low <= high) {
        mid = (low + high) / 2;
        ListElement *element = list_element(sorted->list, mid);
        result = sorted->compare(key, element->data, -1);
        if (result == 0) {
            break;
        }
        if (result < 0) {
            high = element->position - 1;
        } else {
            low = element->position + 1;
        }
    }
    *position = mid;
    return result;
}

ListElement *slist_insert(SortedList *sorted, const void *key, void *data, ReleaseFn release) {
    int position = -1;
    int result = slist_find(sorted, key, &position);
    if (position < 0) {
        return list_append(sorted->list, data, release);
    }
    if (result > 0) {
        return list_insert(sorted->list, position + 1, data, release);
    }
    if (result == 0 && sorted->unique) {
        return nullptr;
    }
    // An equal key goes before the equal element that the search met.
    return list_insert(sorted->list, position, data, release);
}

int slist_count(const SortedList *sorted) {
    return list_count(sorted->list);
}
