// qmkeys with devices that libumockdev simulates, which takes sockets, and a session that standard input speaks for: "away" and
// "back", a byte each.

#include "helpers/qmkeys/KeysProgram.h"

#include <fcntl.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <unistd.h>

int main()
{
    bool isInFront = true;
    const auto seat = [&isInFront]() -> std::optional<std::string> {
        for (int waiting = 0; ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 && waiting > 0;) {
            char word = 0;
            if (read(STDIN_FILENO, &word, 1) == 1)
                isInFront = word == 'b';
        }
        return isInFront ? std::optional<std::string>("seat0") : std::nullopt;
    };
    return qm::runKeys(qm::LoginSession{STDIN_FILENO, seat},
                       {SCMP_SYS(socket), SCMP_SYS(connect), SCMP_SYS(sendto), SCMP_SYS(sendmsg), SCMP_SYS(getsockopt),
                        SCMP_SYS(setsockopt), SCMP_SYS(ioctl), SCMP_SYS(fcntl), SCMP_SYS(write), SCMP_SYS(getcwd),
                        SCMP_SYS(clock_nanosleep), SCMP_SYS(sigaltstack), SCMP_SYS(rt_sigprocmask),
                        SCMP_SYS(rt_sigaction), SCMP_SYS(readv), SCMP_SYS(writev)});
}
