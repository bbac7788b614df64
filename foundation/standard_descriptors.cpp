#include "foundation/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

void occupyStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1) continue;
        // The lowest free number is this one. The other way round, so that using it fails.
        const int way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", way) == descriptor) continue;
        std::perror("/dev/null");
        _exit(1);
    }
}
