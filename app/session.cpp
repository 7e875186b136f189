// The terminal session: prepares the terminal, runs the main menu and puts
// the terminal back as it was found, on every way out.
#include "app/app.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

#include "support/support.h"
#include "win/win.h"

namespace {

TermState *session_state = nullptr;

// The terminal went away under the menu: reading again would only spin.
// Put the mode back if the line still takes it, and end the run.
void session_hangup() {
    if (session_state != nullptr)
        term_restore(session_state);
    _exit(255);
}

// From key_read, in the main flow: the terminal may show anything now.
void session_resume() {
    term_repaint();
    win_cursor_again();
    term_cursor_again();
}

// Every signal that would end the program: the way out of a normal exit,
// then status 255. Not a re-raise: 255 is the status of every way the
// program fails, and the default action of some (XCPU) would leave a core
// file of a root process holding configuration in memory. A save under way
// leaves its old file and no temporary file behind.
void on_end(int) {
    replace_cleanup();
    term_leave(session_state);
    _exit(255);
}

// SIGCONT: the shell has put its own mode on the terminal.
void on_continue(int) {
    int saved = errno;
    ioctl(0, TCSETA, &session_state->work_mode);
    config_lock_running();
    key_request_resume();
    errno = saved;
}

void on_stop(int) {
    int saved = errno;
    // Under a wrapper in the same job (sh -c, make run) the wrapper stops at
    // once and the shell takes the terminal back while this still restores
    // the mode. From the background that raises SIGTTOU, which would stop the
    // program here, and fg would let it finish its own stop after the resume.
    // With SIGTTOU blocked the mode change and the output go through.
    sigset_t ttou, before;
    sigemptyset(&ttou);
    sigaddset(&ttou, SIGTTOU);
    sigprocmask(SIG_BLOCK, &ttou, &before);
    term_leave(session_state);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    // Stop for real with the default action, which this handler replaces.
    signal(SIGTSTP, SIG_DFL);
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTSTP);
    sigprocmask(SIG_UNBLOCK, &stop, nullptr);
    config_lock_stopped(); // so that a session kept out can say "stopped"
    kill(getpid(), SIGTSTP);
    // Continued here. A process group without a shell to continue it is
    // not stopped at all: the program goes on at once, so its mode and
    // screen come back in either case.
    sigprocmask(SIG_BLOCK, &stop, nullptr);
    struct sigaction again = {};
    again.sa_handler = on_stop;
    sigaction(SIGTSTP, &again, nullptr);
    on_continue(SIGCONT);
    errno = saved;
}

// Signals whose default would end the program and that can be caught; each
// ends it through on_end. Real-time signals are added at run time. Left at
// their defaults: the faults of the program itself (SEGV, BUS, ILL, FPE,
// TRAP, ABRT, SYS), whose state can then not be trusted to drive the
// terminal and which debuggers and the sanitizers must see as they are.
constexpr int ENDING_SIGNALS[] = {
    SIGHUP,    SIGTERM, SIGPIPE, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF, SIGXCPU, SIGIO,
#ifdef SIGSTKFLT
    SIGSTKFLT,
#endif
#ifdef SIGPWR
    SIGPWR,
#endif
};

// The interrupt and quit characters are moved to byte 255, which a Latin-1
// key or a Meta key can still send: ignore what they raise. A file size
// limit must fail the write, which the save then reports, rather than kill
// the program in the middle of it.
constexpr int IGNORED_SIGNALS[] = {SIGINT, SIGQUIT, SIGXFSZ};

struct sigaction previous[NSIG];
bool taken[NSIG];

void take_signal(int sig, void (*handler)(int)) {
    if (sig <= 0 || sig >= NSIG)
        return;
    struct sigaction action = {};
    action.sa_handler = handler;
    // Not restarted: the read that a stop and continue interrupts must
    // come back to key_read, which then repaints.
    action.sa_flags = 0;
    // One ending at a time: a second signal must not cut the first one's
    // restore short.
    if (handler == on_end)
        sigfillset(&action.sa_mask);
    if (sigaction(sig, nullptr, &previous[sig]) != 0)
        return;
    // A signal ignored from the start (nohup, no job control) stays
    // ignored: whoever started the program asked for that.
    if (previous[sig].sa_handler == SIG_IGN)
        return;
    if (sigaction(sig, &action, nullptr) == 0)
        taken[sig] = true;
}

void session_signals_on() {
    for (int sig : IGNORED_SIGNALS)
        take_signal(sig, SIG_IGN);
    for (int sig : ENDING_SIGNALS)
        take_signal(sig, on_end);
    for (int sig = SIGRTMIN; sig <= SIGRTMAX; sig++)
        take_signal(sig, on_end);
    take_signal(SIGTSTP, on_stop);
    take_signal(SIGCONT, on_continue);
}

// Blocks the session's signals until the terminal is back and their
// dispositions are restored, so none finds it half done.
void session_signals_off(sigset_t *old) {
    sigset_t all;
    sigemptyset(&all);
    for (int sig = 1; sig < NSIG; sig++)
        if (taken[sig])
            sigaddset(&all, sig);
    sigprocmask(SIG_BLOCK, &all, old);
}

void session_signals_restore(const sigset_t *old) {
    for (int sig = 1; sig < NSIG; sig++) {
        if (taken[sig])
            sigaction(sig, &previous[sig], nullptr);
        taken[sig] = false;
    }
    sigprocmask(SIG_SETMASK, old, nullptr);
}

} // namespace

int term_session(TermState *state) {
    term_screen_strings();
    if (term_raw_mode(state, 127, 1) != 0) {
        // The mode was not changed, so there is nothing to put back.
        fputs("\aavconfig: cannot set the terminal mode\n", stdout);
        fflush(stdout);
        return 255;
    }
    session_state = state;
    session_signals_on();
    key_on_hangup(session_hangup);
    key_on_resume(session_resume);
    key_init();
    term_blank_screen();

    int result = main_menu();

    sigset_t old;
    session_signals_off(&old);
    fflush(stdout);
    term_leave(state);
    state->work_mode = state->saved_mode;
    session_state = nullptr;
    session_signals_restore(&old);
    return result;
}
