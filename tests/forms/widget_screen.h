// The widget tests' way to drive a widget: the widget runs in-process on the
// shipped xterm description, in a thread of its own that the test hands one
// key at a time, and the screen is read through libvterm fed with every byte
// the widget sent. Between keys the widget sits waiting for the next one, as a
// person would see it; nothing waits on a timer.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "widget_fixture.h"

// Sets the terminal up and runs body (the widget's loop) until it first waits
// for a key or ends. body must end once it is given F10 (widget_finish).
void widget_start(std::function<void()> body);
// Blank-separated keys: a key name as below, "Space", or "=text" typed byte by
// byte. Each key is one read; returns once the widget waits for the next key
// (true) or has ended (false).
// Names: Up Down Left Right Home End PgUp PgDn Delete Insert Backspace Tab
// BackTab Enter Esc F1..F10 Ctrl-A..Ctrl-Z (xterm's bytes).
bool widget_keys(const std::string &keys);
// Types F10 and expects body to end; a failure if it does not.
void widget_finish();

// 80 characters; line pieces as '-' '|' '+', other non-ASCII as '?'.
std::string widget_row(int row);
// The row from column on, blanks at the end dropped.
std::string widget_text(int row, int column = 0);
std::string widget_screen(); // 24 rows joined by '\n'
bool widget_reverse(int row, int column);
std::pair<int, int> widget_cursor(); // (row, column)
bool widget_cursor_visible();
