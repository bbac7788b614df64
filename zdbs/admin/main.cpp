#include "zdbs/admin/command_line.h"

int main(int argc, char **argv) {
    return zdbs::admin::runCommandLine(argc, argv);
}
