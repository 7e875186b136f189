#include "widget_screen.h"

#include <gtest/gtest.h>
#include <vterm.h>

#include <condition_variable>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

namespace {

const std::map<std::string, std::string> key_bytes = {
    {"Up", "\033[A"},      {"Down", "\033[B"},    {"Right", "\033[C"},   {"Left", "\033[D"},
    {"Home", "\033[H"},    {"End", "\033[F"},     {"PgUp", "\033[5~"},   {"PgDn", "\033[6~"},
    {"Delete", "\033[3~"}, {"Insert", "\033[2~"}, {"Backspace", "\177"}, {"Tab", "\t"},
    {"BackTab", "\033[Z"}, {"Enter", "\r"},       {"Esc", "\033"},       {"Space", " "},
    {"F1", "\033OP"},      {"F2", "\033OQ"},      {"F3", "\033OR"},      {"F4", "\033OS"},
    {"F5", "\033[15~"},    {"F6", "\033[17~"},    {"F7", "\033[18~"},    {"F8", "\033[19~"},
    {"F9", "\033[20~"},    {"F10", "\033[21~"},
};

// The hand-over between the test and the widget thread: the test puts one
// key's bytes in `key` and waits until the widget asks again (waiting) or
// its body has returned (ended).
struct Session {
    std::mutex lock;
    std::condition_variable turn;
    std::string key;
    bool waiting = false;
    bool ended = false;
    std::thread thread;
    VTerm *vt = nullptr;
    VTermScreen *screen = nullptr;
    size_t fed = 0; // bytes of widget_sent given to the screen model
    bool cursor_visible = true;
} session;

// The widget thread's reads: wait for the test's next key.
long next_key(unsigned char *buffer, size_t room) {
    std::unique_lock<std::mutex> hold(session.lock);
    session.waiting = true;
    session.turn.notify_all();
    session.turn.wait(hold, [] { return !session.key.empty(); });
    session.waiting = false;
    // The string stays put until the next key: the source reads from it.
    static std::string typed;
    typed.swap(session.key);
    session.key.clear();
    widget_keys_at = reinterpret_cast<const unsigned char *>(typed.data());
    widget_keys_left = typed.size();
    widget_keys_burst = typed.size();
    return widget_key_source(buffer, room);
}

// Hands one key over; false when the body has ended.
bool hand_over(const std::string &bytes) {
    std::unique_lock<std::mutex> hold(session.lock);
    if (session.ended)
        return false;
    session.key = bytes;
    session.waiting = false;
    session.turn.notify_all();
    session.turn.wait(hold,
                      [] { return session.ended || (session.waiting && session.key.empty()); });
    return !session.ended;
}

int on_termprop(VTermProp prop, VTermValue *value, void *) {
    if (prop == VTERM_PROP_CURSORVISIBLE)
        session.cursor_visible = value->boolean != 0;
    return 1;
}

// Brings the screen model up to what the widget has sent; only called while
// the widget thread waits.
VTermScreen *screen() {
    std::lock_guard<std::mutex> hold(session.lock);
    if (session.fed < widget_sent.size()) {
        vterm_input_write(session.vt, widget_sent.data() + session.fed,
                          widget_sent.size() - session.fed);
        session.fed = widget_sent.size();
        vterm_screen_flush_damage(session.screen);
    }
    return session.screen;
}

std::string shipped_descriptions() {
    std::ifstream in(AV_SOURCE_DIR "/data/termdef", std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

} // namespace

void widget_start(std::function<void()> body) {
    static const std::string descriptions = shipped_descriptions();
    ASSERT_EQ(widget_terminal(descriptions.data(), descriptions.size(), "xterm", stdout), 0)
        << "cannot load xterm from data/termdef";
    widget_starved = next_key;
    widget_type("", 0, 1);
    if (session.vt != nullptr)
        vterm_free(session.vt);
    session.vt = vterm_new(WIN_SCREEN_ROWS, WIN_SCREEN_COLUMNS);
    vterm_set_utf8(session.vt, 0);
    session.screen = vterm_obtain_screen(session.vt);
    static VTermScreenCallbacks callbacks{};
    callbacks.settermprop = on_termprop;
    vterm_screen_set_callbacks(session.screen, &callbacks, nullptr);
    vterm_screen_reset(session.screen, 1);
    session.fed = 0;
    session.cursor_visible = true;
    session.waiting = session.ended = false;
    session.key.clear();
    session.thread = std::thread([body] {
        body();
        std::lock_guard<std::mutex> hold(session.lock);
        session.ended = true;
        session.turn.notify_all();
    });
    std::unique_lock<std::mutex> hold(session.lock);
    session.turn.wait(hold, [] { return session.ended || session.waiting; });
}

bool widget_keys(const std::string &keys) {
    std::istringstream in(keys);
    for (std::string k; in >> k;) {
        if (k[0] == '=') {
            for (char c : k.substr(1))
                if (!hand_over(std::string(1, c)))
                    return false;
            continue;
        }
        auto bytes = key_bytes.find(k);
        std::string ctrl = k.size() == 6 && k.starts_with("Ctrl-") && k[5] >= 'A' && k[5] <= 'Z'
                               ? std::string(1, static_cast<char>(k[5] - 'A' + 1))
                               : "";
        if (bytes == key_bytes.end() && ctrl.empty()) {
            ADD_FAILURE() << "no such key: " << k;
            continue;
        }
        if (!hand_over(ctrl.empty() ? bytes->second : ctrl))
            return false;
    }
    return true;
}

void widget_finish() {
    if (!session.thread.joinable())
        return;
    // A widget that ignores F10 is a failure, but must not hang the test.
    bool running = widget_keys("F10");
    for (int tries = 0; running && tries < 5; tries++)
        running = widget_keys("F10");
    EXPECT_FALSE(running) << "the widget did not end on F10";
    if (running) {
        session.thread.detach();
        return;
    }
    session.thread.join();
    widget_starved = nullptr;
}

std::string widget_row(int row) {
    VTermScreen *s = screen();
    std::string text;
    VTermScreenCell cell;
    for (int col = 0; col < WIN_SCREEN_COLUMNS; col++) {
        uint32_t c = vterm_screen_get_cell(s, {row, col}, &cell) ? cell.chars[0] : 0;
        text += c == 0                       ? ' '
                : c < 0x80                   ? static_cast<char>(c)
                : c == 0x2500                ? '-'
                : c == 0x2502                ? '|'
                : c >= 0x2500 && c <= 0x257F ? '+'
                                             : '?';
    }
    return text;
}

std::string widget_text(int row, int column) {
    std::string text = widget_row(row).substr(static_cast<size_t>(column));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string widget_screen() {
    std::string text;
    for (int row = 0; row < WIN_SCREEN_ROWS; row++)
        text += widget_row(row) + (row + 1 < WIN_SCREEN_ROWS ? "\n" : "");
    return text;
}

bool widget_reverse(int row, int column) {
    VTermScreenCell cell;
    return vterm_screen_get_cell(screen(), {row, column}, &cell) && cell.attrs.reverse != 0;
}

std::pair<int, int> widget_cursor() {
    screen();
    VTermPos pos;
    vterm_state_get_cursorpos(vterm_obtain_state(session.vt), &pos);
    return {pos.row, pos.col};
}

bool widget_cursor_visible() {
    screen();
    return session.cursor_visible;
}
