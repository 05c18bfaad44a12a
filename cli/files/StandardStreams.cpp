#include "files/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

void OccupyClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
        // The system gives the lowest number that is free, which is this one: those below are open.
        if (open("/dev/null", stream == STDOUT_FILENO ? O_RDONLY : O_WRONLY) < 0) return;
    }
}
