// Stand-ins until the screens exist: the menu rings the bell for them.
#include "editors/editors.h"
#include "term/term.h"

int ip_table_screen() {
    term_beep();
    return 0;
}
void commands_screen() { term_beep(); }
void env_screen() { term_beep(); }
void doc_viewer() { term_beep(); }
