#include "harness.h"

#include <gtest/gtest.h>
#include <vterm.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>

namespace fs = std::filesystem;

struct Harness {
    pid_t pid = -1;
    int master = -1;
    VTerm *vt = nullptr;
    VTermScreen *screen = nullptr;
    std::string output;
    long last_output = 0; // when the last byte arrived
    int bells = 0;
    bool cursor_visible = true;
    std::string title;   // set by OSC 0 or 2
    std::string props;   // every other property change, in order
    std::string answers; // what the terminal would send back
    int key_pause_ms = 120;
    bool exited = false;
    int status = -1;
    struct termios before {};
    struct termios after {}; // all zero unless read at exit: never equal to before
};

namespace {

long now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

int on_bell(void *user) {
    static_cast<Harness *>(user)->bells++;
    return 1;
}

int on_termprop(VTermProp prop, VTermValue *val, void *user) {
    Harness *h = static_cast<Harness *>(user);
    if (prop == VTERM_PROP_CURSORVISIBLE)
        h->cursor_visible = val->boolean != 0;
    else if (prop == VTERM_PROP_TITLE)
        h->title = val->string;
    else if (prop != VTERM_PROP_CURSORBLINK && prop != VTERM_PROP_CURSORSHAPE)
        h->props += std::to_string(prop) + " ";
    return 1;
}

const VTermScreenCallbacks screen_callbacks = {
    nullptr, nullptr, nullptr, on_termprop, on_bell, nullptr, nullptr, nullptr,
};

void reap(Harness *h, bool block) {
    int st = 0;
    if (h->exited || h->pid < 0 || waitpid(h->pid, &st, block ? 0 : WNOHANG) != h->pid)
        return;
    h->exited = true;
    tcgetattr(h->master, &h->after); // fails once hung up: after stays zero
    h->status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
}

// Reads what the program wrote, waiting at most wait_ms for the first byte,
// then notices an exit. With no master (hung up), poll just waits.
size_t pump(Harness *h, int wait_ms) {
    size_t total = 0;
    struct pollfd p = {h->master, POLLIN, 0};
    char buf[4096];
    ssize_t n = 0;
    while (poll(&p, 1, total ? 0 : wait_ms) > 0 && (n = read(h->master, buf, sizeof buf)) > 0) {
        h->output.append(buf, static_cast<size_t>(n));
        vterm_input_write(h->vt, buf, static_cast<size_t>(n));
        total += static_cast<size_t>(n);
        h->last_output = now_ms();
    }
    if (n < 0 && total == 0 && wait_ms > 0) // EIO once the slave side is gone: do not spin
        poll(nullptr, 0, 5);
    vterm_screen_flush_damage(h->screen);
    reap(h, false);
    return total;
}

// Pumps until done() holds (true) or timeout_ms pass (false).
template <class Done> bool pump_until(Harness *h, int timeout_ms, Done done) {
    for (long end = now_ms() + timeout_ms; !done(); pump(h, 10))
        if (now_ms() >= end)
            return false;
    pump(h, 0);
    return true;
}

// plain: one byte a cell, line pieces as '-' '|' '+'. Otherwise UTF-8, where
// nothing beyond the BMP can appear with UTF-8 input off.
std::string row_text(Harness *h, int row, bool plain) {
    std::string s;
    VTermScreenCell cell;
    for (int col = 0; col < 80; col++) {
        uint32_t c = vterm_screen_get_cell(h->screen, {row, col}, &cell) ? cell.chars[0] : 0;
        if (c < 0x80)
            s += c ? char(c) : ' ';
        else if (plain)
            s += c < 0x2500 || c > 0x257F ? '?' : c == 0x2500 ? '-' : c == 0x2502 ? '|' : '+';
        else if (c < 0x800)
            s += {char(0xC0 | c >> 6), char(0x80 | (c & 0x3F))};
        else
            s += {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 0x3F)), char(0x80 | (c & 0x3F))};
    }
    return s;
}

// In the child, after fork: the reason shows on the terminal.
[[noreturn]] void child_fail(const char *what) {
    perror(what);
    _exit(127);
}

const std::map<std::string, std::string> key_bytes = {
    {"Up", "\033[A"},      {"Down", "\033[B"},    {"Right", "\033[C"},   {"Left", "\033[D"},
    {"Home", "\033[H"},    {"End", "\033[F"},     {"PgUp", "\033[5~"},   {"PgDn", "\033[6~"},
    {"Delete", "\033[3~"}, {"Insert", "\033[2~"}, {"Backspace", "\177"}, {"Tab", "\t"},
    {"BackTab", "\033[Z"}, {"Enter", "\r"},       {"Esc", "\033"},       {"F1", "\033OP"},
    {"F2", "\033OQ"},      {"F3", "\033OR"},      {"F4", "\033OS"},      {"F5", "\033[15~"},
    {"F6", "\033[17~"},    {"F7", "\033[18~"},    {"F8", "\033[19~"},    {"F9", "\033[20~"},
    {"F10", "\033[21~"},
};

} // namespace

std::string harness_new_root() {
    std::error_code ec;
    std::string root = std::string(AV_E2E_ROOTS_DIR) + "/root-XXXXXX";
    EXPECT_NE(mkdtemp(root.data()), nullptr) << "harness: mkdtemp: " << strerror(errno);
    // Readable by everyone, so that runs as a non-root user see it too.
    fs::create_directories(root + "/conduvia/config", ec);
    for (const char *dir : {"", "/conduvia", "/conduvia/config"})
        fs::permissions(root + dir, fs::perms(0755), ec);
    fs::copy_file(std::string(AV_SOURCE_DIR) + "/data/termdef", root + "/termdef", ec);
    return root;
}

// The root is bind-mounted over AV_PRODUCT_ROOT: never outside this build tree.
static_assert(std::string_view(AV_PRODUCT_ROOT).starts_with(AV_BINARY_DIR "/"));

Harness *harness_start(const HarnessOptions &options) {
    std::error_code ec;
    std::string root = options.root.empty() ? harness_new_root() : options.root;
    fs::create_directories(AV_PRODUCT_ROOT, ec); // else the mount in the child says why

    // Built before fork: the child only calls async-signal-safe functions.
    std::vector<std::string> args = {options.program.empty() ? AV_BINARY : options.program};
    args.insert(args.end(), options.args.begin(), options.args.end());
    std::vector<std::string> env = options.env;
    if (std::none_of(env.begin(), env.end(),
                     [](auto &e) { return e == "TERM" || e.starts_with("TERM="); }))
        env.push_back("TERM=xterm");
    std::erase(env, "TERM");
    std::vector<char *> argv(args.size() + 1), envp(env.size() + 1); // null-terminated
    std::transform(args.begin(), args.end(), argv.begin(), [](auto &a) { return a.data(); });
    std::transform(env.begin(), env.end(), envp.begin(), [](auto &e) { return e.data(); });

    Harness *h = new Harness;
    h->key_pause_ms = options.key_pause_ms;
    h->vt = vterm_new(24, 80);
    vterm_set_utf8(h->vt, 0);
    h->screen = vterm_obtain_screen(h->vt);
    vterm_screen_set_callbacks(h->screen, &screen_callbacks, h);
    vterm_screen_reset(h->screen, 1);
    vterm_output_set_callback( // kept, never sent to the program
        h->vt,
        [](const char *bytes, size_t n, void *user) {
            static_cast<Harness *>(user)->answers.append(bytes, n);
        },
        h);
    int slave = -1;
    struct winsize ws = {24, 80, 0, 0};
    fflush(nullptr);
    if (openpty(&h->master, &slave, nullptr, nullptr, &ws) < 0 ||
        tcgetattr(h->master, &h->before) < 0 || (h->pid = fork()) < 0) {
        ADD_FAILURE() << "harness: openpty or fork: " << strerror(errno);
        close(slave);
        harness_stop(h);
        return nullptr;
    }
    if (h->pid == 0) {
        close(h->master);
        if (login_tty(slave) < 0)
            child_fail("login_tty");
        if (unshare(CLONE_NEWNS) < 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0 ||
            mount(root.c_str(), AV_PRODUCT_ROOT, nullptr, MS_BIND, nullptr) < 0)
            child_fail("mount of the product root");
        if (!options.as_root &&
            (setgroups(0, nullptr) < 0 || setgid(65534) < 0 || setuid(65534) < 0))
            child_fail("switch to user nobody");
        signal(SIGPIPE, SIG_DFL);
        execve(argv[0], argv.data(), envp.data());
        child_fail(argv[0]);
    }
    close(slave);
    fcntl(h->master, F_SETFL, fcntl(h->master, F_GETFL) | O_NONBLOCK);
    return h;
}

void harness_stop(Harness *h) {
    if (h == nullptr)
        return;
    if (!h->exited && h->pid > 0)
        kill(h->pid, SIGKILL);
    reap(h, true);
    close(h->master);
    vterm_free(h->vt);
    delete h;
}

void harness_send(Harness *h, const std::string &bytes) {
    pump(h, 0);
    for (size_t done = 0; done < bytes.size() && h->master >= 0;) {
        ssize_t w = write(h->master, bytes.data() + done, bytes.size() - done);
        if (w < 0 && errno != EAGAIN && errno != EINTR) {
            ADD_FAILURE() << "harness: write to terminal: " << strerror(errno);
            break;
        }
        if (w > 0)
            done += static_cast<size_t>(w);
        else // the program is not reading; keep its output flowing
            pump(h, 5);
    }
    pump_until(h, h->key_pause_ms, [h] { return h->exited; });
}

void harness_type(Harness *h, const std::string &text) {
    for (char c : text)
        harness_send(h, std::string(1, c));
}

void harness_key(Harness *h, const std::string &name) {
    auto it = key_bytes.find(name);
    if (name.size() == 6 && name.starts_with("Ctrl-") && name[5] >= 'A' && name[5] <= 'Z')
        harness_send(h, std::string(1, char(name[5] - 'A' + 1)));
    else if (it == key_bytes.end())
        ADD_FAILURE() << "harness: unknown key name '" << name << "'";
    else
        harness_send(h, it->second);
}

void harness_wait_quiet(Harness *h, int quiet_ms, int timeout_ms) {
    h->last_output = now_ms();
    pump_until(h, timeout_ms, [&] { return h->exited || now_ms() - h->last_output >= quiet_ms; });
}

bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms) {
    auto shown = [&] { return harness_screen(h).find(text) != std::string::npos; };
    pump_until(h, timeout_ms, [&] { return shown() || (h->exited && pump(h, 0) == 0); });
    if (!shown())
        return false;
    harness_wait_quiet(h, 100, 2000); // the rest of that drawing, even on a loaded machine
    return true;
}

std::string harness_row(Harness *h, int row) {
    return row_text(h, row, false);
}
std::string harness_row_plain(Harness *h, int row) {
    return row_text(h, row, true);
}

std::string harness_screen(Harness *h) {
    std::string s = harness_row(h, 0);
    for (int row = 1; row < 24; row++)
        s += '\n' + harness_row(h, row);
    return s;
}

bool harness_reverse(Harness *h, int row, int column) {
    VTermScreenCell cell;
    return vterm_screen_get_cell(h->screen, {row, column}, &cell) && cell.attrs.reverse != 0;
}

std::pair<int, int> harness_cursor(Harness *h) {
    VTermPos pos;
    vterm_state_get_cursorpos(vterm_obtain_state(h->vt), &pos);
    return {pos.row, pos.col};
}

bool harness_cursor_visible(Harness *h) {
    return h->cursor_visible;
}
std::string harness_terminal_modes(Harness *h) {
    h->answers.clear();
    vterm_keyboard_key(h->vt, VTERM_KEY_UP, VTERM_MOD_NONE);
    vterm_keyboard_key(h->vt, VTERM_KEY_KP_1, VTERM_MOD_NONE);
    std::string keys;
    for (char c : h->answers)
        keys += c == 27 ? std::string("ESC") : std::string(1, c);
    h->answers.clear();
    return "title '" + h->title + "', properties '" + h->props + "', Up and keypad 1 send '" +
           keys + "'";
}

int harness_bells(Harness *h) {
    return h->bells;
}
const std::string &harness_output(Harness *h) {
    return h->output;
}

int harness_wait_exit(Harness *h, int timeout_ms) {
    return pump_until(h, timeout_ms, [h] { return h->exited; }) ? h->status : -1;
}

void harness_hangup(Harness *h) {
    pump(h, 0);
    close(h->master);
    h->master = -1;
}

// The speeds live in c_cflag.
bool harness_mode_unchanged(Harness *h) {
    const struct termios &a = h->before, &b = h->after;
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0;
}
