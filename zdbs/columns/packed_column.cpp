#include "zdbs/columns/packed_column.h"
