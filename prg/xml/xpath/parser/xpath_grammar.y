/* Grammar of XPath requests: a statement is a location path or a union of them; operators and
   literals stand in predicates only. The actions call the tree builders (zx_grammar.h).

   Ownership: builders take over the nodes they are given. On failure the parser's stack is
   cleaned through the %destructor below; the values of the rule whose action fails are not on it
   any more, so that such an action deletes them itself. Token texts belong to the driver. A builder
   that throws leaves the parser by the shortest way: the driver's roster has the nodes then, and
   the driver itself the parser's stack. */

%define api.pure full
%define api.prefix {xpath_}
%define parse.error simple
%parse-param {XPathStatement **result} {void *scanner}
%lex-param {void *scanner}

/* No conflicts. What could look like one is settled so:
   - the levels below order the operators of an expression;
   - a word operator is a plain name, but a name can continue no expression, and the rule for it
     is not recursive: one word at the top of a predicate. */
%expect 0

%code requires {
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
}

%code {
#include "prg/xml/xpath/parser/zx_grammar.h"

#define YYMALLOC(size) StackBlock(scanner, size)
#define YYFREE(block) static_cast<void>(block)
#define YYINITDEPTH 200
#define YYMAXDEPTH 10000

using namespace ZXGrammar;

// The scanner's header redefines the value type's macro, on which the generated code depends.
int xpath_lex(XPATH_STYPE *value, void *scanner);

static void xpath_error(XPathStatement **, void *scanner, const char *message) {
    Error(scanner, "%s", message);
}
}

/* Trivial, so that the generated parser may move its stack when it grows. */
%union {
    long i;
    char *s;
    double d;
    void *v;
    int *intp;
    bool b;
    XPathExpression *expr;
    XPathExpressionPair *pair;
    XPathExpressionList *list;
    XPathScalar *literal;
    XPathName *name;
    XPathComposite *composite;
    XPathFunction *func;
    XPathPredicate *pred;
    XPathNodeTest *test;
    XPathAxis *axis;
    XPathLocationStep *step;
    XPathPath *path;
    XPathChar *str;
    XPathStepParent delim;
}

%token <i> INT_CONST 258
%token <d> FLOAT_CONST 259
%token <s> STRING_CONST 260
%token <s> NCNAME 261
%token <i> LESSEQ 262
%token <i> GREATEQ 263
%token <i> NOTEQUAL 264
%token <i> ASTERISK 265
%token <i> DOUBLESLASH 266
%token <i> DOUBLECOLON 267
%token <i> CONTEXTNODE 268
%token <i> PARENTNODE 269
%token <i> AT 270

/* Lowest first. Equality and order comparisons share a level: [1 < 2 = 3] is (1 < 2) = 3. */
%left '=' NOTEQUAL '<' '>' LESSEQ GREATEQ
%left '+' '-'
%left ASTERISK

%type <expr> union path word_expression expression primary filter_expression argument
%type <path> step_list
%type <delim> separator
%type <step> step
%type <axis> axis_step
%type <test> node_test
%type <list> predicate_list argument_list
%type <pred> predicate
%type <literal> literal
%type <name> qualified_name

%destructor { delete $$; } <expr> <path> <step> <axis> <test> <list> <pred> <literal> <name>

%initial-action { *result = nullptr; }

%%

statement:
    /* A failure behind a complete statement leaves the tree in the result: the caller's. */
    union {
        *result = dynamic_cast<XPathStatement *>($1);
        if (*result == nullptr) delete $1;
    }
  ;

union:
    path {
        if ($1 == nullptr) {
            Error(scanner, "Invalid (zero-length) location path.");
            YYABORT;
        }
        $$ = $1;
    }
  | union '|' path {
        if ($3 == nullptr) {
            delete $1;
            Error(scanner, "Invalid (zero-length) location path.");
            YYABORT;
        }
        $$ = NodeSets::UnionExpression($1, $3);
    }
  ;

path:
    step_list                           { $$ = $1; }
  | separator step_list                 { $$ = NodeSets::Path($1, $2); }
  ;

step_list:
    step                                { $$ = NodeSets::Path($1); }
  | step_list separator step            { $$ = NodeSets::Path($1, $2, $3); }
  ;

separator:
    '/'                                 { $$ = XPATH_STEP_PARENT_IMMEDIATE; }
  | DOUBLESLASH                         { $$ = XPATH_STEP_PARENT_ANY; }
  ;

step:
    axis_step predicate_list            { $$ = NodeSets::LocationStep($1, $2); }
  | CONTEXTNODE                         { $$ = NodeSets::LocationStep(CONTEXTNODE); }
  | PARENTNODE                          { $$ = NodeSets::LocationStep(PARENTNODE); }
  ;

axis_step:
    NCNAME DOUBLECOLON node_test {
        $$ = Composite::Axis($1, $3);
        if ($$ == nullptr) {
            delete $3;
            Error(scanner, "Invalid axis \"%s\"", $1);
            YYABORT;
        }
    }
  | AT node_test                        { $$ = Composite::Axis($2, true); }
  | node_test                           { $$ = Composite::Axis($1, false); }
  ;

node_test:
    NCNAME ':' ASTERISK                 { $$ = Composite::NodeTest(Composite::Name($1, "")); }
  | ASTERISK                            { $$ = Composite::NodeTest(); }
  | NCNAME '(' argument_list ')'        { $$ = Composite::Function($1, $3); }
  | NCNAME '(' ')' {
        $$ = Composite::NodeTest($1, true);
        if ($$ == nullptr) {
            Error(scanner, "Invalid node type \"%s\"", $1);
            YYABORT;
        }
    }
  | qualified_name                      { $$ = Composite::NodeTest($1); }
  ;

predicate_list:
    %empty                              { $$ = Expr::List(); }
  | predicate_list predicate            { $$ = Expr::List($1, $2); }
  ;

predicate:
    '[' expression ']'                  { $$ = Composite::Predicate($2); }
  | '[' word_expression ']'             { $$ = Composite::Predicate($2); }
  ;

word_expression:
    expression NCNAME expression        { $$ = Expr::AddCompositePair($1, $2, $3); }
  ;

expression:
    primary
  | expression '+' expression           { $$ = Expr::AddPair($1, $3); }
  | expression '-' expression {
        if (XPathScalar *position = XPathExpressionPair::ToScalar($1, PAIRSEP_SUB, $3)) {
            delete $1;
            delete $3;
            $$ = NodeSets::FilterExpression(position);
        } else {
            $$ = Expr::SubPair($1, $3);
        }
    }
  | expression ASTERISK expression      { $$ = Expr::MulPair($1, $3); }
  | expression '=' expression           { $$ = Expr::EqPair($1, $3); }
  | expression NOTEQUAL expression      { $$ = Expr::NePair($1, $3); }
  | expression '<' expression           { $$ = Expr::LtPair($1, $3); }
  | expression '>' expression           { $$ = Expr::GtPair($1, $3); }
  | expression LESSEQ expression        { $$ = Expr::LePair($1, $3); }
  | expression GREATEQ expression       { $$ = Expr::GePair($1, $3); }
  | '(' expression ')'                  { $$ = $2; $$->SetParenthesized(true); }
  ;

primary:
    path
  | filter_expression
  ;

filter_expression:
    literal                             { $$ = NodeSets::FilterExpression($1); }
  | filter_expression predicate         { $$ = NodeSets::FilterExpression($1, $2); }
  ;

literal:
    INT_CONST                           { $$ = Scalar::IntegerLiteral(static_cast<int>($1)); }
  | FLOAT_CONST                         { $$ = Scalar::FloatLiteral($1); }
  | STRING_CONST                        { $$ = Scalar::StringLiteral($1); }
  ;

argument_list:
    argument                            { $$ = Expr::List($1); }
  | argument_list ',' argument          { $$ = Expr::List($1, $3); }
  ;

argument:
    literal                             { $$ = $1; }
  | path
  ;

qualified_name:
    NCNAME ':' NCNAME                   { $$ = Composite::Name($1, $3); }
  | NCNAME                              { $$ = Composite::Name($1); }
  ;

%%
