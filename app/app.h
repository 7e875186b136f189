// Application: start-up checks, terminal session, main menu and the general
// information screen.
#pragma once

#include "term/term.h"

#define AV_VERSION "03.00.00"

int app_main(int argc, char **argv);
int term_session(TermState *state);
int main_menu();
void info_screen();
