/** The namespace of the prefix that every document has. */
#ifndef ZDBS_BASE_XML_NAMESPACE_H
#define ZDBS_BASE_XML_NAMESPACE_H

#include <string_view>

namespace zdbs {

/** Of `xml:lang`, `xml:space` and `xml:id`, without a declaration. */
constexpr std::string_view xmlNamespace = "http://www.w3.org/XML/1998/namespace";

}  // namespace zdbs

#endif
