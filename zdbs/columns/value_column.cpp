#include "zdbs/columns/value_column.h"
