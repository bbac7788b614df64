/** The words of N_TYPE. */
#ifndef ZDBS_LANGUAGE_TYPE_WORD_H
#define ZDBS_LANGUAGE_TYPE_WORD_H

#include <string_view>

#include "zdbs/base/node.h"

namespace zdbs {

/** The word that N_TYPE has for a kind of node. */
constexpr std::string_view typeWord(NodeKind kind) {
    switch (kind) {
        case NodeKind::element:
            return "ELEMENT";
        case NodeKind::attribute:
            return "ATTRIBUTE";
        case NodeKind::text:
            return "TEXT";
        case NodeKind::comment:
            return "COMMENT";
        case NodeKind::processingInstruction:
            return "PROCESSING_INSTRUCTION";
    }
    return {};
}

}  // namespace zdbs

#endif
