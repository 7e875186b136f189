#include "harness.h"

#include <gtest/gtest.h>
#include <vterm.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
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
    int slave = -1;         // kept open to see how much typed input is still unread
    long reads_before = -1; // the program's read count before the last write
    VTerm *vt = nullptr;
    VTermScreen *screen = nullptr;
    std::string output;
    int bells = 0;
    bool cursor_visible = true;
    std::string title;   // set by OSC 0 or 2
    std::string props;   // every other property change, in order
    std::string answers; // what the terminal would send back
    bool exited = false;
    int status = -1;
    struct termios before {};
    struct termios after {}; // all zero unless read at exit: never equal to before
    bool watch_child = false;
    std::string tty; // the terminal's device name
    std::string stty_before;
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

// From libvterm 0.2 on, a string property arrives in fragments.
#if VTERM_VERSION_MAJOR > 0 || VTERM_VERSION_MINOR >= 2
void set_title(Harness *h, const VTermValue *val) {
    if (val->string.initial)
        h->title.clear();
    h->title.append(val->string.str, val->string.len);
}
#else
void set_title(Harness *h, const VTermValue *val) {
    h->title = val->string;
}
#endif

int on_termprop(VTermProp prop, VTermValue *val, void *user) {
    Harness *h = static_cast<Harness *>(user);
    if (prop == VTERM_PROP_CURSORVISIBLE)
        h->cursor_visible = val->boolean != 0;
    else if (prop == VTERM_PROP_TITLE)
        set_title(h, val);
    else if (prop != VTERM_PROP_CURSORBLINK && prop != VTERM_PROP_CURSORSHAPE)
        h->props += std::to_string(prop) + " ";
    return 1;
}

// By name: later libvterm releases add members at the end.
VTermScreenCallbacks make_screen_callbacks() {
    VTermScreenCallbacks c{};
    c.settermprop = on_termprop;
    c.bell = on_bell;
    return c;
}
const VTermScreenCallbacks screen_callbacks = make_screen_callbacks();

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
    }
    if (n < 0 && total == 0 && wait_ms > 0) // EIO once the slave side is gone: do not spin
        poll(nullptr, 0, 5);
    vterm_screen_flush_damage(h->screen);
    reap(h, false);
    return total;
}

// The process whose reads tell whether the program is idle: the started
// one, or with watch_child the last of its chain of first children (the job
// of the started shell, or the program a wrapper in that job runs; 0 while
// there is none).
pid_t watched(Harness *h) {
    if (!h->watch_child)
        return h->pid;
    pid_t last = 0;
    for (pid_t parent = h->pid;;) {
        char path[64];
        snprintf(path, sizeof path, "/proc/%d/task/%d/children", static_cast<int>(parent),
                 static_cast<int>(parent));
        int child = 0;
        if (FILE *f = fopen(path, "r")) {
            if (fscanf(f, "%d", &child) != 1)
                child = 0;
            fclose(f);
        }
        if (child <= 0)
            return last;
        last = parent = child;
    }
}

// A number from one of the program's /proc files: the first field of `file`,
// or the value after `label` in it; -1 when it cannot be read.
long proc_number(pid_t pid, const char *file, const char *label = nullptr) {
    char path[64];
    snprintf(path, sizeof path, "/proc/%d/%s", static_cast<int>(pid), file);
    FILE *f = fopen(path, "r");
    if (f == nullptr)
        return -1;
    char line[256];
    long value = -1;
    while (value < 0 && fgets(line, sizeof line, f) != nullptr) {
        const char *at = label == nullptr ? line : strstr(line, label);
        if (at == line)
            value = strtol(line + (label ? strlen(label) : 0), nullptr, 0);
    }
    fclose(f);
    return value;
}

// The program sleeps in read(0, ...) (read is 0 on x86-64, 3 on i386), or is
// stopped: either way nothing changes until something is sent.
bool program_waits(Harness *h, bool *stopped = nullptr) {
    char path[64], state = '?';
    pid_t pid = watched(h);
    if (pid <= 0)
        return false;
    snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(pid));
    if (FILE *f = fopen(path, "r")) {
        if (fscanf(f, "%*d (%*[^)]) %c", &state) != 1)
            state = '?';
        fclose(f);
    }
    if (stopped != nullptr)
        *stopped = state == 'T' || state == 't';
    if (state == 'T' || state == 't')
        return true;
    snprintf(path, sizeof path, "/proc/%d/syscall", static_cast<int>(pid));
    FILE *f = fopen(path, "r");
    if (f == nullptr)
        return false;
    long number = -1;
    unsigned long fd = 1;
    bool reading =
        fscanf(f, "%ld %lx", &number, &fd) == 2 && (number == 0 || number == 3) && fd == 0;
    fclose(f);
    return reading;
}

// The program is idle: it has come back from the read that was under way when
// the last bytes were written, sleeps in the next read with nothing left
// unread, and all it wrote has been taken in. No timer is involved, so a
// loaded machine only makes it slower, never wrong.
bool idle(Harness *h) {
    int unread = 0;
    bool stopped = false;
    if (!program_waits(h, &stopped) || ioctl(h->slave, FIONREAD, &unread) < 0 || unread > 0)
        return false;
    // A program stopped inside its read has not come back from it yet.
    if (!stopped && proc_number(watched(h), "io", "syscr: ") <= h->reads_before)
        return false;
    return pump(h, 0) == 0 && program_waits(h);
}

// Pumps until done() holds (true) or timeout_ms pass (false).
template <class Done> bool pump_until(Harness *h, int timeout_ms, Done done) {
    for (long end = now_ms() + timeout_ms; !done(); pump(h, 2))
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

std::string tty_name(int fd) {
    const char *name = ttyname(fd);
    return name != nullptr ? name : "";
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

std::vector<std::string> harness_command() {
    const char *program = getenv("AV_E2E_PROGRAM");
    if (program == nullptr || program[0] == '\0')
        return {AV_BINARY};
    if (AV_E2E_RUNNER[0] == '\0')
        return {program};
    return {AV_E2E_RUNNER, "-E", "LD_PRELOAD=" AV_E2E_PRELOAD, program};
}

bool harness_emulated() {
    const char *program = getenv("AV_E2E_PROGRAM");
    return program != nullptr && program[0] != '\0' && AV_E2E_RUNNER[0] != '\0';
}

int harness_open_to_others() {
    // The first ancestor of the build tree that others cannot search (root's
    // home, 0700, where a clone often lives).
    std::string closed;
    std::string path;
    for (const auto &part : std::filesystem::path(AV_BINARY_DIR).relative_path()) {
        path += "/" + part.string();
        if (path == AV_BINARY_DIR)
            break;
        struct stat st;
        if (stat(path.c_str(), &st) == 0 && (st.st_mode & S_IXOTH) == 0) {
            closed = path;
            break;
        }
    }
    if (closed.empty())
        return 0;
    // In a mount namespace of its own, an open tmpfs takes the closed
    // directory's place, with the build tree bound back at its path.
    // The tree is opened inside the new namespace: a bind mount takes its
    // source from the namespace it is made in.
    if (unshare(CLONE_NEWNS) < 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0)
        return -1;
    int tree = open(AV_BINARY_DIR, O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (tree < 0 || mount("tmpfs", closed.c_str(), "tmpfs", 0, "mode=0755") < 0)
        return -1;
    std::error_code ec;
    std::filesystem::create_directories(AV_BINARY_DIR, ec);
    std::string source = "/proc/self/fd/" + std::to_string(tree);
    if (ec || mount(source.c_str(), AV_BINARY_DIR, nullptr, MS_BIND | MS_REC, nullptr) < 0)
        return -1;
    close(tree);
    return 0;
}

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

namespace {
// The runs mount roots, which takes root: as anyone else every test is skipped.
struct NeedsRoot : testing::Environment {
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "end-to-end tests run only as root";
    }
};
const testing::Environment *const needs_root = testing::AddGlobalTestEnvironment(new NeedsRoot);
} // namespace

Harness *harness_start(const HarnessOptions &options) {
    if (geteuid() != 0) {
        ADD_FAILURE() << "harness: needs root (mount namespaces)"; // skipped before this
        return nullptr;
    }
    std::error_code ec;
    std::string root = options.root.empty() ? harness_new_root() : options.root;
    fs::create_directories(AV_PRODUCT_ROOT, ec); // else the mount in the child says why

    // Built before fork: the child only calls async-signal-safe functions.
    std::vector<std::string> args = harness_command();
    if (!options.program.empty())
        args = {options.program};
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
    h->vt = vterm_new(24, 80);
    // The terminal takes UTF-8 when the program's locale says so, as a
    // real one set up for that locale does.
    std::string locale;
    for (const char *name : {"LC_ALL=", "LC_CTYPE=", "LANG="}) {
        auto it =
            std::find_if(env.begin(), env.end(), [&](auto &e) { return e.starts_with(name); });
        if (it != env.end() && it->size() > strlen(name)) {
            locale = it->substr(strlen(name));
            break;
        }
    }
    std::transform(locale.begin(), locale.end(), locale.begin(), ::toupper);
    bool utf8 =
        locale.find("UTF-8") != std::string::npos || locale.find("UTF8") != std::string::npos;
    vterm_set_utf8(h->vt, utf8);
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
    h->watch_child = options.watch_child;
    if (openpty(&h->master, &slave, nullptr, nullptr, &ws) < 0 || (h->slave = dup(slave)) < 0 ||
        tcgetattr(h->master, &h->before) < 0 || (h->tty = tty_name(slave)).empty() ||
        (options.record_stty && (h->stty_before = harness_stty(h)).empty()) ||
        (h->pid = fork()) < 0) {
        ADD_FAILURE() << "harness: openpty or fork: " << strerror(errno);
        close(slave);
        harness_stop(h);
        return nullptr;
    }
    if (h->pid == 0) {
        close(h->master);
        close(h->slave);
        if (login_tty(slave) < 0)
            child_fail("login_tty");
        if (unshare(CLONE_NEWNS) < 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0 ||
            // Recursive, so that a file system a test mounted inside the root
            // (a small full one) comes along.
            mount(root.c_str(), AV_PRODUCT_ROOT, nullptr, MS_BIND | MS_REC, nullptr) < 0)
            child_fail("mount of the product root");
        if (!options.as_root && harness_open_to_others() < 0)
            child_fail("opening the build tree to user nobody");
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
    close(h->slave);
    vterm_free(h->vt);
    delete h;
}

void harness_send(Harness *h, const std::string &bytes) {
    harness_wait_idle(h);
    // A stopped program does not read what is sent now (its shell does):
    // it is idle again once it sleeps in a read, whichever.
    bool stopped = false;
    program_waits(h, &stopped);
    h->reads_before = stopped ? -1 : proc_number(watched(h), "io", "syscr: ");
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
    harness_wait_idle(h);
}

namespace {

// Groups keys into writes well under the 127 bytes of one read, each Escape in
// a write of its own, so that no key is read as part of another's sequence.
void send_keys(Harness *h, const std::vector<std::string> &keys) {
    std::string group;
    for (const std::string &key : keys) {
        if (!group.empty() && (key == "\033" || group.size() + key.size() > 64)) {
            harness_send(h, group);
            group.clear();
        }
        group += key;
        if (key == "\033") {
            harness_send(h, group);
            group.clear();
        }
    }
    if (!group.empty())
        harness_send(h, group);
}

std::string named_key(const std::string &name) {
    auto it = key_bytes.find(name);
    if (name.size() == 6 && name.starts_with("Ctrl-") && name[5] >= 'A' && name[5] <= 'Z')
        return std::string(1, char(name[5] - 'A' + 1));
    if (it != key_bytes.end())
        return it->second;
    ADD_FAILURE() << "harness: unknown key name '" << name << "'";
    return "";
}

} // namespace

void harness_type(Harness *h, const std::string &text) {
    std::vector<std::string> keys;
    for (char c : text)
        keys.emplace_back(1, c);
    send_keys(h, keys);
}

void harness_key(Harness *h, const std::string &name) {
    harness_send(h, named_key(name));
}

void harness_keys(Harness *h, const std::string &script) {
    std::vector<std::string> keys;
    for (size_t i = 0; i < script.size(); i++) {
        size_t close = script[i] == '{' ? script.find('}', i) : std::string::npos;
        if (close == std::string::npos) {
            keys.emplace_back(1, script[i]);
        } else {
            keys.push_back(named_key(script.substr(i + 1, close - i - 1)));
            i = close;
        }
    }
    send_keys(h, keys);
}

bool harness_wait_idle(Harness *h, int timeout_ms) {
    return pump_until(h, timeout_ms, [h] { return h->exited || idle(h); });
}

bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms) {
    auto shown = [&] { return harness_screen(h).find(text) != std::string::npos; };
    pump_until(h, timeout_ms, [&] { return shown() || (h->exited && pump(h, 0) == 0); });
    if (!shown())
        return false;
    harness_wait_idle(h); // the rest of that drawing
    return true;
}

bool harness_wait_stopped(Harness *h, int timeout_ms) {
    auto stopped = [&] {
        bool is_stopped = false;
        program_waits(h, &is_stopped);
        return is_stopped;
    };
    pump_until(h, timeout_ms, [&] { return stopped() || h->exited; });
    if (!stopped())
        return false;
    pump(h, 0); // what it wrote before it stopped
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
int harness_pid(Harness *h) {
    return h->pid;
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

void harness_signal(Harness *h, int signal_number) {
    pump(h, 0);
    kill(h->pid, signal_number);
}

std::string harness_stty(Harness *h) {
    std::string out;
    if (FILE *p = popen(("stty -a -F " + h->tty + " 2>&1").c_str(), "r")) {
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;)
            out.append(buf, n);
        pclose(p);
    }
    return out;
}

const std::string &harness_stty_before(Harness *h) {
    return h->stty_before;
}
