/** The twenty-seven functions of the core library, told in one table. */
#ifndef ZDBS_XPATH_FUNCTIONS_H
#define ZDBS_XPATH_FUNCTIONS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "zdbs/xpath/scalar.h"

namespace zdbs::xpath {

enum class Function : std::uint8_t {
    last,
    position,
    count,
    id,
    localName,
    namespaceUri,
    name,
    string,
    concat,
    startsWith,
    contains,
    substringBefore,
    substringAfter,
    substring,
    stringLength,
    normalizeSpace,
    translate,
    boolean,
    logicalNot,
    logicalTrue,
    logicalFalse,
    lang,
    number,
    sum,
    floor,
    ceiling,
    round,
};

constexpr std::size_t unlimited = 1000000;

struct FunctionTraits {
    Function function;
    std::string_view name;
    ValueType result;
    std::size_t least;  ///< number of arguments
    std::size_t most;
    ValueType argument;       ///< what arguments are converted to, where isConverted
    bool isConverted = true;  ///< otherwise arguments are taken as they are
    bool onContext = false;   ///< without an argument it is asked of the context node
};

const FunctionTraits &traitsOf(Function function);

/** Null when there is none of the name. */
const FunctionTraits *functionNamed(std::string_view name);

/** All names, for messages. */
std::span<const FunctionTraits> functionTable();

/** What a function is given; as Scalar, without a copy of a text. */
using Argument = std::variant<double, std::string_view, bool>;

/**
 * Calls a function that knows no nodes. REQUIRES that the arguments are of the types that it
 * takes, and that it is none of last, position, count, id, localName, namespaceUri, name, lang,
 * sum, and no conversion: string, number, boolean.
 */
Scalar call(Function function, std::span<const Argument> arguments);

}  // namespace zdbs::xpath

#endif
