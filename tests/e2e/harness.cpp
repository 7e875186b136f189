#include "harness.h"

#include <gtest/gtest.h>
#include <vterm.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>
#include <utmp.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace fs = std::filesystem;

struct Harness {
    pid_t pid = -1;
    int master = -1;
    VTerm *vt = nullptr;
    VTermScreen *screen = nullptr;
    std::string output;
    std::string root;
    int bells = 0;
    bool cursor_visible = true;
    int key_pause_ms = 120;
    bool exited = false;
    int status = -1;
    bool have_after = false;
    struct termios before {};
    struct termios after {};
};

namespace {

long now_ms() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000L + ts.tv_nsec / 1000000L;
}

int on_bell(void *user) {
    static_cast<Harness *>(user)->bells++;
    return 1;
}

int on_termprop(VTermProp prop, VTermValue *val, void *user) {
    if (prop == VTERM_PROP_CURSORVISIBLE)
        static_cast<Harness *>(user)->cursor_visible = val->boolean != 0;
    return 1;
}

const VTermScreenCallbacks screen_callbacks = {
    nullptr, nullptr, nullptr, on_termprop, on_bell, nullptr, nullptr, nullptr,
};

void capture_after(Harness *h) {
    if (h->have_after || h->master < 0)
        return;
    if (tcgetattr(h->master, &h->after) == 0)
        h->have_after = true;
}

void reap(Harness *h, bool block) {
    if (h->exited || h->pid < 0)
        return;
    int st = 0;
    pid_t r = waitpid(h->pid, &st, block ? 0 : WNOHANG);
    if (r == h->pid) {
        h->exited = true;
        capture_after(h);
        if (WIFEXITED(st))
            h->status = WEXITSTATUS(st);
        else if (WIFSIGNALED(st))
            h->status = 128 + WTERMSIG(st);
    }
}

// Reads whatever the program has written, waiting at most wait_ms for the
// first byte. Returns the number of bytes read.
size_t pump(Harness *h, int wait_ms) {
    if (h->master < 0)
        return 0;
    size_t total = 0;
    struct pollfd p = {h->master, POLLIN, 0};
    int timeout = wait_ms;
    for (;;) {
        int r = poll(&p, 1, timeout);
        if (r < 0 && errno == EINTR)
            continue;
        if (r <= 0)
            break;
        char buf[4096];
        ssize_t n = read(h->master, buf, sizeof buf);
        if (n <= 0) {
            if (n < 0 && (errno == EAGAIN || errno == EINTR))
                continue;
            // EIO: the last slave descriptor closed. Poll would keep
            // reporting POLLHUP, so give the caller a chance to reap.
            if (total == 0 && timeout > 0) {
                struct timespec ts = {0, 5 * 1000000L};
                nanosleep(&ts, nullptr);
            }
            break;
        }
        h->output.append(buf, static_cast<size_t>(n));
        vterm_input_write(h->vt, buf, static_cast<size_t>(n));
        total += static_cast<size_t>(n);
        timeout = 0; // take everything already there, without waiting
    }
    vterm_screen_flush_damage(h->screen);
    // Answers the emulator would send back (none expected) are dropped.
    char sink[256];
    while (vterm_output_read(h->vt, sink, sizeof sink) > 0) {
    }
    return total;
}

// Reads continuously for ms milliseconds.
void pump_for(Harness *h, int ms) {
    long end = now_ms() + ms;
    for (long left = ms; left > 0; left = end - now_ms()) {
        pump(h, static_cast<int>(left));
        reap(h, false);
        if (h->exited) {
            pump(h, 0);
            return;
        }
    }
}

void write_all(Harness *h, const char *p, size_t n) {
    while (n > 0 && h->master >= 0) {
        ssize_t w = write(h->master, p, n);
        if (w < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                pump(h, 5);
                continue;
            }
            ADD_FAILURE() << "harness: write to terminal: " << strerror(errno);
            return;
        }
        p += w;
        n -= static_cast<size_t>(w);
    }
}

void append_utf8(std::string &s, uint32_t c) {
    if (c < 0x80) {
        s += static_cast<char>(c);
    } else if (c < 0x800) {
        s += static_cast<char>(0xC0 | (c >> 6));
        s += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        s += static_cast<char>(0xE0 | (c >> 12));
        s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        s += static_cast<char>(0xF0 | (c >> 18));
        s += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The child's half: never returns. Failures are reported through errfd.
[[noreturn]] void child_fail(int errfd, const char *what) {
    char msg[512];
    int n = snprintf(msg, sizeof msg, "%s: %s", what, strerror(errno));
    if (n > 0 && write(errfd, msg, static_cast<size_t>(n)) < 0) {
    }
    _exit(127);
}

[[noreturn]] void run_child(int slave, int errfd, const std::string &root,
                            const std::vector<std::string> &argv_s,
                            const std::vector<std::string> &env_s, bool as_root) {
    if (login_tty(slave) < 0)
        child_fail(errfd, "login_tty");
    if (unshare(CLONE_NEWNS) < 0)
        child_fail(errfd, "unshare(CLONE_NEWNS)");
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0)
        child_fail(errfd, "mount private /");
    if (mount(root.c_str(), AV_PRODUCT_ROOT, nullptr, MS_BIND, nullptr) < 0)
        child_fail(errfd, "bind mount of the product root");
    if (!as_root) {
        if (setgroups(0, nullptr) < 0 || setgid(65534) < 0 || setuid(65534) < 0)
            child_fail(errfd, "switch to user nobody");
    }
    std::vector<char *> argv;
    for (const std::string &a : argv_s)
        argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    std::vector<char *> envp;
    for (const std::string &e : env_s)
        envp.push_back(const_cast<char *>(e.c_str()));
    envp.push_back(nullptr);
    signal(SIGPIPE, SIG_DFL);
    execve(argv[0], argv.data(), envp.data());
    child_fail(errfd, "exec");
}

const std::map<std::string, std::string> &key_bytes() {
    static const std::map<std::string, std::string> keys = [] {
        std::map<std::string, std::string> k = {
            {"Up", "\033[A"},      {"Down", "\033[B"},    {"Right", "\033[C"},
            {"Left", "\033[D"},    {"Home", "\033[H"},    {"End", "\033[F"},
            {"PgUp", "\033[5~"},   {"PgDn", "\033[6~"},   {"Delete", "\033[3~"},
            {"Insert", "\033[2~"}, {"Backspace", "\177"}, {"Tab", "\t"},
            {"BackTab", "\033[Z"}, {"Enter", "\r"},       {"Esc", "\033"},
            {"F1", "\033OP"},      {"F2", "\033OQ"},      {"F3", "\033OR"},
            {"F4", "\033OS"},      {"F5", "\033[15~"},    {"F6", "\033[17~"},
            {"F7", "\033[18~"},    {"F8", "\033[19~"},    {"F9", "\033[20~"},
            {"F10", "\033[21~"},
        };
        for (char c = 'A'; c <= 'Z'; c++)
            k[std::string("Ctrl-") + c] = std::string(1, static_cast<char>(c - 'A' + 1));
        return k;
    }();
    return keys;
}

} // namespace

std::string harness_new_root() {
    std::string tmpl = std::string(AV_E2E_ROOTS_DIR) + "/root-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    std::error_code ec;
    fs::create_directories(AV_E2E_ROOTS_DIR, ec);
    if (mkdtemp(buf.data()) == nullptr) {
        ADD_FAILURE() << "harness: mkdtemp " << tmpl << ": " << strerror(errno);
        return std::string();
    }
    std::string root(buf.data());
    // Readable by everyone, so that runs as a non-root user see it too.
    chmod(root.c_str(), 0755);
    fs::create_directories(root + "/conduvia/config", ec);
    if (ec)
        ADD_FAILURE() << "harness: cannot create " << root << "/conduvia/config";
    chmod((root + "/conduvia").c_str(), 0755);
    chmod((root + "/conduvia/config").c_str(), 0755);
    std::string termdef = std::string(AV_SOURCE_DIR) + "/data/termdef";
    if (fs::exists(termdef))
        fs::copy_file(termdef, root + "/termdef", ec);
    return root;
}

Harness *harness_start(const HarnessOptions &options) {
    // The product root is bind-mounted over AV_PRODUCT_ROOT; never do that
    // to a directory outside this build tree.
    std::string product_root = AV_PRODUCT_ROOT;
    std::string build_dir = std::string(AV_BINARY_DIR) + "/";
    if (product_root.compare(0, build_dir.size(), build_dir) != 0) {
        ADD_FAILURE() << "harness: AV_PRODUCT_ROOT " << product_root
                      << " is not inside the build tree " << build_dir
                      << "; configure with -DAV_PRODUCT_ROOT=<build>/root";
        return nullptr;
    }
    std::error_code ec;
    fs::create_directories(product_root, ec);
    if (ec) {
        ADD_FAILURE() << "harness: cannot create " << product_root << ": " << ec.message();
        return nullptr;
    }

    Harness *h = new Harness;
    h->key_pause_ms = options.key_pause_ms;
    h->root = options.root.empty() ? harness_new_root() : options.root;
    if (h->root.empty()) {
        delete h;
        return nullptr;
    }

    std::vector<std::string> argv;
    argv.push_back(options.program.empty() ? std::string(AV_BINARY) : options.program);
    for (const std::string &a : options.args)
        argv.push_back(a);

    // An entry "NAME" without '=' suppresses the default for NAME.
    std::vector<std::string> env;
    bool term_given = false;
    for (const std::string &e : options.env) {
        if (e.rfind("TERM=", 0) == 0 || e == "TERM")
            term_given = true;
        if (e.find('=') != std::string::npos)
            env.push_back(e);
    }
    if (!term_given)
        env.push_back("TERM=xterm");

    int slave = -1;
    struct winsize ws = {24, 80, 0, 0};
    if (openpty(&h->master, &slave, nullptr, nullptr, &ws) < 0) {
        ADD_FAILURE() << "harness: openpty: " << strerror(errno);
        delete h;
        return nullptr;
    }
    tcgetattr(h->master, &h->before);

    int errpipe[2];
    if (pipe2(errpipe, O_CLOEXEC) < 0) {
        ADD_FAILURE() << "harness: pipe: " << strerror(errno);
        close(slave);
        close(h->master);
        delete h;
        return nullptr;
    }
    fflush(nullptr);
    pid_t pid = fork();
    if (pid < 0) {
        ADD_FAILURE() << "harness: fork: " << strerror(errno);
        close(slave);
        close(h->master);
        close(errpipe[0]);
        close(errpipe[1]);
        delete h;
        return nullptr;
    }
    if (pid == 0) {
        close(h->master);
        close(errpipe[0]);
        run_child(slave, errpipe[1], h->root, argv, env, options.as_root);
    }
    h->pid = pid;
    close(slave);
    close(errpipe[1]);
    fcntl(h->master, F_SETFL, fcntl(h->master, F_GETFL) | O_NONBLOCK);

    h->vt = vterm_new(24, 80);
    vterm_set_utf8(h->vt, 0);
    h->screen = vterm_obtain_screen(h->vt);
    vterm_screen_set_callbacks(h->screen, &screen_callbacks, h);
    vterm_screen_reset(h->screen, 1);

    // The exec either succeeds (the pipe closes empty) or reports why not.
    std::string err;
    char buf[512];
    for (;;) {
        ssize_t n = read(errpipe[0], buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        err.append(buf, static_cast<size_t>(n));
    }
    close(errpipe[0]);
    if (!err.empty()) {
        ADD_FAILURE() << "harness: cannot start " << argv[0] << ": " << err;
        harness_stop(h);
        return nullptr;
    }
    return h;
}

void harness_stop(Harness *h) {
    if (h == nullptr)
        return;
    if (!h->exited && h->pid > 0) {
        kill(h->pid, SIGKILL);
        reap(h, true);
    }
    if (h->master >= 0)
        close(h->master);
    if (h->vt)
        vterm_free(h->vt);
    delete h;
}

void harness_send(Harness *h, const std::string &bytes) {
    pump(h, 0);
    write_all(h, bytes.data(), bytes.size());
    pump_for(h, h->key_pause_ms);
}

void harness_type(Harness *h, const std::string &text) {
    for (char c : text)
        harness_send(h, std::string(1, c));
}

void harness_key(Harness *h, const std::string &name) {
    auto it = key_bytes().find(name);
    if (it == key_bytes().end()) {
        ADD_FAILURE() << "harness: unknown key name '" << name << "'";
        return;
    }
    harness_send(h, it->second);
}

void harness_wait_quiet(Harness *h, int quiet_ms, int timeout_ms) {
    long end = now_ms() + timeout_ms;
    long last = now_ms();
    while (now_ms() < end) {
        size_t n = pump(h, 10);
        reap(h, false);
        if (n > 0)
            last = now_ms();
        else if (now_ms() - last >= quiet_ms || h->exited)
            break;
    }
    pump(h, 0);
}

bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms) {
    long end = now_ms() + timeout_ms;
    for (;;) {
        pump(h, 10);
        if (harness_screen(h).find(text) != std::string::npos) {
            // The text is there; let the rest of that drawing arrive too, so
            // that callers read a finished screen even on a loaded machine.
            harness_wait_quiet(h, 100, 2000);
            return true;
        }
        reap(h, false);
        if (now_ms() >= end || (h->exited && pump(h, 0) == 0))
            return harness_screen(h).find(text) != std::string::npos;
    }
}

std::string harness_row(Harness *h, int row) {
    std::string s;
    for (int col = 0; col < 80; col++) {
        VTermScreenCell cell;
        VTermPos pos = {row, col};
        if (!vterm_screen_get_cell(h->screen, pos, &cell) || cell.chars[0] == 0) {
            s += ' ';
            continue;
        }
        append_utf8(s, cell.chars[0]);
    }
    return s;
}

std::string harness_screen(Harness *h) {
    std::string s;
    for (int row = 0; row < 24; row++) {
        if (row)
            s += '\n';
        s += harness_row(h, row);
    }
    return s;
}

bool harness_reverse(Harness *h, int row, int column) {
    VTermScreenCell cell;
    VTermPos pos = {row, column};
    if (!vterm_screen_get_cell(h->screen, pos, &cell))
        return false;
    return cell.attrs.reverse != 0;
}

std::pair<int, int> harness_cursor(Harness *h) {
    VTermPos pos;
    vterm_state_get_cursorpos(vterm_obtain_state(h->vt), &pos);
    return {pos.row, pos.col};
}

bool harness_cursor_visible(Harness *h) {
    return h->cursor_visible;
}

int harness_bells(Harness *h) {
    return h->bells;
}

const std::string &harness_output(Harness *h) {
    return h->output;
}

int harness_wait_exit(Harness *h, int timeout_ms) {
    long end = now_ms() + timeout_ms;
    while (!h->exited) {
        if (now_ms() >= end)
            return -1;
        if (h->master >= 0)
            pump(h, 10);
        else {
            struct timespec ts = {0, 5 * 1000000L};
            nanosleep(&ts, nullptr);
        }
        reap(h, false);
    }
    pump(h, 0);
    return h->status;
}

void harness_hangup(Harness *h) {
    pump(h, 0);
    if (h->master >= 0) {
        close(h->master);
        h->master = -1;
    }
}

bool harness_mode_unchanged(Harness *h) {
    capture_after(h);
    if (!h->have_after)
        return false;
    const struct termios &a = h->before;
    const struct termios &b = h->after;
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0 &&
           cfgetispeed(&a) == cfgetispeed(&b) && cfgetospeed(&a) == cfgetospeed(&b);
}

const std::string &harness_root(Harness *h) {
    return h->root;
}

std::string harness_row_plain(Harness *h, int row) {
    std::string s;
    for (int col = 0; col < 80; col++) {
        VTermScreenCell cell;
        VTermPos pos = {row, col};
        uint32_t c = vterm_screen_get_cell(h->screen, pos, &cell) ? cell.chars[0] : 0;
        if (c == 0)
            s += ' ';
        else if (c < 0x80)
            s += static_cast<char>(c);
        else if (c == 0x2500)
            s += '-';
        else if (c == 0x2502)
            s += '|';
        else if (c >= 0x2500 && c <= 0x257F)
            s += '+';
        else
            s += '?';
    }
    return s;
}
