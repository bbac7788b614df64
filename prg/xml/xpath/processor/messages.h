#ifndef PRG_XML_XPATH_PROCESSOR_MESSAGES_H
#define PRG_XML_XPATH_PROCESSOR_MESSAGES_H

// What is said of predicates that cannot be translated, by whoever translates them. "%s" stands for
// a name. Kept as they have always been: scripts look for them.
namespace translation_message {

constexpr char noComparison[] =
    "A ZARN XPath comparison predicate requires a location step and a scalar value.";
constexpr char noPair[] = "Paired expressions are not yet fully implemented.";
constexpr char comparedAxis[] = "Comparison using the \"%s\" axis is not supported.";
constexpr char comparedEmptyText[] =
    "Specified comparison operator is not supported for emptry strings.";
constexpr char comparedFunction[] = "Unsupported function \"%s\" in comparison.";
constexpr char emptyPosition[] = "Cannot compare position() or last() to an empty string.";
constexpr char unknownFunction[] = "ERROR: unknown or unsupported function \"%s\"";
constexpr char argumentCount[] = "ERROR: Invalid number of arguments to contains function.";
constexpr char argumentKinds[] =
    "A contains() function must have a location path as first argument and a scalar value "
    "as second.";
constexpr char searchedStep[] = "Unpexpected lvalue type in contains().";

}  // namespace translation_message

#endif
