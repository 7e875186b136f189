// Key bytes the description does not bind: the other forms terminals send
// for the same keys, and Alt keys (ESC and a key in one read). Each string
// of a script is one read, as the terminal's timer groups bytes.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> script;
size_t script_next;

long scripted(unsigned char *buffer, size_t size) {
    if (script_next >= script.size())
        return 0; // the terminal hung up: the test read one key too many
    const std::string &burst = script[script_next++];
    size_t n = burst.size() < size ? burst.size() : size;
    memcpy(buffer, burst.data(), n);
    return static_cast<long>(n);
}

struct Reading {
    std::vector<int> keys;
    size_t bells;
};

// Reads count keys (with key_read_any when any) from the reads of bursts.
Reading read_script(const std::vector<std::string> &bursts, size_t count, bool any = false) {
    script = bursts;
    script_next = 0;
    key_set_source(scripted);
    Reading r;
    std::string out = capture_stdout([&] {
        while (r.keys.size() < count)
            r.keys.push_back(any ? key_read_any() : key_read());
    });
    r.bells = out.size();
    key_set_source(nullptr);
    EXPECT_EQ(script_next, bursts.size()) << "every read used";
    return r;
}

struct KeyCase {
    const char *what;
    std::vector<std::string> bursts;
    std::vector<int> keys;
    size_t bells;
};

void run_cases(const std::vector<KeyCase> &cases) {
    for (const KeyCase &c : cases) {
        Reading r = read_script(c.bursts, c.keys.size());
        EXPECT_EQ(r.keys, c.keys) << c.what;
        EXPECT_EQ(r.bells, c.bells) << c.what;
    }
}

void load_shipped(const char *type) {
    term_reset();
    setenv("AVTERMCAP", AV_SOURCE_DIR "/data/termdef", 1);
    setenv("AVTERM", type, 1);
    TermState state{};
    ASSERT_EQ(term_init(TERM_KEEP_MODE, &state), 0);
    key_init();
}

} // namespace

// PuTTY with its defaults says TERM=xterm but sends the VT220 Home, End and
// F1 to F4; rxvt its own Home and End.
TEST(KeyForms, PuttyUnderXterm) {
    load_shipped("xterm");
    run_cases({
        {"VT220 Home, End", {"\033[1~", "\033[4~"}, {KEY_HOME, KEY_END}, 0},
        {"VT220 F1 to F4",
         {"\033[11~\033[12~\033[13~\033[14~"},
         {KEY_F1, KEY_F2, KEY_F3, KEY_F4},
         0},
        {"Insert, Delete", {"\033[2~\033[3~"}, {KEY_INSERT, KEY_DELETE}, 0},
        {"xterm's own", {"\033OP\033[H\033[F"}, {KEY_F1, KEY_HOME, KEY_END}, 0},
        {"rxvt Home, End", {"\033[7~\033[8~"}, {KEY_HOME, KEY_END}, 0},
        {"application mode", {"\033OH\033OF\033OA"}, {KEY_HOME, KEY_END, KEY_UP}, 0},
        {"F11 and F12 are not bound", {"\033[23~x", "\033[24~y"}, {'x', 'y'}, 2},
        {"modified keys ring", {"\033[1;5H\033[11;2~z"}, {'z'}, 2},
    });
}

TEST(KeyForms, BoundSequencesKeepTheirMeaning) {
    term_reset();
    ASSERT_EQ(load_entry("t:FS#1:k5=\\E[11~:ho=\\E[4~:kd=\\E[H:k1=\\Ea:PU=\\E[2~:\n"), 0);
    run_cases({
        {"bound forms",
         {"\033[11~\033[4~\033[H\033[2~"},
         {KEY_F5, KEY_HOME, KEY_DOWN, KEY_PGUP},
         0},
        {"a bound ESC letter", {"\033a"}, {KEY_F1}, 0},
        {"unbound forms still known", {"\033[1~\033[12~\033[F"}, {KEY_HOME, KEY_F2, KEY_END}, 0},
        {"cursor-mode arrows",
         {"\033[A\033[B\033[C\033[D"},
         {KEY_UP, KEY_DOWN, KEY_RIGHT, KEY_LEFT},
         0},
        {"paging", {"\033[5~\033[6~"}, {KEY_PGUP, KEY_PGDN}, 0},
    });
}

// Alt and a key that sends a sequence arrive as ESC and the sequence in one
// read: one bell, nothing else. ESC and a byte no sequence binds stay
// Escape and that byte. The pairs the table binds, and ESC in a read of its
// own, keep their meaning.
TEST(KeyForms, AltKeys) {
    load_shipped("xterm");
    run_cases({
        {"ESC and a letter", {"\033x", "a"}, {KEY_ESCAPE, 'x', 'a'}, 0},
        {"ESC and [ or O alone, cut short",
         {"\033X", "\033[", "\033O", "\033[1;5"},
         {KEY_ESCAPE, 'X', KEY_ESCAPE, '[', KEY_ESCAPE, 'O', KEY_ESCAPE, '[', '1', ';', '5'},
         0},
        {"Alt-Up as ESC ESC [ A", {"\033\033[A", "a"}, {'a'}, 1},
        {"Alt-Up in application mode", {"\033\033OA", "a"}, {'a'}, 1},
        {"Alt-F1 and Alt-Delete", {"\033\033OP", "\033\033[3~", "a"}, {'a'}, 2},
        {"bound pairs",
         {"\033\033\033?\033/\0331\0330\033\033\033\033"},
         {KEY_ESC_ESC, KEY_ESC_QUERY, KEY_ESC_SLASH, KEY_F1, KEY_F10, KEY_ESC_ESC, KEY_ESC_ESC},
         0},
        {"ESC ESC then its key later", {"\033\033", "[A"}, {KEY_ESC_ESC, '[', 'A'}, 0},
        {"lone Escape", {"\033", "x"}, {KEY_ESCAPE, 'x'}, 0},
        {"Escape, then a letter", {"\033", "\033", "q"}, {KEY_ESCAPE, KEY_ESCAPE, 'q'}, 0},
        {"ESC and a control byte", {"\033\r"}, {KEY_ESCAPE, KEY_CTRL_M}, 0},
        {"ESC and a letter between keys", {"a\033xb"}, {'a', KEY_ESCAPE, 'x', 'b'}, 0},
    });
}

TEST(KeyForms, AnyKeyPromptTakesAltKeysAsOneKey) {
    load_shipped("xterm");
    Reading r = read_script({"\033\033OA", "\033\033[A", "\033[1~"}, 3, true);
    EXPECT_EQ(r.keys, (std::vector<int>{KEY_UNBOUND, KEY_UNBOUND, KEY_HOME}));
    EXPECT_EQ(r.bells, 0u);
}
