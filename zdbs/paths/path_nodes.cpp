#include "zdbs/paths/path_nodes.h"
