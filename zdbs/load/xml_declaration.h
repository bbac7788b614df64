/** The encoding that an XML declaration names. */
#ifndef ZDBS_LOAD_XML_DECLARATION_H
#define ZDBS_LOAD_XML_DECLARATION_H

#include <string>
#include <string_view>

namespace zdbs {

/** What the beginning of a document says about itself. */
struct XmlDeclaration {
    enum class Kind {
        none,        ///< it begins with something else
        unfinished,  ///< it begins like one, whose end is not in sight
        complete
    };

    Kind kind = Kind::none;
    std::size_t size = 0;  ///< of the declaration, when it is complete

    /** The name of the encoding, in the text; empty when none or no such name is given. */
    std::string_view encoding;
};

/**
 * Reads the declaration that `text` begins with, characters of ASCII. It has not to
 * be well formed, which is the parser's to judge: what is read is what stands in
 * front of the first fault.
 */
XmlDeclaration readXmlDeclaration(std::string_view text);

}  // namespace zdbs

#endif
