#include "prg/xml/xpath/utils/vexa/byte_input.h"

#include <poll.h>

#include <cerrno>

int readByte(std::FILE *input) {
    while (true) {
        const int c = getc_unlocked(input);
        if (c != EOF || std::ferror(input) == 0) return c;
        if (errno != EAGAIN && errno != EINTR) return EOF;
        std::clearerr(input);
        pollfd ready{fileno(input), POLLIN, 0};
        poll(&ready, 1, -1);
    }
}
