// Key table priorities and the key reader, through a pipe or a real
// pseudo-terminal standing in as file descriptor 0.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <cstring>
#include <pty.h>
#include <sys/ioctl.h>
#include <vector>

namespace {

TEST(KeyRead, BindingsAndPriorities) {
    struct Case {
        const char *entry;
        std::string input;
        std::vector<int> want;
    } cases[] = {
        {"ku=\\E[A", "\x1b[Aa", {KEY_UP, 'a'}},
        {"kl=^H:bs", "\b", {KEY_LEFT}},
        {"bs", "\b", {KEY_BACKSPACE}},
        {"kb=^H", "\b\x7f", {KEY_BACKSPACE, KEY_DELETE}},
        {"kb=\\177:dk=\\E[3~", "\x7f\x1b[3~", {KEY_BACKSPACE, KEY_DELETE}},
        {"Dk=\\E[P:kb=\\177", "\x7f\x1b[P", {KEY_BACKSPACE, KEY_DELETE}},
        {"dk=\\E[3~:Dk=\\E[P", "\x1b[P", {27, '[', 'P'}},
        {"ta=^I", "\t", {KEY_TAB}},
        {"bs", "\t\r", {9, 13}},
        {"bs", "\x10\x0e", {KEY_PGUP, KEY_PGDN}},
        {"PU=\\E[5~:PD=\\E[6~", "\x1b[5~\x1b[6~\x10", {KEY_PGUP, KEY_PGDN, KEY_PGUP}},
        {"ho=\\E[H:EN=\\E[F:al=\\E[2~:bt=\\E[Z",
         "\x1b[H\x1b[F\x1b[2~\x1b[Z",
         {KEY_HOME, KEY_END, KEY_INSERT, KEY_BACKTAB}},
        {"bs",
         "\x1b"
         "5\x1b"
         "0\x1b\x1b\x1b?\x1b/",
         {KEY_F5, KEY_F10, KEY_ESC_ESC, KEY_ESC_QUERY, KEY_ESC_SLASH}},
        {"bs", "\x1bx", {27, 'x'}},
        {"k1=\\E?", "\x1b?", {KEY_F2}},      // k0 is F1 without FS
        {"FS#1:k1=\\E?", "\x1b?", {KEY_F1}}, // function key beats ESC "?"
        {"FS#1:k0=\\EOx:k9=\\EOw", "\x1bOx\x1bOw", {KEY_F10, KEY_F9}},
        {"FS#12:k0=\\EOP", "\x1bOP", {KEY_F1}},
        {"ku=\\E[B:kd=\\E[B", "\x1b[B", {KEY_DOWN}}, // equal priority: kd is bound later
        {"ku=\\E[A", "\x1b[", {27, '['}},            // a partial sequence
        {"bs", std::string("a\0b", 3), {'a', 'b'}},
        {"bs", "\xff\x80", {255, 128}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t:") + c.entry + ":\n"), 0);
        key_init();
        EXPECT_EQ(read_keys(c.input, c.want.size()), c.want);
    }
}

TEST(KeyBind, RulesAndPoolLimit) {
    EXPECT_EQ(key_bind("", 1, 300), -1);
    int node = key_bind("ab", 2, 300);
    EXPECT_GE(node, 0);
    EXPECT_EQ(key_bind("ab", 1, 301), -1); // lower priority refused
    EXPECT_EQ(key_bind("ab", 2, 302), node);
    // Two-byte sequences under "w" to "z": each takes one node besides its
    // first byte's. 1021 nodes are left after "a", "b" and the four firsts.
    int bound = 0;
    for (char first : {'w', 'x', 'y', 'z'})
        for (int b = 1; b < 256; ++b) {
            char seq[3] = {first, static_cast<char>(b), 0};
            bound += key_bind(seq, 0, 'q') >= 0;
        }
    EXPECT_EQ(bound, 1024 - 6);
    EXPECT_EQ(key_bind("ab", 3, 303), node); // existing nodes stay usable
}

void exit_42() {
    _exit(42);
}

TEST(KeyRead, EndOfInputCallsHangupHandler) {
    ASSERT_EQ(load_entry("t:bs:\n"), 0);
    key_init();
    key_on_hangup(exit_42);
    EXPECT_EXIT(read_keys("a", 2), testing::ExitedWithCode(42), "");
    key_on_hangup(nullptr);
    EXPECT_EXIT(read_keys("", 1), testing::ExitedWithCode(255), "");
}

// A pseudo-terminal whose slave side is file descriptor 0, loaded and put
// into raw mode the way the program does it.
struct Pty {
    int master = -1;
    TermState state{};
    struct termio before {};
    bool start() {
        int slave;
        if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0)
            return false;
        dup2(slave, 0);
        close(slave);
        ioctl(0, TCGETA, &before);
        std::string path = write_termcap("t:ku=\\E[A:kb=\\177:dk=\\E[3~:\n");
        setenv("AVTERMCAP", path.c_str(), 1);
        setenv("AVTERM", "t", 1);
        int loaded = term_init(1, &state);
        unlink(path.c_str());
        if (loaded != 0 || term_raw_mode(&state, 127, 1) != 0)
            return false;
        key_init();
        return true;
    }
    void send(const std::string &bytes) {
        ssize_t n = write(master, bytes.data(), bytes.size());
        (void)n;
    }
};

TEST(PtyKeys, BurstsAndTiming) {
    Pty pty;
    ASSERT_TRUE(pty.start());
    pty.send("\x1b[Ab");
    EXPECT_EQ(key_read(), KEY_UP);
    EXPECT_EQ(key_read(), 'b');
    pty.send("\x1b"
             "5");
    EXPECT_EQ(key_read(), KEY_F5);
    pty.send("\r\x7f\x03\x1c");
    EXPECT_EQ(key_read(), 13); // no Return-to-newline translation
    EXPECT_EQ(key_read(), KEY_BACKSPACE);
    EXPECT_EQ(key_read(), 3); // interrupt and quit are plain keys
    EXPECT_EQ(key_read(), 0x1c);
    // The read returns a tenth of a second after the lone ESC, so the "5"
    // sent afterwards is a key of its own.
    pty.send("\x1b");
    EXPECT_EQ(key_read(), 27);
    pty.send("5");
    EXPECT_EQ(key_read(), '5');
}

TEST(PtyKeys, RawModeAndRestore) {
    Pty pty;
    ASSERT_TRUE(pty.start());
    EXPECT_EQ(memcmp(&pty.state.saved_mode, &pty.before, sizeof pty.before), 0);
    struct termio raw {};
    ioctl(0, TCGETA, &raw);
    EXPECT_EQ(raw.c_lflag & (ECHO | ICANON), 0);
    EXPECT_EQ(raw.c_iflag & ICRNL, 0);
    EXPECT_EQ(raw.c_lflag & ISIG, pty.before.c_lflag & ISIG);
    EXPECT_EQ(raw.c_oflag, pty.before.c_oflag);
    EXPECT_EQ(raw.c_cc[VMIN], 127);
    EXPECT_EQ(raw.c_cc[VTIME], 1);
    EXPECT_EQ(raw.c_cc[VINTR], 255);
    EXPECT_EQ(raw.c_cc[VQUIT], 255);
    EXPECT_EQ(raw.c_cc[VERASE], pty.before.c_cc[VERASE]);

    term_restore(&pty.state);
    struct termio after {};
    ioctl(0, TCGETA, &after);
    EXPECT_EQ(memcmp(&after, &pty.before, sizeof after), 0);
    EXPECT_EQ(memcmp(&pty.state.work_mode, &pty.before, sizeof after), 0);
}

TEST(PtyKeys, HangupDoesNotSpin) {
    Pty pty;
    ASSERT_TRUE(pty.start());
    key_on_hangup(exit_42);
    pty.send("x");
    close(pty.master); // the other end of the line is gone
    EXPECT_EXIT(
        {
            key_read();
            key_read();
        },
        testing::ExitedWithCode(42), "");
}

} // namespace
