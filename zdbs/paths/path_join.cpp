#include "zdbs/paths/path_join.h"
