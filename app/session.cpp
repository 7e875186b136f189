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

// SIGTERM, SIGHUP: the way out of a normal exit, then status 255. A save
// under way leaves its old file and no temporary file behind.
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
    term_leave(session_state);
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

constexpr int SESSION_SIGNALS[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP, SIGCONT};
constexpr int SESSION_SIGNAL_COUNT = sizeof SESSION_SIGNALS / sizeof SESSION_SIGNALS[0];
struct sigaction previous[SESSION_SIGNAL_COUNT];

void session_signals_on() {
    for (int i = 0; i < SESSION_SIGNAL_COUNT; i++) {
        int sig = SESSION_SIGNALS[i];
        struct sigaction action = {};
        // The interrupt and quit characters are moved to byte 255, which a
        // Latin-1 key or a Meta key can still send: ignore what they raise.
        action.sa_handler = SIG_IGN;
        if (sig == SIGTERM || sig == SIGHUP)
            action.sa_handler = on_end;
        else if (sig == SIGTSTP)
            action.sa_handler = on_stop;
        else if (sig == SIGCONT)
            action.sa_handler = on_continue;
        // Not restarted: the read that a stop and continue interrupts must
        // come back to key_read, which then repaints.
        action.sa_flags = 0;
        sigaction(sig, nullptr, &previous[i]);
        // A signal ignored from the start (nohup, no job control) stays
        // ignored: whoever started the program asked for that.
        if (previous[i].sa_handler != SIG_IGN)
            sigaction(sig, &action, nullptr);
    }
}

// Blocks the session's signals until the terminal is back and their
// dispositions are restored, so none finds it half done.
void session_signals_off(sigset_t *old) {
    sigset_t all;
    sigemptyset(&all);
    for (int sig : SESSION_SIGNALS)
        sigaddset(&all, sig);
    sigprocmask(SIG_BLOCK, &all, old);
}

void session_signals_restore(const sigset_t *old) {
    for (int i = 0; i < SESSION_SIGNAL_COUNT; i++)
        sigaction(SESSION_SIGNALS[i], &previous[i], nullptr);
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
