// Application: start-up checks, terminal session, main menu and the general
// information screen.
#pragma once

#include "term/term.h"

#include <cstdio>

// AV_VERSION, the version the program shows ("03.00.00"), comes from the
// project version in CMakeLists.txt.
#ifndef AV_VERSION
#error "AV_VERSION is defined by the build"
#endif

// ---- app_main.cpp: the program's entry --------------------------------------------
// The run: the version options, the user and argument checks, the description,
// then term_session. The exit status: 0, or 255 when something refuses the run.
int app_main(int argc, char **argv);

// ---- session.cpp: the terminal session -------------------------------------------
// Raw mode, signal handlers and key table around main_menu, then the terminal
// as found. main_menu's 0, or 255 (nothing changed) when the mode cannot be set.
int term_session(TermState *state);

// ---- menu.cpp: the main menu -------------------------------------------------------
// Draws the menu and runs each screen chosen from it until "X"; 0.
int main_menu();

// ---- info.cpp: the general information screen --------------------------------------
// Shows product, maker, contacts and version until any key, then removes itself.
void info_screen();

// ---- user_lookup.cpp: the user check's own password file reader ----------------------
// The password file read directly, ahead of the password database: the
// database may load name-service modules, this loads nothing. 1 when the file
// at path has a well-formed entry whose user ID is uid, 0 when it has none,
// -1 when it cannot be read.
int passwd_file_has_uid(const char *path, unsigned int uid);
int passwd_stream_has_uid(FILE *file, unsigned int uid); // the same, from an open stream
// 1 when the name-service configuration at path has the password database
// read the local files (its "passwd:" line names "files" or "compat", or
// there is no such line or no such file), else 0.
int passwd_reads_files(const char *nsswitch_path);
int passwd_stream_reads_files(FILE *file); // the same, from an open stream
