// Memory and string helpers: the one allocation pair every container uses.
#include "support/support.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

void *mem_alloc(size_t size) {
    return malloc(size);
}

void mem_free(void *p) {
    free(p);
}

char *str_dup(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    size_t length = strlen(text) + 1;
    char *copy = static_cast<char *>(mem_alloc(length));
    if (copy != nullptr) {
        memcpy(copy, text, length);
    }
    return copy;
}

void str_free(void *text) {
    mem_free(text);
}

namespace {

int upper_byte(char c) {
    // Upper-cased characters are compared as signed bytes, so bytes above 127
    // sort before plain ASCII.
    return static_cast<signed char>(toupper(static_cast<unsigned char>(c)));
}

} // namespace

int str_ncasecmp(const char *a, const char *b, int n) {
    for (int i = 0; n <= 0 || i < n; i++) {
        int ca = upper_byte(a[i]);
        int cb = upper_byte(b[i]);
        if (ca != cb) {
            return ca < cb ? -1 : 1;
        }
        if (ca == 0) {
            return 0;
        }
    }
    return 0;
}

int str_casecmp(const char *a, const char *b) {
    return str_ncasecmp(a, b, 0);
}

int str_copy_max(char *dst, const char *src, int n) {
    int copied = 0;
    while (copied < n && src[copied] != '\0') {
        dst[copied] = src[copied];
        copied++;
    }
    dst[copied] = '\0';
    return copied;
}
