// Program entry: version options, the user and argument checks, the terminal
// description, then the terminal session.
#include "app/app.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <unistd.h>

#include "forms/forms.h"
#include "support/paths.h"

namespace {

// The one terminal-state record of the run.
TermState term_state;

// Refusals leave through here so that the message is out before the exit.
int refuse(const char *message) {
    if (message != nullptr)
        fputs(message, stdout);
    fflush(stdout);
    return 255;
}

// The password database is searched with the real user ID cut to 16 bits,
// as the installed base's user tables are. The password file is read first:
// where the database reads it too, an entry found there is one the database
// has, and the common case then loads no name-service modules (which cost
// start-up time and memory). Anything else is left to the database walk.
int user_known() {
    unsigned int uid = static_cast<unsigned int>(getuid()) & 0xFFFFu;
    if (passwd_reads_files("/etc/nsswitch.conf") == 1 &&
        passwd_file_has_uid("/etc/passwd", uid) == 1)
        return 1;
    int found = 0;
    setpwent();
    for (struct passwd *pw = getpwent(); pw != nullptr; pw = getpwent()) {
        if (static_cast<unsigned int>(pw->pw_uid) == uid) {
            found = 1;
            break;
        }
    }
    endpwent();
    return found;
}

// Names the description files that the search reads, in its order, for the
// message given when the terminal type has no description.
void print_search_places() {
    const char *places[TC_PLACES_MAX];
    int n = tc_search_places(places);
    for (int i = 0; i < n; i++)
        printf(i == 0 ? "%s" : ", %s", places[i]);
    if (!tc_search_pinned())
        printf(" or the terminfo database");
}

} // namespace

int app_main(int argc, char **argv) {
    if (argc == 2 && (strcmp(argv[1], "-qv") == 0 || strcmp(argv[1], "-pv") == 0)) {
        printf("Program Version: %s\n", AV_VERSION);
        fflush(stdout);
        return 0;
    }
    if (argc == 2 && strcmp(argv[1], "-v") == 0) {
        printf("\nArdovane PC Conduvia Configuration Program Version: %s\n", AV_VERSION);
        fflush(stdout);
        return 0;
    }
    if (getuid() != 0)
        return refuse("\aThe configuration program must be run by 'root'.\n");
    if (!user_known())
        return refuse(nullptr);
    if (argc > 1)
        return refuse("\aInvalid Argument...\n");

    // Without a description there is nothing to drive the screen with, and
    // without a mode read at start there is nothing to restore: stop here,
    // before the terminal is touched, and say where descriptions were sought.
    // A type without a description of its own is tried as its family
    // ("xterm-256color-italic" as "xterm-256color"): close kin draw and read
    // keys alike, and refusing to start serves the administrator worse.
    int loaded = term_init(TERM_SAVE_MODE, &term_state);
    if (loaded == -2)
        loaded = term_init_family(TERM_SAVE_MODE, &term_state);
    if (loaded == -1)
        return refuse("\aavconfig: no terminal type set (AVTERM, QXTERM, TERM)\n");
    if (loaded != 0) {
        printf("\aavconfig: no description for terminal '%s' in ", term_state.term_name);
        print_search_places();
        return refuse("\n");
    }
    // A description that links on and on (or back to itself) was cut at the
    // link limit: it still drives the screen, but say so rather than lose
    // capabilities silently.
    if (tc_links_cut())
        printf("avconfig: the description of terminal '%s' has too many 'tc' links; "
               "capabilities beyond them are ignored\n",
               term_state.term_name);
    // term_init cannot tell whether the mode was read; a program whose input
    // is not a terminal has no mode to set or to put back.
    if (!isatty(0))
        return refuse("\aavconfig: standard input is not a terminal\n");

    if (tc_cap_flag(CAP_NE) == 1)
        escape_key_setting = 0;
    return term_session(&term_state);
}
