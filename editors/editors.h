// Configuration editors: the name-to-IP table and its entry dialog, the
// authorized commands and environment variables editors, and the on-line
// documentation viewer. Each screen owns its windows and lists from its start
// to its return.
#pragma once

#include "support/support.h"

// One entry of the name-to-IP table.
struct IpEntry {
    char name[16];
    char address[16];
    int kind; // 0 fixed address, 1 Hawser, 2 Samba
    char pc_name[26];
};

// The mode of an entry dialog.
constexpr int ENTRY_ADD = 0;
constexpr int ENTRY_EDIT = 1;

// Name-to-IP table screen (menu N): 0 on a normal return, -1 on an error.
int ip_table_screen();
// Entry dialog: 1 when saved with a change (entry holds the new values).
int ip_entry_dialog(int parent, int mode, int index, IpEntry *entry, List *lines);
// Reads the table's lines from an open file into list, each padded to at
// least 60 characters. 0; -1 when an append failed (the lines so far stay);
// LINE_READ_ERROR on a read error, with "<reason> while reading <path>"
// in msg (AV_MSG_MAX bytes, or nullptr).
int ip_read_table(FILE *file, const char *path, List *list, char *msg);
// Fixed-column line <-> entry.
void ip_parse_line(const char *line, IpEntry *entry);
void ip_format_line(const IpEntry *entry, char *line, int size);
// The entry dialog's focus order over its seven controls (0 name, 1 radio 0,
// 2 address, 3 radio 1, 4 Hawser name, 5 radio 2, 6 Samba name): only the
// selected kind's field can take the focus.
int ip_focus_next(int focus, int kind);
int ip_focus_previous(int focus, int kind);

// Authorized commands (menu C) and environment variables (menu E).
void commands_screen();
void env_screen();

// On-line documentation (menu "?" and "/").
void doc_viewer();
