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

int app_main(int argc, char **argv);
int term_session(TermState *state);
int main_menu();
void info_screen();

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
int passwd_stream_reads_files(FILE *file);
