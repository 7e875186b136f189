// Family fallback for a terminal type without a description of its own:
// "screen.xterm-kitty" is a screen, "xterm-256color-italic" an xterm-256color.
#include "term/term.h"

#include <cstring>

namespace {

// As long as a "tc" name: no description file names anything longer.
constexpr size_t FAMILY_MAX = 271;

} // namespace

int term_init_family(int save_mode, TermState *state) {
    if (state->term_name == nullptr || strlen(state->term_name) > FAMILY_MAX)
        return -2;
    char family[FAMILY_MAX + 1];
    strcpy(family, state->term_name);
    for (;;) {
        char *cut = nullptr;
        for (char *p = family; *p; ++p)
            if (*p == '-' || *p == '.' || *p == '+')
                cut = p;
        if (cut == nullptr || cut == family)
            return -2;
        *cut = '\0';
        if (term_load_description(save_mode, state, family) == 0)
            return 0;
    }
}
