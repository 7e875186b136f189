// Configuration editors: the name-to-IP table and its entry dialog, the
// authorized commands and environment variables editors, and the on-line
// documentation viewer. Each screen owns its windows and lists from its start
// to its return.
#pragma once

#include "support/support.h"

// ---- ip_table.cpp: the name-to-IP table screen and its line format ------------------
// How the PC of an entry is reached: the kind, written as its digit in the
// line and the index of its radio button in the entry dialog.
constexpr int IP_FIXED = 0;  // by its static IP address
constexpr int IP_HAWSER = 1; // by name, through Hawser
constexpr int IP_SAMBA = 2;  // by name, through Samba's 'nmblookup'
constexpr int IP_KINDS = 3;  // kinds there are

// One entry of the name-to-IP table.
struct IpEntry {
    char name[16];    // the PC's name as given to 'avclink' (15 columns)
    char address[16]; // the static IP address; used with IP_FIXED only
    int kind;         // IP_FIXED, IP_HAWSER or IP_SAMBA
    char pc_name[26]; // the PC name Hawser or Samba looks up; used with those two
};

// Name-to-IP table screen (menu N): 0 on a normal return, -1 on an error.
int ip_table_screen();
// Reads the table's lines from an open file into list, each padded to at
// least 60 characters. 0; -1 when an append failed (the lines so far stay);
// LINE_READ_ERROR on a read error, with "<reason> while reading <path>"
// in msg (AV_MSG_MAX bytes, or nullptr).
int ip_read_table(FILE *file, const char *path, List *list, char *msg);
// A fixed-column line into entry: missing columns leave fields empty, IP_FIXED.
void ip_parse_line(const char *line, IpEntry *entry);
// entry as a fixed-column line of 60 characters, into line of size bytes.
void ip_format_line(const IpEntry *entry, char *line, int size);

// ---- ip_entry_dialog.cpp: the table's entry dialog ------------------------------------
// The mode of an entry dialog, this one and the line editors' alike.
constexpr int ENTRY_ADD = 0;  // "Add Entry": a new entry
constexpr int ENTRY_EDIT = 1; // "Edit Entry": the entry at index, not its own duplicate

// Entry dialog over parent for entry (index: its position in lines, -1 when
// adding). 1 when saved with a change (entry holds the new values), else 0.
int ip_entry_dialog(int parent, int mode, int index, IpEntry *entry, List *lines);
// The entry dialog's focus order over its seven controls (0 name, 1 radio 0,
// 2 address, 3 radio 1, 4 Hawser name, 5 radio 2, 6 Samba name): only the
// selected kind's field can take the focus. The stop after or before focus.
int ip_focus_next(int focus, int kind);
int ip_focus_previous(int focus, int kind);

// ---- commands_and_env.cpp: the two line editors -----------------------------------------
// Authorized commands (menu C) and environment variables (menu E): each
// edits its file of one-line entries until the user leaves; errors are shown.
void commands_screen();
void env_screen();

// ---- doc_viewer.cpp: the documentation viewer ------------------------------------------
// On-line documentation (menu "?" and "/"): pages the document, "H" prints
// it, until "X" or cancel; errors are shown.
void doc_viewer();
