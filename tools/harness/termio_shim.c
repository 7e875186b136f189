/* Preloaded into the 32-bit program when it runs under the user-mode
   emulator (on a machine whose kernel cannot run it): the emulator copies
   only the first four bytes of the System V termio record of TCGETA and
   TCSETA. This does what the kernel does for those requests instead, through
   the termios requests, which the emulator translates whole. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdarg.h>
#include <string.h>
#include <sys/ioctl.h>
#include <termio.h>
#include <termios.h>

int ioctl(int fd, unsigned long request, ...) {
    va_list ap;
    va_start(ap, request);
    void *arg = va_arg(ap, void *);
    va_end(ap);
    if (request != TCGETA && request != TCSETA && request != TCSETAW && request != TCSETAF) {
        static int (*next)(int, unsigned long, ...);
        if (next == NULL)
            next = (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
        return next(fd, request, arg);
    }
    struct termio *old = arg;
    struct termios mode;
    if (tcgetattr(fd, &mode) != 0)
        return -1;
    if (request == TCGETA) {
        old->c_iflag = (unsigned short)mode.c_iflag;
        old->c_oflag = (unsigned short)mode.c_oflag;
        old->c_cflag = (unsigned short)mode.c_cflag;
        old->c_lflag = (unsigned short)mode.c_lflag;
        old->c_line = mode.c_line;
        memcpy(old->c_cc, mode.c_cc, NCC);
        return 0;
    }
    /* As the kernel does: the upper halves of the flags are kept. */
    mode.c_iflag = (mode.c_iflag & 0xFFFF0000u) | old->c_iflag;
    mode.c_oflag = (mode.c_oflag & 0xFFFF0000u) | old->c_oflag;
    mode.c_cflag = (mode.c_cflag & 0xFFFF0000u) | old->c_cflag;
    mode.c_lflag = (mode.c_lflag & 0xFFFF0000u) | old->c_lflag;
    mode.c_line = old->c_line;
    memcpy(mode.c_cc, old->c_cc, NCC);
    return tcsetattr(fd,
                     request == TCSETA    ? TCSANOW
                     : request == TCSETAW ? TCSADRAIN
                                          : TCSAFLUSH,
                     &mode);
}
