#include "foundation/process_limits.h"
#include "foundation/standard_descriptors.h"
#include "zdbs/admin/command_line.h"

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    standUpToProcessLimits();
    return zdbs::admin::runCommandLine(argc, argv);
}
