#ifndef PRG_XML_XPATH_UTILS_VEXA_REQUEST_PLACE_H
#define PRG_XML_XPATH_UTILS_VEXA_REQUEST_PLACE_H

#include <string>
#include <string_view>

/** What can stand at the end of the beginning of a request, in UTF-8. */
struct RequestPlace {
    enum class Kind {
        nothing,    ///< no name can: in a literal, behind a step
        word,       ///< behind a step of a predicate: and, or
        step,       ///< elements, attributes with "@", axes, tests
        element,    ///< behind an axis
        attribute,  ///< behind "@"
    };

    Kind kind = Kind::nothing;
    std::string_view word;  ///< what of it has been typed
    std::string names;      ///< where the names are: "//person/", see namesAt()
    bool isInPredicate = false;
};

RequestPlace placeAtEndOf(std::string_view request);

#endif
