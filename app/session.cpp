// The terminal session: prepares the terminal, runs the main menu and puts
// the terminal back as it was found.
#include "app/app.h"

#include <cstdio>
#include <unistd.h>

#include "win/win.h"

namespace {

TermState *session_state = nullptr;

// The terminal went away under the menu: reading again would only spin.
// Put the mode back if the line still takes it, and end the run.
void session_hangup() {
    if (session_state != nullptr)
        term_restore(session_state);
    _exit(255);
}

} // namespace

int term_session(TermState *state) {
    term_screen_strings();
    if (term_raw_mode(state, 127, 1) != 0) {
        // The mode was not changed, so there is nothing to put back.
        fputs("\aavconfig: cannot set the terminal mode\n", stdout);
        fflush(stdout);
        return 255;
    }
    session_state = state;
    key_on_hangup(session_hangup);
    key_init();
    term_blank_screen();

    int result = main_menu();

    term_blank_screen();
    term_cursor_on();
    term_restore(state);
    session_state = nullptr;
    if (tc_flag("Ab") == 1) {
        fputs("\033[=1;14C", stdout);
        fflush(stdout);
    }
    return result;
}
