#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NODES_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NODES_H

// All node classes of the expression tree.
#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_expression_pair.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_filter_expression.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_function.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_list.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_location_step.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_name.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_node_test.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_path.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_predicate.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_scalar.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_statement.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_variable.h"

#endif
