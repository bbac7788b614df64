/**
 * The command language as a tree.
 *
 *     command   = BASE name | FIND condition | DELETE S=n {, S=n} | RENUMBER
 *               | DEFINE HITS | DEFINE FIND MIN=n
 *     condition = conjunct { OR conjunct }
 *     conjunct  = term { (AND | AND.T | AND.R | NOT | NOT.T) term }
 *     term      = ( condition ) | S=n | field relation
 *               | XPATH(axis,a,b,dir) | XPATH(SELF,n,n,1,op,k)
 *
 * A record is a node, so the three ANDs are one operation, and so are the NOTs. A position,
 * the term with SELF and a comparison, is the only term of its condition, in brackets or not.
 * Columns count characters from 1; they are for messages.
 */
#ifndef ZDBS_LANGUAGE_COMMAND_H
#define ZDBS_LANGUAGE_COMMAND_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/base/relation.h"

namespace zdbs {

/** The fields of a node; the value is the field number that hit words report. */
enum class Field : std::int32_t {
    id = 1,         ///< N_ID
    type = 2,       ///< N_TYPE
    name = 3,       ///< N_NAME
    nameSpace = 4,  ///< N_NAMESPACE
    parent = 5,     ///< N_PARENT
    value = 6,      ///< N_TVALUE
};

/** A set by its number; whether there is one is seen when the command is executed. */
struct SetReference {
    std::int32_t number = 0;
    std::size_t column = 0;
};

/** field relation. Of N_ID and N_PARENT the text is a number, except with notEmpty. */
struct FieldTerm {
    Field field = Field::id;
    Relation relation = Relation::equal;
    std::string text;
};

/** XPATH(axis,a,b,dir) */
struct AxisTerm {
    Axis axis = Axis::child;
    SetReference first;
    SetReference second;
    int direction = 1;  ///< 1 answers nodes of `first`, 2 of `second`
};

/** XPATH(SELF,n,n,1,op,k) */
struct PositionTerm {
    SetReference set;
    Relation relation = Relation::equal;
    double place = 0;
};

struct Condition;

using Term =
    std::variant<SetReference, FieldTerm, AxisTerm, PositionTerm, std::unique_ptr<Condition>>;

/** A term of a conjunct after the first, or the first with `negated` false. */
struct ConjunctTerm {
    bool negated = false;  ///< NOT: what the term holds is taken away
    Term term;
};

using Conjunct = std::vector<ConjunctTerm>;

/** Conjuncts joined by OR; neither list is ever empty. */
struct Condition {
    std::vector<Conjunct> conjuncts;
};

struct BaseCommand {
    std::string database;
};

struct FindCommand {
    Condition condition;
};

struct DeleteCommand {
    std::vector<SetReference> sets;
};

struct RenumberCommand {};

struct DefineHitsCommand {};

struct DefineFindMinCommand {
    std::int32_t minimum = 0;
};

using Command = std::variant<BaseCommand, FindCommand, DeleteCommand, RenumberCommand,
                             DefineHitsCommand, DefineFindMinCommand>;

}  // namespace zdbs

#endif
