#include "foundation/standard_descriptors.h"
#include "zdbs/admin/command_line.h"

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    return zdbs::admin::runCommandLine(argc, argv);
}
