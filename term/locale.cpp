// Whether the terminal's character set is UTF-8, as the locale says: bytes
// from 0x80 up and line drawing depend on it.
#include "term/term.h"

#include <cstdlib>
#include <strings.h>

namespace {

int utf8_locale = -1; // -1: not read yet

int names_utf8(const char *value) {
    for (const char *p = value; *p; ++p)
        if (strncasecmp(p, "UTF-8", 5) == 0 || strncasecmp(p, "UTF8", 4) == 0)
            return 1;
    return 0;
}

} // namespace

int term_utf8_locale() {
    if (utf8_locale < 0) {
        // The first variable that is set and not empty decides, as setlocale
        // would take it.
        static const char *const names[] = {"LC_ALL", "LC_CTYPE", "LANG"};
        const char *value = nullptr;
        for (const char *name : names) {
            value = getenv(name);
            if (value && *value)
                break;
            value = nullptr;
        }
        utf8_locale = value ? names_utf8(value) : 0;
    }
    return utf8_locale;
}

void term_set_utf8_locale(int utf8) {
    utf8_locale = utf8 < 0 ? -1 : utf8 != 0;
}
